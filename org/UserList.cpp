#include "org/UserList.h"

#include <stdio.h>

#include <string>

#include "org/DecimalText.h"
#include "org/SearchListReader.h"
#include "org/UserListFolderLock.h"
#include "org/UserListImport.h"
#include "platform/Assert.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "storage/SqlCall.h"
#include "storage/UserListSchema.h"

using vk::SqlCall;

// An argument the contract requires is missing: report it and refuse.
// A null out-pointer is a fault of the caller's code: it gets the assertion report. An
// unusable in-argument (empty path, null nickname, uin 0) is refused quietly, as the user
// list reports its own troubles on the debug channel, never in the client log.
#define VK_INVALID_ARG() (VK_REPORT_ASSERT(), E_INVALIDARG)
#define VK_INVALID_IN() E_INVALIDARG

namespace {

std::u16string Decimal(long long value) {
  const std::string text = std::to_string(value);
  return std::u16string(text.begin(), text.end());
}

// The nickname of a record: at most its 32 units, up to the first NUL.
std::u16string NickOf(const UserListEntry& entry) {
  size_t length = 0;
  while (length < std::size(entry.nick) && entry.nick[length] != 0) ++length;
  return std::u16string(entry.nick, length);
}

// Copies at most 31 units and fills the rest of those 31 with NULs; a nickname of 31 units
// or more is therefore not terminated unless the caller zeroed the record.
void CopyNick(OLECHAR (&field)[32], const std::u16string& nick) {
  constexpr size_t kUnits = 31;
  size_t i = 0;
  for (; i < kUnits && i < nick.size() && nick[i] != 0; ++i) field[i] = nick[i];
  for (; i < kUnits; ++i) field[i] = 0;
}

BSTR NewString(const std::u16string& text) {
  return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

}  // namespace

CUserList::CUserList()
    : db_(vk::UserListSchema()), shared_(std::make_shared<vk::UserListShared>(db_.LockHandle())) {}

CUserList::~CUserList() {
  // Not under the DB lock: a reader never touches the live connection, and one that ended
  // holding the lock would keep the destructor waiting for ever. No other caller can be
  // inside the object while its last reference goes.
  db_.CloseDb();
  if (client_ != nullptr) client_->Release();
  // Nobody can search once the object is gone: a reader whose lists nobody asked for ends
  // at its next row instead of keeping the process busy (and the library loaded).
  shared_->StopUnwantedReaders();
  // The current lists go with shared_ once no reader holds it any longer.
}

template <typename Body>
HRESULT CUserList::Locked(unsigned line, bool swap, Body&& body) {
  return db_.Locked(
      [&](HRESULT& result) {
        if (swap) RunPendingSwap();
        body(result);
      },
      [line] {
        const std::u16string trace = u"[Userlist] UserList : L" + Decimal(line) + u" exception";
        OutputDebugStringW(trace.c_str());
      });
}

void CUserList::StartReader() {
  vk::SearchListReader::Start(shared_, path_);
}

HRESULT CUserList::Initialize(LPCOLESTR path, IUnknown* client) {
  if (path == nullptr || *path == 0 || client == nullptr) return VK_INVALID_IN();
  IClientRoot* root = nullptr;
  if (FAILED(client->QueryInterface(IID_IClientRoot, reinterpret_cast<void**>(&root)))) {
    root = nullptr;
  }
  if (client_ != nullptr) client_->Release();
  client_ = root;
  path_ = path;
  Locked(__LINE__, false, [&](HRESULT&) {
    // A rebuild waiting for the previous account's file must not be put in place of the
    // new account's one.
    swap_pending_ = false;
    db_.CloseDb();
    db_.SetPath(path_);
    db_.OpenDb();
  });
  StartReader();
  return S_OK;
}

HRESULT CUserList::AddUser(ULONG dept_id, const UserListEntry* entry) {
  return AddUserEx(dept_id, entry, 0);
}

HRESULT CUserList::AddUserEx(ULONG dept_id, const UserListEntry* entry, ULONG gender) {
  if (entry == nullptr) return VK_INVALID_IN();
  if (!db_.IsOpen()) return E_FAIL;
  const std::u16string nick = vk::WideToLower(NickOf(*entry));
  const ULONG uin = entry->uin;
  return Locked(__LINE__, true, [&](HRESULT& result) {
    {
      // Removes an earlier row of the nickname in the department, whatever its uin.
      SqlCall remove(Statement(vk::kDeleteMember));
      remove.BindText(1, nick.c_str()).BindU32(2, dept_id);
      remove.Step();
    }
    // The name (parameter 3) is never bound here: rows added one by one have no name.
    SqlCall insert(Statement(vk::kInsertMember));
    insert.BindU32(1, uin).BindText(2, nick.c_str()).BindU32(4, dept_id).BindU32(5, gender);
    // The test is for 0, which a completed insert (101) never returns: the row is written
    // and E_FAIL reported. Callers depend on this answer.
    if (insert.Step() == SQLITE_OK) result = S_OK;
  });
}

HRESULT CUserList::DeleteUser(ULONG dept_id, LPCOLESTR nick) {
  if (!db_.IsOpen()) return E_FAIL;
  if (nick == nullptr) return VK_INVALID_IN();
  const std::u16string lowered = vk::WideToLower(nick);
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall remove(Statement(vk::kDeleteMember));
    remove.BindText(1, lowered.c_str()).BindU32(2, dept_id);
    if (remove.Step() == SQLITE_OK) result = S_OK;  // as AddUserEx: deleted, E_FAIL reported
  });
}

