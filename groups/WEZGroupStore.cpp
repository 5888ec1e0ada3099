#include "groups/WEZGroupStore.h"

#include <optional>
#include <string>

#include "groups/CompanyGroupImport.h"
#include "groups/GroupIdText.h"
#include "groups/GroupKind.h"
#include "groups/GroupRecord.h"
#include "groups/LegacyGroupImport.h"
#include "groups/ModuleInstance.h"
#include "org/DecimalText.h"
#include "platform/Assert.h"
#include "platform/ComError.h"
#include "platform/Files.h"
#include "platform/Localization.h"
#include "storage/SqlCall.h"

using vk::SqlCall;

// A pointer argument the caller must give is missing: report it and refuse.
#define VK_INVALID_ARG() (VK_REPORT_ASSERT(), E_INVALIDARG)

namespace {

BSTR NewString(const char16_t* text) {
  BSTR copy = SysAllocString(text != nullptr ? text : u"");
  if (copy == nullptr) throw vk::ComError(E_OUTOFMEMORY, u"Cannot allocate the text.");
  return copy;
}

}  // namespace

CWEZGroupStore::CWEZGroupStore() : db_(vk::GroupSchema()) {}

CWEZGroupStore::~CWEZGroupStore() {
  db_.CloseDb();
  if (user_list_ != nullptr) user_list_->Release();
}

HRESULT CWEZGroupStore::Initialize(LPCOLESTR path, LONG kind) {
  // A caught error object answers its own status; anything else answers E_FAIL.
  std::optional<HRESULT> carried;
  const HRESULT hr = VK_REPORTING_GUARD({
    try {
      kind_ = kind;
      path_ = path != nullptr ? path : u"";
      db_.CloseDb();
      db_.SetPath(path_);
      db_.OpenDb();
      if (IsCompany()) AcquireUserList();
      SeedRootGroups();
      vk::LegacyGroupImport::Run(*this, path_, kind_);
      // Nothing above is reported: a database that did not open fails the queries instead.
      return S_OK;
    } catch (const vk::ComError& error) {
      carried = error.Status();
      throw;
    }
  });
  return carried ? *carried : hr;
}

bool CWEZGroupStore::AcquireUserList() {
  if (user_list_ != nullptr) return true;
  IWEZStore* module = vk::ModuleInstance::Alive();
  if (module == nullptr) return false;
  IUserList* list = nullptr;
  const HRESULT hr = module->GetUserList(&list);
  user_list_ = list;
  return SUCCEEDED(hr) && user_list_ != nullptr;
}

void CWEZGroupStore::SeedRootGroups() {
  const vk::GroupKind* kind = vk::FindGroupKind(kind_);
  if (kind == nullptr) return;
  // Every Initialize writes the roots again, undoing a rename of a root.
  GroupInfo root = vk::MakeGroupInfo(0, kind->root_id, kind->root_name);
  AddGroup(&root);
  if (kind_ != VK_GROUP_EXTERNAL) return;
  const LONG panel_id = static_cast<LONG>(vk::ParseDecimal64(vk::kContactPanelId));
  GroupInfo panel = vk::MakeGroupInfo(kind->root_id, panel_id, vk::kContactPanelName);
  AddGroup(&panel);
  char16_t name[261] = {};
  Localization_Constant_GetString(u"Vaultkit", vk::kLocalisedGroupKey, name, 260);
  const LONG localised_id = static_cast<LONG>(vk::ParseDecimal64(vk::kLocalisedGroupId));
  GroupInfo localised = vk::MakeGroupInfo(panel_id, localised_id, name);
  AddGroup(&localised);
}

LONG CWEZGroupStore::AllocateGroupId() {
  const vk::GroupKind* kind = vk::FindGroupKind(kind_);
  uint32_t next = kind != nullptr ? kind->id_floor : 0;
  if (db_.IsOpen()) {
    SqlCall query(Statement(vk::kSelectMaxGroupId));
    // Root rows do not count; an empty selection is NULL, read as 0.
    if (query.Step() == SQLITE_ROW) next = std::max(next, query.ColumnU32(0));
  }
  return static_cast<LONG>(next + 1);
}

