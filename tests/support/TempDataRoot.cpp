#include "tests/support/TempDataRoot.h"

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "platform/Files.h"

namespace vk::test {

TempDataRoot::TempDataRoot() {
  std::string base = std::filesystem::temp_directory_path().string() + "/vaultkit-test-XXXXXX";
  if (::mkdtemp(base.data()) == nullptr) throw std::runtime_error("cannot create " + base);
  native_ = base + "/";
  path_ = PathFromNative(native_);
  if (const char* old = std::getenv("VAULTKIT_DATA_ROOT")) previous_ = old;
  ::setenv("VAULTKIT_DATA_ROOT", native_.c_str(), 1);
}

TempDataRoot::~TempDataRoot() {
  if (previous_) {
    ::setenv("VAULTKIT_DATA_ROOT", previous_->c_str(), 1);
  } else {
    ::unsetenv("VAULTKIT_DATA_ROOT");
  }
  std::error_code ignored;
  // Tests make files read-only on purpose; removal needs the folders writable.
  for (auto it = std::filesystem::recursive_directory_iterator(native_, ignored);
       it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
    if (it->is_directory(ignored)) {
      std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                   std::filesystem::perm_options::add, ignored);
    }
  }
  std::filesystem::remove_all(native_, ignored);
}

void TempDataRoot::WriteBytes(std::string_view name, std::string_view bytes) const {
  std::ofstream out(NativeFile(name), std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + NativeFile(name));
}

std::optional<std::string> TempDataRoot::ReadBytes(std::string_view name) const {
  std::ifstream in(NativeFile(name), std::ios::binary);
  if (!in) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace vk::test