HRESULT CUserList::GetDeptUsers(ULONG dept_id, UserListEntry* entries, LONG* count) {
  if (!db_.IsOpen()) return E_FAIL;
  if (entries == nullptr || count == nullptr) return VK_INVALID_ARG();
  *count = 0;
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectDeptMembers));
    query.BindU32(1, dept_id);
    LONG rows = 0;
    while (query.Step() == SQLITE_ROW) {
      result = S_OK;
      UserListEntry& entry = entries[rows];
      entry.uin = query.ColumnU32(vk::kMemberUin);
      CopyNick(entry.nick, vk::WideToLower(query.ColumnString(vk::kMemberNick)));
      *count = ++rows;
    }
  });
}

HRESULT CUserList::GetDeptUserNicks(ULONG dept_id, BSTR* nicks, LONG* count) {
  if (nicks == nullptr || count == nullptr) return VK_INVALID_ARG();
  if (!db_.IsOpen()) return E_FAIL;
  *count = 0;
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectDeptMembers));
    query.BindU32(1, dept_id);
    LONG rows = 0;
    while (query.Step() == SQLITE_ROW) {
      result = S_OK;
      nicks[rows] = NewString(vk::WideToLower(query.ColumnString(vk::kMemberNick)));
      *count = ++rows;
    }
  });
}

HRESULT CUserList::GetUserCount(ULONG dept_id, LONG* count) {
  if (!db_.IsOpen()) return E_FAIL;
  if (count == nullptr) return VK_INVALID_ARG();
  *count = 0;
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kCountDeptMembers));
    query.BindU32(1, dept_id);
    if (!query.Bound()) return;
    const int rc = query.Step();
    if (rc == SQLITE_ROW) {
      *count = static_cast<LONG>(query.ColumnInt64(0));
      result = S_OK;
    } else {
      char line[96];
      snprintf(line, sizeof line, "[UserlistError] CUserList::GetUserCount rc=%d", rc);
      OutputDebugStringA(line);
    }
  });
}

HRESULT CUserList::GetDeptCount(LONG* count) {
  if (!db_.IsOpen()) return E_FAIL;
  if (count == nullptr) return VK_INVALID_ARG();
  *count = 0;
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kCountDepartments));
    if (query.Step() == SQLITE_ROW) {
      *count = static_cast<LONG>(query.ColumnInt64(0));
      result = S_OK;
    }
  });
}

HRESULT CUserList::GetDeptIds(ULONG* ids, LONG* count) {
  if (!db_.IsOpen()) return E_FAIL;
  if (ids == nullptr || count == nullptr) return VK_INVALID_ARG();
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectDeptIds));
    LONG rows = 0;
    int rc;
    while ((rc = query.Step()) == SQLITE_ROW) {
      result = S_OK;
      ids[rows++] = query.ColumnU32(0);
    }
    if (rc == SQLITE_DONE) *count = rows;
  });
}

