// The organisation directory of an account: departments with their versions, their
// members and two directory-wide versions in "userList5.dat", plus in-memory search lists
// over nicknames, names and spelling codes.
#pragma once

#include <memory>
#include <string>

#include "org/UserListShared.h"
#include "platform/Py.h"
#include "runtime/ComObject.h"
#include "storage/SqlStore.h"
#include "vaultkit/IUserList.h"

class CUserList : public vk::ComObject<IUserList, IUserListSync> {
 public:
  CUserList();
  ~CUserList() override;

  HRESULT Initialize(LPCOLESTR path, IUnknown* client) override;
  HRESULT AddUser(ULONG dept_id, const UserListEntry* entry) override;
  HRESULT AddUserEx(ULONG dept_id, const UserListEntry* entry, ULONG gender) override;
  HRESULT DeleteUser(ULONG dept_id, LPCOLESTR nick) override;
  HRESULT GetDeptUsers(ULONG dept_id, UserListEntry* entries, LONG* count) override;
  HRESULT GetDeptUserNicks(ULONG dept_id, BSTR* nicks, LONG* count) override;
  HRESULT GetUserCount(ULONG dept_id, LONG* count) override;
  HRESULT GetDeptCount(LONG* count) override;
  HRESULT GetDeptIds(ULONG* ids, LONG* count) override;
  HRESULT GetDeptVersion(ULONG dept_id, ULONG* version) override;
  HRESULT DeleteDept(ULONG dept_id) override;
  HRESULT SetDeptVersion(ULONG dept_id, ULONG version) override;
  HRESULT Save() override;
  HRESULT GetUinByNick(LPCOLESTR nick, ULONG* uin) override;
  HRESULT GetNickByUin(ULONG uin, BSTR* nick) override;
  HRESULT GetGenderByNick(LPCOLESTR nick, LONG* gender) override;
  HRESULT GetMaxDeptVersion(ULONG* version) override;
  HRESULT GetDeptVer(ULONG* value) override;
  HRESULT SetDeptVer(LONG value) override;
  HRESULT GetProVer(ULONG* value) override;
  HRESULT SetProVer(LONG value) override;
  HRESULT UpdateNick(ULONG uin, LPCOLESTR nick) override;
  HRESULT GetDeptIdsByNick(LPCOLESTR nick, ULONG* ids, LONG* count) override;
  HRESULT IsNickExist(LPCOLESTR nick, BOOL* exists) override;
  HRESULT GetVersionInfo(BSTR* dir_version, BSTR* root_dept_version) override;
  HRESULT LoadDataFromXml(LPCOLESTR path) override;
  HRESULT GetChangedDeptCount(LPCOLESTR since, LONG* count) override;
  HRESULT GetChangedDeptIds(LPCOLESTR since, ULONG* ids, LONG* count) override;
  HRESULT SearchUsers(LPCOLESTR prefix, BSTR* matches, BSTR* reserved) override;
  HRESULT GetNameByNick(LPCOLESTR nick, BSTR* name) override;

  // Blocks until every search-list reader started so far has ended. For callers that need
  // the lists to reflect the database (tests, the command line); operations never wait.
  void WaitForReaders() { shared_->WaitForReaders(); }
  HRESULT WaitForSearchLists() override {
    WaitForReaders();
    return S_OK;
  }
  // The state the readers share, so that a test can outlive the object and still wait.
  std::shared_ptr<vk::UserListShared> SharedState() const { return shared_; }
  bool IsDbLockHeld() const { return db_.Lock().IsHeld(); }
  // The department whose version GetVersionInfo reports beside DeptVer.
  static constexpr ULONG kRootDeptId = 199999;
  static constexpr size_t kMaxDeptIdsByNick = 21;

 private:
  // Runs body(result) under the DB lock, after the pending swap when `swap` is set; a
  // thrown exception writes the user list's trace line for `line`.
  template <typename Body>
  HRESULT Locked(unsigned line, bool swap, Body&& body);
  void RunPendingSwap();
  bool LoadXmlToDb(const std::u16string& xml_path, vk::SearchLists& lists);
  void StartReader();
  sqlite3_stmt* Statement(size_t index) const { return db_.Statement(index); }
  HRESULT GetGlobal(int key, ULONG* value, unsigned line);
  HRESULT SetGlobal(int key, LONG value, unsigned line);
  std::u16string RebuildPath() const { return path_ + u".bak"; }

  IClientRoot* client_ = nullptr;
  CPy speller_;
  std::u16string path_;
  vk::SqlStore db_;
  std::shared_ptr<vk::UserListShared> shared_;
  bool swap_pending_ = false;  // guarded by the DB lock
};
