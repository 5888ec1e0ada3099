#include "tools/vaultkit/check/OptionFileCheck.h"

#include "platform/ProfileFile.h"
#include "tools/vaultkit/check/CheckedFile.h"

namespace vk::cli {

OptionFileCheck::OptionFileCheck(std::string file, std::string absent)
    : file_(std::move(file)), absent_(std::move(absent)) {}

FileReport OptionFileCheck::Run(const std::filesystem::path& folder, const std::string&) const {
  FileReport report{file_, "option file"};
  CheckedFile file(folder / file_);
  if (file.Missing()) {
    report.absent = true;
    report.Note(file_ + " is not there: " + absent_);
    return report;
  }
  std::optional<std::string> bytes =
      file.Read(report, "the option store can neither read nor write its options");
  if (!bytes) return report;
  std::string problem;
  switch (ProfileFile::Parse(*bytes).encoding()) {
    case ProfileFile::Encoding::kUtf16Le:
      if (bytes->size() % 2 != 0) {
        report.Problem(file_ +
                       " ends in half a character: the option store does not read that "
                       "byte and drops it at its next write");
      }
      return report;
    case ProfileFile::Encoding::kAnsi:
      problem = (bytes->empty() ? " is empty, without its FF FE mark" : " has no FF FE mark") +
                std::string(
                    ": the option store reads and writes it as 8-bit ANSI text, not "
                    "as wide text");
      break;
    case ProfileFile::Encoding::kUtf8:
      problem =
          " is UTF-8 (mark EF BB BF), not UTF-16LE: the option store keeps it in UTF-8, "
          "and the client's own platform reads it as 8-bit text, mark included";
      break;
    case ProfileFile::Encoding::kUtf16Be:
      problem =
          " is big-endian UTF-16 (mark FE FF), not UTF-16LE: the option store keeps it "
          "so, and the client's own platform reads it as 8-bit text";
      break;
  }
  report.Problem(file_ + problem);
  return report;
}

}  // namespace vk::cli
