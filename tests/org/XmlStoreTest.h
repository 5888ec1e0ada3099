// A fixture for the versioned XML stores: a fresh data root, a clock pinned at kNow (the
// stores whose file expires after 30 days read it), and the store opened on `file_` there.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/Text.h"
#include "tests/org/FixedUnixClock.h"
#include "tests/support/Answer.h"
#include "tests/support/MakeStore.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {

inline const std::string kHeader = "<?xml version=\"1.0\" encoding=\"gb2312\"?>\n";
inline constexpr int64_t kNow = 1'800'000'000;

template <typename Store>
class XmlStoreTest : public testing::Test {
 protected:
  explicit XmlStoreTest(std::string file) : file_(std::move(file)) {}
  void SetUp() override { Reopen(); }
  void Reopen() {
    store_ = MakeStore<Store>();
    ASSERT_EQ(store_->Initialize(Path().c_str(), nullptr), S_OK);
  }
  std::u16string Path() const { return root_.File(FromUtf8(file_)); }
  std::string File() const { return root_.ReadBytes(file_).value_or("<missing>"); }

  std::string file_;
  TempDataRoot root_;
  FixedUnixClock clock_{kNow};
  ComPtr<Store> store_;
};

}  // namespace vk::test