HRESULT CWEZGroupStore::GetVersion(BSTR* version) {
  if (version == nullptr) return VK_INVALID_ARG();
  *version = nullptr;
  if (!db_.IsOpen()) return E_FAIL;
  return VK_REPORTING_GUARD({
    SqlCall query(Statement(vk::kSelectVersion));
    if (!query.BindText(1, vk::kGroupsVersionKey).Bound()) return E_FAIL;
    const int rc = query.Step();
    if (rc == SQLITE_ROW) {
      *version = NewString(query.ColumnText(0));
      return S_OK;
    }
    if (rc != SQLITE_DONE) return E_FAIL;
    *version = NewString(u"0");
    return S_FALSE;
  });
}

HRESULT CWEZGroupStore::SetVersion(LPCOLESTR version) {
  if (!db_.IsOpen()) return E_FAIL;
  return VK_REPORTING_GUARD({
    SqlCall insert(Statement(vk::kInsertGlobal));
    insert.BindText(1, vk::kGroupsVersionKey).BindText(2, version);
    return insert.Step() == SQLITE_DONE ? S_OK : E_FAIL;
  });
}

HRESULT CWEZGroupStore::AddGroup(GroupInfo* group) {
  if (group == nullptr) return VK_INVALID_ARG();
  return VK_REPORTING_GUARD({
    // The new id reaches the caller even when the database is closed.
    if (group->id == 0) group->id = AllocateGroupId();
    if (!db_.IsOpen()) return E_FAIL;
    SqlCall insert(Statement(vk::kInsertGroup));
    insert.BindText(1, vk::GroupIdText(group->id))
        .BindText(2, vk::GroupIdText(group->parentId))
        .BindText(3, vk::GroupNameOf(*group))
        .BindText(4, group->groupType != 0 ? u"1" : u"0");
    return insert.Step() == SQLITE_DONE ? S_OK : E_FAIL;
  });
}

HRESULT CWEZGroupStore::DeleteGroup(LONG id) {
  if (IsCompany() || !db_.IsOpen()) return E_FAIL;
  return VK_REPORTING_GUARD({
    HRESULT result = E_FAIL;
    const std::u16string id_text = vk::GroupIdText(id);
    {
      SqlCall group(Statement(vk::kDeleteGroup));
      if (group.BindText(1, id_text.c_str()).Step() == SQLITE_DONE) result = S_OK;
    }
    // The member statement is left as its step leaves it, not reset: until the store is
    // opened again it refuses the next bind, so a later DeleteGroup removes the group row
    // but keeps that group's members. Clients rely on that behaviour. The engine copies the
    // text, so nothing it holds dangles meanwhile.
    sqlite3_stmt* members = Statement(vk::kDeleteGroupMembers);
    if (members != nullptr &&
        sqlite3_bind_text16(members, 1, id_text.c_str(), -1, SQLITE_TRANSIENT) == SQLITE_OK &&
        sqlite3_step(members) == SQLITE_DONE) {
      result = S_OK;
    }
    // Child groups stay, with a parent id that no longer exists.
    return result;
  });
}

HRESULT CWEZGroupStore::GetSubGroupCount(LONG parent_id, LONG* count) {
  if (count == nullptr) return VK_INVALID_ARG();
  *count = 0;
  if (!db_.IsOpen()) return E_FAIL;
  return VK_REPORTING_GUARD({
    SqlCall query(Statement(vk::kCountSubGroups));
    if (query.BindText(1, vk::GroupIdText(parent_id)).Step() != SQLITE_ROW) return E_FAIL;
    *count = query.ColumnInt(0);
    return S_OK;
  });
}

HRESULT CWEZGroupStore::GetSubGroups(LONG parent_id, GroupInfo* groups, LONG* count) {
  if (groups == nullptr || count == nullptr) return VK_INVALID_ARG();
  *count = 0;
  if (!db_.IsOpen()) return E_FAIL;
  return VK_REPORTING_GUARD({
    HRESULT result = E_FAIL;  // also for a parent without children
    SqlCall query(Statement(vk::kSelectSubGroups));
    query.BindText(1, vk::GroupIdText(parent_id));
    LONG rows = 0;
    while (query.Step() == SQLITE_ROW) {
      result = S_OK;
      vk::ReadGroupRow(query, groups[rows++]);
    }
    *count = rows;
    return result;
  });
}

HRESULT CWEZGroupStore::RenameGroup(const GroupInfo* group) {
  if (group == nullptr) return VK_INVALID_ARG();
  if (IsCompany() || !db_.IsOpen()) return E_FAIL;
  return VK_REPORTING_GUARD({
    SqlCall update(Statement(vk::kRenameGroup));
    update.BindText(1, vk::GroupNameOf(*group)).BindText(2, vk::GroupIdText(group->id));
    if (!update.Bound()) return E_FAIL;
    // An id that does not exist changes no row and still succeeds.
    return update.Step() == SQLITE_DONE ? S_OK : E_FAIL;
  });
}

