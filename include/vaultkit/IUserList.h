/* The organisation directory: departments with their versions, their members, the two
 * directory-wide versions and a prefix search over nicknames, names and spelling codes.
 *
 * Department ids, versions and uins are unsigned 32-bit. Nicknames are stored in lower case;
 * the operations that lower-case their nickname argument say so, the others match it as given.
 * Array arguments are sized by the caller from the matching count operation and are written
 * without a bound. Strings handed out are new system strings that the caller frees with
 * SysFreeString; nothing is allocated when an operation fails.
 *
 * Unless an operation says otherwise it answers E_FAIL when the database is not open (before
 * Initialize, or when Initialize could not open it), E_INVALIDARG after an assertion report
 * for a null out-pointer, E_INVALIDARG without one for an unusable in-argument, and E_FAIL
 * when a query finds no row. A directory rebuilt by LoadDataFromXml goes online at the start
 * of the next operation that reads or writes the database, unless that operation says it
 * does not wait for it. Calls come from the client's interface thread; the store's own
 * background reader is the only other thread, and operations wait for it only while it
 * holds the database. */
#ifndef VAULTKIT_IUSERLIST_H
#define VAULTKIT_IUSERLIST_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IUserList, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IUserList)
/* Opens the database at `path`, creating it when missing, and starts the background reader
 * that builds the search lists. `client` is queried for IClientRoot and kept. Calling it again
 * (the next account) closes the previous database and drops a rebuild not yet online.
 * E_INVALIDARG for a null or empty path or a null client, with nothing changed; otherwise
 * S_OK, also when the database could not be opened (later operations then answer E_FAIL). */
VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, IUnknown* client) VK_PURE;
/* AddUserEx with gender 0. */
VK_METHOD(AddUser)(VK_THIS_ ULONG dept_id, const UserListEntry* entry) VK_PURE;
/* Makes the entry (nickname lower-cased, uin, gender) a member of the department, replacing
 * an earlier row of that nickname in that department whatever its uin. The member's name
 * stays empty: names come only from LoadDataFromXml.
 * Answers E_FAIL also when the row was written (kept as the clients know it): read the row
 * back to check. When the insert itself fails, the earlier row is already gone.
 * E_INVALIDARG for a null entry. */
VK_METHOD(AddUserEx)(VK_THIS_ ULONG dept_id, const UserListEntry* entry, ULONG gender) VK_PURE;
/* Removes the member of that nickname (lower-cased) from the department.
 * Answers E_FAIL also when the row was deleted, as AddUserEx; E_INVALIDARG for a null
 * nickname. */
VK_METHOD(DeleteUser)(VK_THIS_ ULONG dept_id, LPCOLESTR nick) VK_PURE;
/* Fills one record per member of the department (uin, nickname in lower case cut to 31
 * units) and sets *count to the number filled. *count is set to 0 first, so a department
 * without members answers E_FAIL with 0. */
VK_METHOD(GetDeptUsers)(VK_THIS_ ULONG dept_id, UserListEntry* entries, LONG* count) VK_PURE;
/* As GetDeptUsers, but each element of `nicks` receives a new string (the lower-case
 * nickname) that the caller frees with SysFreeString. */
VK_METHOD(GetDeptUserNicks)(VK_THIS_ ULONG dept_id, BSTR* nicks, LONG* count) VK_PURE;
/* Number of members of the department: S_OK with 0 for an unknown department. *count is
 * set to 0 first. */
VK_METHOD(GetUserCount)(VK_THIS_ ULONG dept_id, LONG* count) VK_PURE;
/* Number of departments. *count is set to 0 first. */
VK_METHOD(GetDeptCount)(VK_THIS_ LONG* count) VK_PURE;
/* Writes every department id and sets *count to their number: an empty directory answers
 * E_FAIL with 0 (*count is written only when every row has been read). */
VK_METHOD(GetDeptIds)(VK_THIS_ ULONG* ids, LONG* count) VK_PURE;
/* The stored version of the department. E_FAIL for an unknown department, *version
 * untouched. */
VK_METHOD(GetDeptVersion)(VK_THIS_ ULONG dept_id, ULONG* version) VK_PURE;
/* Removes the department row, then every member row of it. S_OK when the member rows are
 * gone, also for an unknown department. */
VK_METHOD(DeleteDept)(VK_THIS_ ULONG dept_id) VK_PURE;
/* Writes (adds or replaces) the department's version. Answers E_FAIL also when the version
 * was written, as AddUserEx. */
VK_METHOD(SetDeptVersion)(VK_THIS_ ULONG dept_id, ULONG version) VK_PURE;
/* Every write is already in the database: does nothing and answers S_OK. */
VK_METHOD(Save)(VK_THIS) VK_PURE;
/* The uin of the nickname (lower-cased). E_FAIL for an unknown nickname, *uin untouched;
 * E_INVALIDARG for a null nickname. */
VK_METHOD(GetUinByNick)(VK_THIS_ LPCOLESTR nick, ULONG* uin) VK_PURE;
/* The nickname (lower case) of the uin, as a new string the caller frees. E_FAIL for an
 * unknown uin, *nick untouched; E_INVALIDARG for uin 0. */
