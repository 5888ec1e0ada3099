// The class registry: a small text file of "clsid {GUID} PATH" and "progid NAME {GUID}" lines
// that maps class identifiers to the library serving them and ProgIDs to class identifiers.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vaultkit/vkcom.h"

namespace vk {

class RegistryFile {
 public:
  // The file's location from the environment; empty when neither a registry variable nor a
  // home folder is known.
  static std::string Locate();

  explicit RegistryFile(std::string path) : path_(std::move(path)) {}

  // The library registered for the class; the last valid entry wins.
  std::optional<std::string> FindLibrary(const CLSID& clsid) const;
  // The class registered under the ProgID, compared without regard to ASCII case as the
  // client's platform compares registry keys; the last valid entry wins.
  std::optional<CLSID> FindProgId(std::string_view prog_id) const;

  // Adds or replaces the class's library and, when `prog_id` is not empty, the ProgID's
  // class. Lines this runtime does not understand are kept as they are. The file is
  // rewritten atomically, creating its folders.
  HRESULT Register(const CLSID& clsid, std::string_view prog_id, std::string_view library) const;

  static bool IsValidProgId(std::string_view prog_id);
  static bool IsValidLibraryPath(std::string_view path);

 private:
  std::vector<std::string> ReadLines() const;
  // Replaces the file with `contents` through a temporary file in the same folder.
  HRESULT Write(const std::string& contents) const;

  std::string path_;
};

}  // namespace vk