HRESULT CWEZGroupStore::AddMember(LONG id, LPCOLESTR nick) {
  if (IsCompany() || !db_.IsOpen()) return E_FAIL;
  return VK_REPORTING_GUARD({
    // Nicknames are kept as given: the group database does no case folding.
    SqlCall insert(Statement(vk::kInsertMember));
    insert.BindText(1, nick).BindText(2, vk::GroupIdText(id));
    return insert.Step() == SQLITE_DONE ? S_OK : E_FAIL;
  });
}

HRESULT CWEZGroupStore::DeleteMember(LONG id, LPCOLESTR nick) {
  if (IsCompany() || !db_.IsOpen()) return E_FAIL;
  return VK_REPORTING_GUARD({
    SqlCall remove(Statement(vk::kDeleteMember));
    remove.BindText(1, nick).BindText(2, vk::GroupIdText(id));
    return remove.Step() == SQLITE_DONE ? S_OK : E_FAIL;
  });
}

HRESULT CWEZGroupStore::GetMembers(LONG id, BSTR* nicks, LONG* count) {
  if (IsCompany()) {
    // The departments' members live in the user list; the group id is the department id.
    if (user_list_ == nullptr) return E_FAIL;
    return user_list_->GetDeptUserNicks(static_cast<ULONG>(id), nicks, count);
  }
  if (nicks == nullptr || count == nullptr) return VK_INVALID_ARG();
  if (!db_.IsOpen()) return E_FAIL;
  *count = 0;
  return VK_REPORTING_GUARD({
    HRESULT result = E_FAIL;  // also for a group without members
    SqlCall query(Statement(vk::kSelectMembers));
    query.BindText(1, vk::GroupIdText(id));
    LONG rows = 0;
    while (query.Step() == SQLITE_ROW) {
      result = S_OK;
      nicks[rows] = NewString(query.ColumnText(0));
      *count = ++rows;
    }
    return result;
  });
}

HRESULT CWEZGroupStore::GetMemberCount(LONG id, LONG* count) {
  if (IsCompany()) {
    if (user_list_ == nullptr) return E_FAIL;
    return user_list_->GetUserCount(static_cast<ULONG>(id), count);
  }
  if (count == nullptr) return VK_INVALID_ARG();
  if (!db_.IsOpen()) return E_FAIL;
  *count = 0;
  return VK_REPORTING_GUARD({
    SqlCall query(Statement(vk::kCountMembers));
    if (query.BindText(1, vk::GroupIdText(id)).Step() != SQLITE_ROW) return E_FAIL;
    *count = static_cast<LONG>(query.ColumnU32(0));
    return S_OK;
  });
}

HRESULT CWEZGroupStore::GetGroupInfo(GroupInfo* group) {
  if (group == nullptr) return VK_INVALID_ARG();
  if (!db_.IsOpen()) return E_FAIL;
  return VK_REPORTING_GUARD({
    SqlCall query(Statement(vk::kSelectGroup));
    if (query.BindText(1, vk::GroupIdText(group->id)).Step() != SQLITE_ROW) return E_FAIL;
    vk::ReadGroupRow(query, *group);
    return S_OK;
  });
}

HRESULT CWEZGroupStore::GetGroupCount(LONG* count) {
  if (count == nullptr) return VK_INVALID_ARG();
  *count = 0;
  if (!db_.IsOpen()) return E_FAIL;
  return VK_REPORTING_GUARD({
    SqlCall query(Statement(vk::kCountGroups));
    if (query.Step() != SQLITE_ROW) return E_FAIL;
    *count = static_cast<LONG>(query.ColumnU32(0));
    return S_OK;
  });
}

HRESULT CWEZGroupStore::LoadDataFromXml(LPCOLESTR path) {
  if (path == nullptr) return VK_INVALID_ARG();
  if (!IsCompany()) return E_NOTIMPL;
  return VK_REPORTING_GUARD({
    if (!IsFileExist(path)) return S_OK;
    // The import writes through a connection of its own; this store's stays open and idle.
    return vk::CompanyGroupImport::Run(path_, path) ? S_OK : E_FAIL;
  });
}
