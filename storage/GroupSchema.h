// The group database: its schema and its statements in preparation order.
// It sits in the storage layer, beside the database helper, so `vaultkit check` examines a file
// against the very schema the store opens it with, without linking the store.
#pragma once

#include "storage/SqlStore.h"

namespace vk {

enum GroupStatement : size_t {
  kSelectVersion,       // GetVersion
  kInsertGlobal,        // SetVersion
  kInsertGroup,         // AddGroup
  kDeleteGroup,         // DeleteGroup
  kCountSubGroups,      // GetSubGroupCount
  kSelectSubGroups,     // GetSubGroups
  kRenameGroup,         // RenameGroup
  kSelectGroup,         // GetGroupInfo
  kSelectMaxGroupId,    // AllocateGroupId
  kCountGroups,         // GetGroupCount
  kInsertMember,        // AddMember
  kDeleteMember,        // DeleteMember
  kSelectMembers,       // GetMembers
  kCountMembers,        // GetMemberCount
  kDeleteGroupMembers,  // DeleteGroup
};

// Columns of a "SELECT * FROM [groups]" row.
enum GroupColumn { kGroupId, kGroupParentId, kGroupName, kGroupType };

// Statements the company import prepares on its own connection.
inline constexpr char16_t kInsertGlobalSql[] = u"INSERT INTO [global] VALUES (?, ?)";
inline constexpr char16_t kInsertGroupSql[] = u"INSERT INTO [groups] VALUES (?, ?, ?, ?)";
// Keys of the `global` table.
inline constexpr char16_t kGroupsVersionKey[] = u"GroupsVersion";
inline constexpr char16_t kDataFormatKey[] = u"DataFormat";

SqlSchema GroupSchema();

}  // namespace vk