VK_METHOD(GetNickByUin)(VK_THIS_ ULONG uin, BSTR* nick) VK_PURE;
/* The gender stored with the nickname, matched exactly as given: pass the lower-case form.
 * *gender is set to 0 first; E_FAIL for an unknown nickname. Does not wait for a rebuild to
 * go online. E_INVALIDARG (no assertion report) for a null out-pointer. */
VK_METHOD(GetGenderByNick)(VK_THIS_ LPCOLESTR nick, LONG* gender) VK_PURE;
/* The highest department version stored: S_OK with 0 for an empty directory. */
VK_METHOD(GetMaxDeptVersion)(VK_THIS_ ULONG* version) VK_PURE;
/* The directory-wide department version (DeptVer): its stored text read as a 64-bit decimal
 * and cut to 32 bits. E_FAIL when it was never set or the imported file had none, *value
 * untouched. */
VK_METHOD(GetDeptVer)(VK_THIS_ ULONG* value) VK_PURE;
/* Stores the directory-wide department version as signed decimal text. S_OK or E_FAIL. */
VK_METHOD(SetDeptVer)(VK_THIS_ LONG value) VK_PURE;
/* The directory-wide profile version (ProVer), as GetDeptVer. */
VK_METHOD(GetProVer)(VK_THIS_ ULONG* value) VK_PURE;
/* Stores the directory-wide profile version, as SetDeptVer. */
VK_METHOD(SetProVer)(VK_THIS_ LONG value) VK_PURE;
/* Renames every row of the uin to `nick`, written as given (not lower-cased: pass the lower
 * case form, or lookups will not find it). S_OK also when no row has that uin. E_INVALIDARG
 * for a null nickname or uin 0. */
VK_METHOD(UpdateNick)(VK_THIS_ ULONG uin, LPCOLESTR nick) VK_PURE;
/* The departments the nickname (lower-cased) belongs to: at most 21 ids, whatever the
 * array's size. *count is set to 0 first; an unknown nickname answers E_FAIL with 0.
 * E_INVALIDARG for a null nickname. */
VK_METHOD(GetDeptIdsByNick)(VK_THIS_ LPCOLESTR nick, ULONG* ids, LONG* count) VK_PURE;
/* *exists is 1 when the nickname (lower-cased) has a row, else 0; S_OK in both cases.
 * E_INVALIDARG for a null nickname. */
VK_METHOD(IsNickExist)(VK_THIS_ LPCOLESTR nick, BOOL* exists) VK_PURE;
/* DeptVer and the version of the root department 199999, each as signed decimal text in a
 * new string the caller frees. Answers the first failure of GetDeptVer or GetDeptVersion,
 * with neither string allocated. */
VK_METHOD(GetVersionInfo)(VK_THIS_ BSTR* dir_version, BSTR* root_dept_version) VK_PURE;
/* Rebuilds the directory from the server's organisation XML file at `path`: the new
 * database is built beside the live one and goes online at the start of the next operation;
 * the search lists are replaced at once. E_FAIL before Initialize, when no file is at
 * `path`, or on an unexpected error; E_INVALIDARG for a null path; otherwise S_OK, whatever
 * the import achieved. A file that does not parse or has no UserList element leaves the
 * directory as it was, but the search lists stay empty until the next Initialize or
 * rebuild. */
VK_METHOD(LoadDataFromXml)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* Number of departments whose version is above `since` (decimal text, read as a 64-bit
 * number); *count untouched on failure. Does not wait for a rebuild to go online.
 * E_INVALIDARG for a null `since`. */
VK_METHOD(GetChangedDeptCount)(VK_THIS_ LPCOLESTR since, LONG* count) VK_PURE;
/* The ids of those departments; `ids` may be null to get the count alone. S_OK also for
 * none (count 0). Does not wait for a rebuild to go online. */
VK_METHOD(GetChangedDeptIds)(VK_THIS_ LPCOLESTR since, ULONG* ids, LONG* count) VK_PURE;
/* Up to 50 distinct display strings ("nick(name)", or the nickname alone when the name is
 * empty) of the members whose nickname, name or spelling code starts with `prefix`,
 * compared case-sensitively: pass lower case. Each is followed by ";"; none gives the empty
 * string. The empty prefix matches everyone. *reserved receives an empty string. The caller
 * frees both strings. Always S_OK; a null out-pointer is skipped. Searches the lists the
 * background reader last built: right after Initialize they may still be the previous ones
 * (IUserListSync waits for the reader). */
VK_METHOD(SearchUsers)(VK_THIS_ LPCOLESTR prefix, BSTR* matches, BSTR* reserved) VK_PURE;
/* The full name of the nickname, matched exactly as given (pass the lower-case form), as a
 * new string the caller frees; empty for a member added by AddUser. *name is set to null
 * first; E_FAIL for an unknown nickname. Does not wait for a rebuild to go online.
 * E_INVALIDARG (no assertion report) for a null out-pointer. */
VK_METHOD(GetNameByNick)(VK_THIS_ LPCOLESTR nick, BSTR* name) VK_PURE;
VK_END

/* For tools and tests that need the search lists to reflect the database. */
VK_INTERFACE_(IUserListSync, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IUserListSync)
/* Waits until every search-list reader started so far has ended; S_OK. Operations of
 * IUserList never wait. */
VK_METHOD(WaitForSearchLists)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IUserList, IID_IUserList)
VK_INTERFACE_ID(IUserListSync, IID_IUserListSync)
#endif

#endif