HRESULT CUserList::GetDeptVersion(ULONG dept_id, ULONG* version) {
  if (!db_.IsOpen()) return E_FAIL;
  if (version == nullptr) return VK_INVALID_ARG();
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectDeptVersion));
    query.BindU32(1, dept_id);
    if (query.Step() == SQLITE_ROW) {
      *version = query.ColumnU32(0);
      result = S_OK;
    }
  });
}

HRESULT CUserList::DeleteDept(ULONG dept_id) {
  if (!db_.IsOpen()) return E_FAIL;
  return Locked(__LINE__, true, [&](HRESULT& result) {
    {
      SqlCall department(Statement(vk::kDeleteDepartment));
      department.BindU32(1, dept_id);
      department.Step();
    }
    SqlCall members(Statement(vk::kDeleteDeptMembers));
    members.BindU32(1, dept_id);
    if (members.Step() == SQLITE_DONE) result = S_OK;
  });
}

HRESULT CUserList::SetDeptVersion(ULONG dept_id, ULONG version) {
  if (!db_.IsOpen()) return E_FAIL;
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall insert(Statement(vk::kInsertDepartment));
    insert.BindU32(1, dept_id).BindU32(2, version);
    if (insert.Step() == SQLITE_OK) result = S_OK;  // as AddUserEx: written, E_FAIL reported
  });
}

HRESULT CUserList::Save() {
  return S_OK;
}

HRESULT CUserList::GetUinByNick(LPCOLESTR nick, ULONG* uin) {
  if (!db_.IsOpen()) return E_FAIL;
  if (uin == nullptr) return VK_INVALID_ARG();
  if (nick == nullptr) return VK_INVALID_IN();
  const std::u16string lowered = vk::WideToLower(nick);
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectByNick));
    query.BindText(1, lowered.c_str());
    if (query.Step() == SQLITE_ROW) {
      *uin = query.ColumnU32(vk::kMemberUin);
      result = S_OK;
    }
  });
}

HRESULT CUserList::GetNickByUin(ULONG uin, BSTR* nick) {
  // No connection test: a closed store fails at the bind.
  if (nick == nullptr) return VK_INVALID_ARG();
  if (uin == 0) return VK_INVALID_IN();
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectByUin));
    query.BindU32(1, uin);
    if (query.Step() == SQLITE_ROW) {
      *nick = NewString(vk::WideToLower(query.ColumnString(vk::kMemberNick)));
      result = S_OK;
    }
  });
}

HRESULT CUserList::GetGenderByNick(LPCOLESTR nick, LONG* gender) {
  // No connection test and no swap step; the nickname is matched exactly as given (the
  // directory's callers pass the stored lower-case form). A null out-pointer is still
  // refused rather than written through.
  if (gender == nullptr) return E_INVALIDARG;
  *gender = 0;
  return Locked(__LINE__, false, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectByNick));
    query.BindText(1, nick);
    if (query.Step() == SQLITE_ROW) {
      *gender = query.ColumnInt(vk::kMemberGender);
      result = S_OK;
    }
  });
}

HRESULT CUserList::GetMaxDeptVersion(ULONG* version) {
  if (!db_.IsOpen()) return E_FAIL;
  if (version == nullptr) return VK_INVALID_ARG();
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectMaxVersion));
    if (query.Step() == SQLITE_ROW) {
      *version = query.ColumnU32(0);  // MAX over no rows is NULL, read as 0
      result = S_OK;
    }
  });
}

HRESULT CUserList::GetGlobal(int key, ULONG* value, unsigned line) {
  if (!db_.IsOpen()) return E_FAIL;
  if (value == nullptr) return VK_INVALID_ARG();
  return Locked(line, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectGlobal));
    query.BindInt64(1, key);
    if (query.Step() == SQLITE_ROW) {
      const char16_t* text = query.ColumnText(0);
      // A version missing from the imported file was stored as NULL: there is no text to
      // convert, and the operation fails through the exception path.
      if (text == nullptr) throw vk::FrameworkException("no version text");
      *value = static_cast<ULONG>(vk::ParseDecimal64(text));
      result = S_OK;
    }
  });
}

