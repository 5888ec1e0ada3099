#include "tools/vaultkit/check/AccountNameNote.h"

#include <algorithm>
#include <set>

#include "module/StoreCatalog.h"

namespace vk::cli {
namespace {

namespace fs = std::filesystem;

// The names the offline channels' files carry other than `name`: each channel keeps
// <account>.xml and <account>.txt.
std::set<std::string> ChannelNames(const fs::path& folder, const std::string& name) {
  std::set<std::string> names;
  for (const char* channel : {"IM", "DisGroup"}) {
    std::error_code ec;
    for (fs::directory_iterator it(folder / "OffMsgFiles" / channel, ec), end; !ec && it != end;
         it.increment(ec)) {
      const fs::path& file = it->path();
      if ((file.extension() == ".xml" || file.extension() == ".txt") && file.stem() != name) {
        names.insert(file.stem().string());
      }
    }
  }
  return names;
}

}  // namespace

std::optional<std::string> AccountNameNote(const fs::path& folder, const FolderReport& report) {
  if (folder.parent_path().filename() == "Accounts") return std::nullopt;
  const std::string name = folder.filename().string();
  const bool undecipherable =
      std::any_of(report.files.begin(), report.files.end(), [](const FileReport& file) {
        return file.GetStatus() == FileReport::Status::kDamaged &&
               (file.file == Row(StoreId::kProfiles).file ||
                file.file == Row(StoreId::kBuddyProfiles).file);
      });
  const std::set<std::string> channels = ChannelNames(folder, name);
  if (!undecipherable && channels.empty()) return std::nullopt;
  std::string evidence, example = "NAME";
  if (undecipherable) evidence = "its profile files do not decipher with the key of that name";
  if (!channels.empty()) {
    std::string list;
    for (const std::string& channel : channels)
      list += (list.empty() ? "'" : ", '") + channel + "'";
    evidence +=
        (evidence.empty() ? "" : "; ") + std::string("its offline messages are filed as ") + list;
    if (channels.size() == 1) example = *channels.begin();
  }
  return "the folder's name '" + name + "' may not be its account's name (" + evidence +
         "): pass --account " + example + " to check it as that account's folder";
}

}  // namespace vk::cli
