// A store of one of the enciphered kinds opened on "Accounts/alice/<file>" of a fresh data
// root, with the log captured and the file's deciphered root element at hand.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "platform/Text.h"
#include "storage/EncipheredFile.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MakeStore.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {

template <typename Store>
class EncipheredStoreTest : public testing::Test {
 protected:
  explicit EncipheredStoreTest(std::string file) : file_("Accounts/alice/" + std::move(file)) {
    std::filesystem::create_directories(root_.NativeFile("Accounts/alice"));
    Reopen();
  }

  // A new store object on the file, as at the next start; the old one writes as it goes.
  void Reopen() {
    store_ = MakeStore<Store>();
    BSTR path = SysAllocString(Path().c_str());
    EXPECT_EQ(store_->Initialize(path), S_OK);
    SysFreeString(path);
  }
  std::u16string Path() const { return root_.File(FromUtf8(file_)); }
  std::string Companion() const { return ToUtf8(CompanionPath(FromUtf8(file_))); }
  // The document text the file holds, "(none)" or "(undecipherable)".
  std::string FileText() const {
    std::optional<std::string> bytes = root_.ReadBytes(file_);
    if (!bytes) return "(none)";
    std::optional<std::string> plain = DecipherFile(*bytes, Path());
    return plain ? ToUtf8(PlainAsUtf16(*plain)) : "(undecipherable)";
  }
  // Its "<Root>...</Root>" part (empty when it has none).
  std::string FileRoot() const {
    std::string text = FileText();
    size_t at = std::min(text.find("<Root"), text.size());
    return text.substr(at, text.find_last_not_of('\n') + 1 - at);
  }
  size_t Assertions() const { return log_.CountLevel(u"important"); }

  TempDataRoot root_;
  LogCapture log_;
  std::string file_;
  ComPtr<Store> store_;
};

}  // namespace vk::test
