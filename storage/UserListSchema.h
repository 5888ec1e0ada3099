// The user list database: its schema and its statements in preparation order.
// It sits in the storage layer, beside the database helper, so `vaultkit check` examines a file
// against the very schema the store opens it with, without linking the store.
#pragma once

#include "storage/SqlStore.h"

namespace vk {

enum UserListStatement : size_t {
  kInsertGlobal,          // SetDeptVer, SetProVer
  kInsertDepartment,      // SetDeptVersion
  kInsertMember,          // AddUser, AddUserEx
  kDeleteMember,          // AddUserEx, DeleteUser
  kDeleteDepartment,      // DeleteDept
  kDeleteDeptMembers,     // DeleteDept
  kUpdateNick,            // UpdateNick
  kSelectGlobal,          // GetDeptVer, GetProVer
  kSelectMaxVersion,      // GetMaxDeptVersion
  kCountDepartments,      // GetDeptCount
  kSelectDeptIds,         // GetDeptIds
  kSelectDeptVersion,     // GetDeptVersion, GetVersionInfo
  kSelectChangedDeptIds,  // GetChangedDeptIds
  kCountChangedDepts,     // GetChangedDeptCount
  kSelectDeptMembers,     // GetDeptUsers, GetDeptUserNicks
  kCountDeptMembers,      // GetUserCount
  kSelectByNick,          // GetUinByNick, GetGenderByNick, GetDeptIdsByNick, IsNickExist, ...
  kSelectByUin,           // GetNickByUin
  kSelectAllMembers,      // kept prepared; the search-list reader uses its own copy
};

// Keys of the `global` table.
inline constexpr int kGlobalAlwaysOne = 1;
inline constexpr int kGlobalProVer = 2;
inline constexpr int kGlobalDeptVer = 3;

// Columns of a "SELECT * FROM [member]" row.
enum MemberColumn { kMemberUin, kMemberNick, kMemberName, kMemberDeptId, kMemberGender };

inline constexpr char16_t kSelectAllMembersSql[] = u"SELECT * FROM [member]";

SqlSchema UserListSchema();

}  // namespace vk