HRESULT CUserList::SetGlobal(int key, LONG value, unsigned line) {
  if (!db_.IsOpen()) return E_FAIL;
  const std::u16string text = Decimal(value);
  return Locked(line, true, [&](HRESULT& result) {
    SqlCall insert(Statement(vk::kInsertGlobal));
    insert.BindInt64(1, key).BindText(2, text.c_str());
    if (insert.Step() == SQLITE_DONE) result = S_OK;
  });
}

HRESULT CUserList::GetDeptVer(ULONG* value) {
  return GetGlobal(vk::kGlobalDeptVer, value, __LINE__);
}
HRESULT CUserList::SetDeptVer(LONG value) {
  return SetGlobal(vk::kGlobalDeptVer, value, __LINE__);
}
HRESULT CUserList::GetProVer(ULONG* value) {
  return GetGlobal(vk::kGlobalProVer, value, __LINE__);
}
HRESULT CUserList::SetProVer(LONG value) {
  return SetGlobal(vk::kGlobalProVer, value, __LINE__);
}

HRESULT CUserList::UpdateNick(ULONG uin, LPCOLESTR nick) {
  if (!db_.IsOpen()) return E_FAIL;
  if (nick == nullptr || uin == 0) return VK_INVALID_IN();
  return Locked(__LINE__, true, [&](HRESULT& result) {
    // The nickname is written as given, not lower-cased.
    SqlCall update(Statement(vk::kUpdateNick));
    update.BindText(1, nick).BindU32(2, uin);
    if (update.Step() == SQLITE_DONE) result = S_OK;
  });
}

HRESULT CUserList::GetDeptIdsByNick(LPCOLESTR nick, ULONG* ids, LONG* count) {
  if (!db_.IsOpen()) return E_FAIL;
  if (ids == nullptr || count == nullptr) return VK_INVALID_ARG();
  if (nick == nullptr) return VK_INVALID_IN();
  *count = 0;
  const std::u16string lowered = vk::WideToLower(nick);
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectByNick));
    query.BindText(1, lowered.c_str());
    LONG rows = 0;
    while (static_cast<size_t>(rows) < kMaxDeptIdsByNick && query.Step() == SQLITE_ROW) {
      result = S_OK;
      ids[rows] = query.ColumnU32(vk::kMemberDeptId);
      *count = ++rows;
    }
  });
}

HRESULT CUserList::IsNickExist(LPCOLESTR nick, BOOL* exists) {
  if (!db_.IsOpen()) return E_FAIL;
  if (exists == nullptr) return VK_INVALID_ARG();
  if (nick == nullptr) return VK_INVALID_IN();
  const std::u16string lowered = vk::WideToLower(nick);
  return Locked(__LINE__, true, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectByNick));
    query.BindText(1, lowered.c_str());
    if (!query.Bound()) return;
    *exists = query.Step() == SQLITE_ROW ? TRUE : FALSE;
    result = S_OK;
  });
}

HRESULT CUserList::GetVersionInfo(BSTR* dir_version, BSTR* root_dept_version) {
  if (dir_version == nullptr || root_dept_version == nullptr) return VK_INVALID_ARG();
  ULONG directory = 0;
  HRESULT hr = GetDeptVer(&directory);
  if (FAILED(hr)) return hr;
  ULONG root = 0;
  hr = GetDeptVersion(kRootDeptId, &root);
  if (FAILED(hr)) return hr;
  // Written as signed ("%ld") numbers, as the client reads them back.
  *dir_version = NewString(Decimal(static_cast<LONG>(directory)));
  *root_dept_version = NewString(Decimal(static_cast<LONG>(root)));
  return S_OK;
}

HRESULT CUserList::GetChangedDeptCount(LPCOLESTR since, LONG* count) {
  if (!db_.IsOpen()) return E_FAIL;
  if (count == nullptr) return VK_INVALID_ARG();
  if (since == nullptr) return VK_INVALID_IN();
  const int64_t version = vk::ParseDecimal64(since);
  return Locked(__LINE__, false, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kCountChangedDepts));
    query.BindInt64(1, version);
    if (query.Step() == SQLITE_ROW) {
      *count = static_cast<LONG>(query.ColumnInt64(0));
      result = S_OK;
    }
  });
}

