// One contact-group tree of the user, kept in an SQLite database of its own: groups by parent
// id, the nicknames filed under each group, and the data version. The group kind, fixed by
// Initialize, decides the seeded root groups, the floor of new ids and what may be edited;
// the company tree (kind 1) takes its members from the user list.
#pragma once

#include <string>

#include "runtime/ComObject.h"
#include "storage/GroupSchema.h"
#include "storage/SqlStore.h"
#include "vaultkit/IUserList.h"
#include "vaultkit/IWEZGroupStore.h"

class CWEZGroupStore : public vk::ComObject<IWEZGroupStore> {
 public:
  CWEZGroupStore();
  ~CWEZGroupStore() override;

  HRESULT Initialize(LPCOLESTR path, LONG kind) override;
  HRESULT GetVersion(BSTR* version) override;
  HRESULT SetVersion(LPCOLESTR version) override;
  HRESULT AddGroup(GroupInfo* group) override;
  HRESULT DeleteGroup(LONG id) override;
  HRESULT GetSubGroupCount(LONG parent_id, LONG* count) override;
  HRESULT GetSubGroups(LONG parent_id, GroupInfo* groups, LONG* count) override;
  HRESULT RenameGroup(const GroupInfo* group) override;
  HRESULT AddMember(LONG id, LPCOLESTR nick) override;
  HRESULT DeleteMember(LONG id, LPCOLESTR nick) override;
  HRESULT GetMembers(LONG id, BSTR* nicks, LONG* count) override;
  HRESULT GetMemberCount(LONG id, LONG* count) override;
  HRESULT GetGroupInfo(GroupInfo* group) override;
  HRESULT GetGroupCount(LONG* count) override;
  HRESULT LoadDataFromXml(LPCOLESTR path) override;

  LONG Kind() const { return kind_; }
  bool IsOpen() const { return db_.IsOpen(); }
  bool HasUserList() const { return user_list_ != nullptr; }
  // The next free id: above the kind's floor and above every non-root id, compared unsigned.
  LONG AllocateGroupId();

 private:
  bool AcquireUserList();
  void SeedRootGroups();
  // The company tree is the organisation's: it is replaced by imports, never edited.
  bool IsCompany() const { return kind_ == 1; }
  sqlite3_stmt* Statement(vk::GroupStatement index) const { return db_.Statement(index); }

  std::u16string path_;
  LONG kind_ = 0;
  vk::SqlStore db_;
  IUserList* user_list_ = nullptr;  // kind 1 only; kept once acquired
};
