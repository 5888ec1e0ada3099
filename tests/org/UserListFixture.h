// A user list on a fresh data root, with the debug channel and the log captured.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "org/UserList.h"
#include "platform/Text.h"
#include "runtime/ComObject.h"
#include "tests/support/Answer.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SqlRows.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {

// Any object serves as the client; it does not have to be a client root.
class UserListTestClient : public ComObject<IUnknown> {};

class UserListFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    client_ = new UserListTestClient();
    list_ = new CUserList();
    path_ = root_.File(u"userList5.dat");
    ASSERT_EQ(list_->Initialize(path_.c_str(), client_), S_OK);
    list_->WaitForReaders();
  }
  void TearDown() override {
    if (list_ != nullptr) {
      list_->WaitForReaders();
      list_->Release();
    }
    client_->Release();
  }

  // Re-opens the same file: the reader rebuilds the search lists from the database.
  void Reopen() {
    ASSERT_EQ(list_->Initialize(path_.c_str(), client_), S_OK);
    list_->WaitForReaders();
  }

  static UserListEntry Entry(const std::u16string& nick, ULONG uin) {
    UserListEntry entry{};
    for (size_t i = 0; i < nick.size() && i < 32; ++i) entry.nick[i] = nick[i];
    entry.uin = uin;
    return entry;
  }
  HRESULT Add(ULONG dept, const std::u16string& nick, ULONG uin, ULONG gender = 0) {
    UserListEntry entry = Entry(nick, uin);
    return list_->AddUserEx(dept, &entry, gender);
  }
  std::u16string Search(const std::u16string& prefix) {
    BSTR matches = nullptr;
    BSTR reserved = nullptr;
    EXPECT_EQ(list_->SearchUsers(prefix.c_str(), &matches, &reserved), S_OK);
    std::u16string out = matches ? std::u16string(matches) : u"<null>";
    EXPECT_NE(reserved, nullptr);
    if (reserved) {
      EXPECT_EQ(std::u16string(reserved), u"");
    }
    SysFreeString(matches);
    SysFreeString(reserved);
    return out;
  }
  LONG DeptCount() {
    LONG count = -1;
    EXPECT_EQ(list_->GetDeptCount(&count), S_OK);
    return count;
  }
  std::u16string NickOf(ULONG uin) {
    BSTR nick = nullptr;
    if (list_->GetNickByUin(uin, &nick) != S_OK) return u"<none>";
    std::u16string out(nick);
    SysFreeString(nick);
    return out;
  }

  // "status directory-version root-version" as GetVersionInfo hands them out.
  std::string VersionInfo() {
    BSTR dir = nullptr;
    BSTR root = nullptr;
    const HRESULT hr = list_->GetVersionInfo(&dir, &root);
    std::string out = StatusName(hr);
    if (dir != nullptr) out += " " + ToUtf8(dir);
    if (root != nullptr) out += " " + ToUtf8(root);
    SysFreeString(dir);
    SysFreeString(root);
    return out;
  }

  // Rows of a query through a connection of the test's own, joined with ";".
  std::string Query(const char* sql) { return SqlRows(path_, sql); }

  size_t DebugLinesWith(std::string_view text) const {
    return log_.CountDebugLinesContaining(text);
  }

  TempDataRoot root_;
  LogCapture log_;
  UserListTestClient* client_ = nullptr;
  CUserList* list_ = nullptr;
  std::u16string path_;
};

}  // namespace vk::test