HRESULT CUserList::GetChangedDeptIds(LPCOLESTR since, ULONG* ids, LONG* count) {
  if (!db_.IsOpen()) return E_FAIL;
  if (count == nullptr) return VK_INVALID_ARG();
  if (since == nullptr) return VK_INVALID_IN();
  const int64_t version = vk::ParseDecimal64(since);
  return Locked(__LINE__, false, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectChangedDeptIds));
    query.BindInt64(1, version);
    if (!query.Bound()) return;
    result = S_OK;
    LONG rows = 0;
    while (query.Step() == SQLITE_ROW) {
      if (ids != nullptr) ids[rows] = query.ColumnU32(0);
      ++rows;
    }
    *count = rows;
  });
}

HRESULT CUserList::SearchUsers(LPCOLESTR prefix, BSTR* matches, BSTR* reserved) {
  // Always S_OK. A null prefix searches like the empty one; null out-pointers are skipped.
  const std::u16string found =
      shared_->Search(prefix != nullptr ? std::u16string_view(prefix) : std::u16string_view());
  if (matches != nullptr) *matches = NewString(found);
  if (reserved != nullptr) *reserved = SysAllocString(u"");
  return S_OK;
}

HRESULT CUserList::GetNameByNick(LPCOLESTR nick, BSTR* name) {
  // As GetGenderByNick: no connection test, no swap step, the nickname as given.
  if (name == nullptr) return E_INVALIDARG;
  *name = nullptr;
  return Locked(__LINE__, false, [&](HRESULT& result) {
    SqlCall query(Statement(vk::kSelectByNick));
    query.BindText(1, nick);
    if (query.Step() == SQLITE_ROW) {
      *name = NewString(query.ColumnString(vk::kMemberName));  // NULL gives ""
      result = S_OK;
    }
  });
}

// ---- Import and swap ------------------------------------------------------------------

HRESULT CUserList::LoadDataFromXml(LPCOLESTR path) {
  if (path == nullptr) return VK_INVALID_IN();
  if (path_.empty()) return E_FAIL;  // not initialised: there is no live path to rebuild
  if (!IsFileExist(path)) return E_FAIL;
  try {
    auto lists = std::make_unique<vk::SearchLists>();
    const std::u16string start =
        u"[Userlist] CUserList::LoadDataFromXml load userlist from file " + std::u16string(path);
    OutputDebugStringW(start.c_str());
    LoadXmlToDb(path, *lists);
    shared_->ReplaceLists(std::move(lists));
    OutputDebugStringW(u"[Userlist] CUserList::LoadDataFromXml finish loading userlist");
    return S_OK;
  } catch (...) {
    const std::u16string trace = u"[Userlist] UserList : L" + Decimal(__LINE__) + u" exception";
    OutputDebugStringW(trace.c_str());
    return E_FAIL;
  }
}

bool CUserList::LoadXmlToDb(const std::u16string& xml_path, vk::SearchLists& lists) {
  vk::UserListImport import(db_, speller_, lists);
  if (!import.Build(xml_path, RebuildPath())) return false;
  vk::LockGuard hold(db_.Lock());
  swap_pending_ = true;
  return true;
}

void CUserList::RunPendingSwap() {
  if (!swap_pending_) return;
  swap_pending_ = false;
  const std::u16string rebuild = RebuildPath();
  if (!IsFileExist(rebuild)) return;
  // Another process's import may be putting its rebuild in place: the copy waits for it. If it
  // takes too long, this operation answers from the old database and the next one tries again.
  vk::UserListFolderLock folder;
  if (!folder.Take(path_, u"the rebuilt directory waits for the next operation")) {
    swap_pending_ = true;
    return;
  }
  db_.CloseDb();
  if (IsFileExist(path_)) {
    const std::u16string line =
        u"[Userlist] CUserList::LoadXmlToDb remove existing db file " + path_;
    OutputDebugStringW(line.c_str());
  }
  OutputDebugStringW(u"[Userlist] CUserList::LoadXmlToDb put tempUserlist online");
  // The rebuilt file replaces the live one in a single rename: a failure leaves the old
  // directory in place, never a partly copied file. A rollback journal of the old file
  // would be played into the new one on open, so it goes first.
  vk::RemoveFile(path_ + u"-journal");
  vk::ReplaceFileWithCopy(rebuild, path_);
  db_.OpenDb();
  StartReader();
}
