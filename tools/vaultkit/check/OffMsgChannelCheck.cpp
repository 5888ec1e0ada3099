#include "tools/vaultkit/check/OffMsgChannelCheck.h"

#include <algorithm>
#include <vector>

#include "platform/Compression.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "storage/OffMsgIndexScan.h"
#include "tools/vaultkit/check/CheckedFile.h"

namespace vk::cli {
namespace {

// The store's buffer: a body decompresses to fewer bytes than this.
constexpr unsigned long kBodyBuffer = 3600;
// Within this many bytes the decompressor always reaches its verdict, so a longer claim is
// judged on its first bytes, as the store judges it.
constexpr size_t kBodyReadLimit = 65536;
// Damaged records named one by one; the rest are counted.
constexpr size_t kNamedRecords = 10;
constexpr char kSkipped[] =
    "the store cannot deliver that body and skips the record when fetching its conversation "
    "(GetOffMsgByID)";

struct Record {
  size_t number;
  std::string id;
  int32_t addr, len;
};

// What is wrong with one record's body; empty when it decompresses as the store needs.
std::string BodyFault(const std::u16string& data, uintmax_t data_size, const Record& r) {
  if (r.addr < 0 || r.len <= 0 || static_cast<uintmax_t>(r.addr) + r.len > data_size) {
    return "Addr " + std::to_string(r.addr) + " and Len " + std::to_string(r.len) +
           " lie outside the data file (" + std::to_string(data_size) + " bytes)";
  }
  size_t length = std::min(static_cast<size_t>(r.len), kBodyReadLimit);
  std::string body = ReadFileRange(data, r.addr, length).value_or(std::string());
  if (body.size() != length) return "its body cannot be read";
  std::vector<unsigned char> buffer(kBodyBuffer, 0);
  unsigned long out = kBodyBuffer;
  int status = UnCompress(buffer.data(), &out, reinterpret_cast<const unsigned char*>(body.data()),
                          static_cast<unsigned long>(body.size()));
  if (status != 0) {
    return "its body does not decompress (zlib status " + std::to_string(status) + ")";
  }
  if (out == 0 || out >= kBodyBuffer) {
    return "its body decompresses to " + std::to_string(out) + " bytes, not 1 to " +
           std::to_string(kBodyBuffer - 1);
  }
  return "";
}

}  // namespace

OffMsgChannelCheck::OffMsgChannelCheck(std::string folder, int channel)
    : folder_(std::move(folder)), channel_(channel) {}

FileReport OffMsgChannelCheck::Run(const std::filesystem::path& account_folder,
                                   const std::string& account) const {
  const std::string base = "OffMsgFiles/" + folder_ + "/" + account;
  FileReport report{base + ".xml", "offline messages"};
  CheckedFile index(account_folder / (base + ".xml"));
  CheckedFile data(account_folder / (base + ".txt"));
  if (index.Missing() && data.Missing()) {
    report.absent = true;
    report.Note("channel " + std::to_string(channel_) + " (" + folder_ +
                ") holds no offline messages");
    return report;
  }
  if (index.Missing() != data.Missing()) {
    report.Problem(base +
                   (index.Missing() ? ".txt is there without its index " + base + ".xml"
                                    : ".xml is there without its data file " + base + ".txt") +
                   ": CheckFiles clears channel " + std::to_string(channel_) +
                   ", deleting it, and its messages cannot be read before that");
    return report;
  }
  const std::string unreadable =
      "listing and fetching offline messages fail (E_FAIL) while it is so";
  if (!index.IsFile(report, unreadable) || !data.IsFile(report, unreadable)) return report;
  if (index.Size() > CheckedFile::kMaxWholeRead) {
    report.Problem(report.file + " is " + std::to_string(index.Size()) +
                   " bytes, far more than an index holds: " + unreadable);
    return report;
  }
  std::optional<int32_t> sum;
  std::vector<Record> records;
  bool scanned = OffMsgIndexScan::Scan(
      index.Path16(), [&](const OffMsgAttributes& a) { sum = a.Int("DataSum"); },
      [&](const OffMsgAttributes& a) {
        records.push_back(
            {records.size() + 1, ToUtf8(a.Text("MsgID")), a.Int("Addr"), a.Int("Len")});
      });
  if (!scanned) {
    report.Problem(report.file +
                   " does not parse as an index (XML in the ANSI code page under "
                   "OffMsgIndexData): " +
                   unreadable);
    return report;
  }
  if (sum && *sum != static_cast<int32_t>(records.size())) {
    report.Note(report.file + " says DataSum=\"" + std::to_string(*sum) + "\" but holds " +
                std::to_string(records.size()) + " records: GetTotalCount reports " +
                std::to_string(*sum));
  }
  size_t damaged = 0;
  for (const Record& record : records) {
    std::string fault = BodyFault(data.Path16(), data.Size(), record);
    if (fault.empty()) continue;
    if (++damaged <= kNamedRecords) {
      report.Problem(report.file + ": record " + std::to_string(record.number) + " (MsgID \"" +
                     record.id + "\"): " + fault + ": " + kSkipped);
    }
  }
  if (damaged > kNamedRecords) {
    report.Problem(report.file + ": " + std::to_string(damaged - kNamedRecords) +
                   " more records whose bodies cannot be delivered");
  }
  return report;
}

}  // namespace vk::cli
