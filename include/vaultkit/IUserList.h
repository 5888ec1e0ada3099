/* The organisation directory: departments with their versions, their members, the two
 * directory-wide versions and a prefix search over nicknames, names and spelling codes.
 * Department ids, versions and uins are unsigned 32-bit; array arguments are sized by the
 * caller from the matching count operation and are written without a bound. */
#ifndef VAULTKIT_IUSERLIST_H
#define VAULTKIT_IUSERLIST_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IUserList, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IUserList)
    /* Opens the database at `path`; `client` is queried for IClientRoot and kept. */
    VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, IUnknown* client) VK_PURE;
VK_METHOD(AddUser)(VK_THIS_ ULONG dept_id, const UserListEntry* entry) VK_PURE;
VK_METHOD(AddUserEx)(VK_THIS_ ULONG dept_id, const UserListEntry* entry, ULONG gender) VK_PURE;
VK_METHOD(DeleteUser)(VK_THIS_ ULONG dept_id, LPCOLESTR nick) VK_PURE;
VK_METHOD(GetDeptUsers)(VK_THIS_ ULONG dept_id, UserListEntry* entries, LONG* count) VK_PURE;
/* Each element of `nicks` receives a new string that the caller frees. */
VK_METHOD(GetDeptUserNicks)(VK_THIS_ ULONG dept_id, BSTR* nicks, LONG* count) VK_PURE;
/* Number of members of the department. */
VK_METHOD(GetUserCount)(VK_THIS_ ULONG dept_id, LONG* count) VK_PURE;
VK_METHOD(GetDeptCount)(VK_THIS_ LONG* count) VK_PURE;
VK_METHOD(GetDeptIds)(VK_THIS_ ULONG* ids, LONG* count) VK_PURE;
VK_METHOD(GetDeptVersion)(VK_THIS_ ULONG dept_id, ULONG* version) VK_PURE;
/* Removes the department and every member row of it. */
VK_METHOD(DeleteDept)(VK_THIS_ ULONG dept_id) VK_PURE;
VK_METHOD(SetDeptVersion)(VK_THIS_ ULONG dept_id, ULONG version) VK_PURE;
/* Every write is already in the database: does nothing. */
VK_METHOD(Save)(VK_THIS) VK_PURE;
VK_METHOD(GetUinByNick)(VK_THIS_ LPCOLESTR nick, ULONG* uin) VK_PURE;
VK_METHOD(GetNickByUin)(VK_THIS_ ULONG uin, BSTR* nick) VK_PURE;
VK_METHOD(GetGenderByNick)(VK_THIS_ LPCOLESTR nick, LONG* gender) VK_PURE;
VK_METHOD(GetMaxDeptVersion)(VK_THIS_ ULONG* version) VK_PURE;
/* The directory-wide department version (DeptVer). */
VK_METHOD(GetDeptVer)(VK_THIS_ ULONG* value) VK_PURE;
VK_METHOD(SetDeptVer)(VK_THIS_ LONG value) VK_PURE;
/* The directory-wide profile version (ProVer). */
VK_METHOD(GetProVer)(VK_THIS_ ULONG* value) VK_PURE;
VK_METHOD(SetProVer)(VK_THIS_ LONG value) VK_PURE;
/* Renames every row of the uin. */
VK_METHOD(UpdateNick)(VK_THIS_ ULONG uin, LPCOLESTR nick) VK_PURE;
/* Writes at most 21 ids. */
VK_METHOD(GetDeptIdsByNick)(VK_THIS_ LPCOLESTR nick, ULONG* ids, LONG* count) VK_PURE;
VK_METHOD(IsNickExist)(VK_THIS_ LPCOLESTR nick, BOOL* exists) VK_PURE;
/* DeptVer and the version of the root department 199999, as decimal text. */
VK_METHOD(GetVersionInfo)(VK_THIS_ BSTR* dir_version, BSTR* root_dept_version) VK_PURE;
/* Rebuilds the directory from the server's organisation XML file at `path`. */
VK_METHOD(LoadDataFromXml)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* Departments whose version is above `since` (decimal text). */
VK_METHOD(GetChangedDeptCount)(VK_THIS_ LPCOLESTR since, LONG* count) VK_PURE;
/* As GetChangedDeptCount; `ids` may be null to get the count alone. */
VK_METHOD(GetChangedDeptIds)(VK_THIS_ LPCOLESTR since, ULONG* ids, LONG* count) VK_PURE;
/* Up to 50 display strings, each followed by ";"; `reserved` receives an empty string. */
VK_METHOD(SearchUsers)(VK_THIS_ LPCOLESTR prefix, BSTR* matches, BSTR* reserved) VK_PURE;
VK_METHOD(GetNameByNick)(VK_THIS_ LPCOLESTR nick, BSTR* name) VK_PURE;
VK_END

/* For tools and tests that need the search lists to reflect the database: waits until
 * every search-list reader started so far has ended. Operations of IUserList never wait. */
VK_INTERFACE_(IUserListSync, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IUserListSync) VK_METHOD(WaitForSearchLists)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IUserList, IID_IUserList)
VK_INTERFACE_ID(IUserListSync, IID_IUserListSync)
#endif

#endif
