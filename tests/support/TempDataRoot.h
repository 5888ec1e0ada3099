// A fresh temporary folder that serves as the client's data root ($VAULTKIT_DATA_ROOT) for
// as long as the object lives; the folder and everything in it are removed afterwards.
#pragma once

#include <optional>
#include <string>

namespace vk::test {

class TempDataRoot {
 public:
  TempDataRoot();
  ~TempDataRoot();
  TempDataRoot(const TempDataRoot&) = delete;
  TempDataRoot& operator=(const TempDataRoot&) = delete;

  // The root ending in '/', as GetFileListPath returns it.
  const std::u16string& Path() const { return path_; }
  const std::string& NativePath() const { return native_; }
  // Path() + name.
  std::u16string File(std::u16string_view name) const { return path_ + std::u16string(name); }
  std::string NativeFile(std::string_view name) const { return native_ + std::string(name); }

  // Whole-file helpers for tests that check bytes on disk.
  void WriteBytes(std::string_view name, std::string_view bytes) const;
  std::optional<std::string> ReadBytes(std::string_view name) const;

 private:
  std::string native_;
  std::u16string path_;
  std::optional<std::string> previous_;
};

}  // namespace vk::test
