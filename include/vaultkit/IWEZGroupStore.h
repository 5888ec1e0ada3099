/* One contact-group tree (group kind 1 to 6): groups by parent id and the nicknames filed
 * under each group, in a database file of its own. Ids are 32-bit signed; array arguments
 * are sized by the caller from the matching count operation and are written without a
 * bound. Nicknames are kept as given (no case folding).
 *
 * The company tree (kind 1) is the server's: it is replaced by LoadDataFromXml, refuses
 * DeleteGroup, RenameGroup, AddMember and DeleteMember with E_FAIL, and answers its member
 * queries from the organisation directory (IUserList, the group id as department id).
 * Every change is written to the database at once. Unless stated otherwise, an operation
 * answers E_FAIL when the database is not open (before Initialize, or when it could not be
 * opened) and when a query finds no row; E_FAIL with an assertion report on an unexpected
 * error. Strings handed out are new system strings that the caller frees with
 * SysFreeString. */
#ifndef VAULTKIT_IWEZGROUPSTORE_H
#define VAULTKIT_IWEZGROUPSTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

/* Group kinds: the tree a store keeps, fixed by Initialize. */
#define VK_GROUP_COMPANY 1
#define VK_GROUP_FREQUENT 2
#define VK_GROUP_RECENT 3
#define VK_GROUP_USER_DEFINED 4
#define VK_GROUP_MOBILE 5
#define VK_GROUP_EXTERNAL 6

VK_INTERFACE_(IWEZGroupStore, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IWEZGroupStore)
/* Opens the tree of `kind` in the database at `path` (the next account's on every call),
 * creating the file when missing, and writes the kind's root groups again (a renamed root
 * gets its name back). Kinds 2, 4 and 6 import an earlier version's XML group file found
 * beside the database once, then rename it with ".bak". Kind 1 obtains the directory from
 * the module. S_OK, also when the database could not be opened (later operations then
 * answer E_FAIL); the status of an unexpected error otherwise. */
VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, LONG kind) VK_PURE;
/* The version of the tree's server data, as a new string the caller frees: S_OK; S_FALSE
 * with "0" when none is stored; E_FAIL otherwise. *version is cleared first and may hold a
 * string after E_FAIL too: free it whatever the status. A null `version` gets an assertion
 * report and E_INVALIDARG. */
VK_METHOD(GetVersion)(VK_THIS_ BSTR* version) VK_PURE;
/* Stores the version text as given. S_OK or E_FAIL. */
VK_METHOD(SetVersion)(VK_THIS_ LPCOLESTR version) VK_PURE;
/* Adds the group, or replaces the group of that id (parent, name, type). An id of 0 asks
 * for a new one, written back into the record before the write, also when the write then
 * fails. Allowed for every kind. S_OK or E_FAIL; E_INVALIDARG for a null record. */
VK_METHOD(AddGroup)(VK_THIS_ GroupInfo* group) VK_PURE;
/* Removes the group and its members; its subgroups stay, under a missing parent. S_OK when
 * either removal ran, also for an unknown id. Kept quirk: after the first DeleteGroup, later
 * ones until the next Initialize remove the group but no longer its members. */
VK_METHOD(DeleteGroup)(VK_THIS_ LONG id) VK_PURE;
/* Number of groups directly under `parent_id` (0 for the roots). *count is set to 0 first;
 * S_OK. */
VK_METHOD(GetSubGroupCount)(VK_THIS_ LONG parent_id, LONG* count) VK_PURE;
/* Fills one record per group directly under `parent_id` and sets *count to their number.
 * *count is set to 0 first, so a parent without children answers E_FAIL with 0. */
VK_METHOD(GetSubGroups)(VK_THIS_ LONG parent_id, GroupInfo* groups, LONG* count) VK_PURE;
/* Gives the group of the record's id the record's name. S_OK also for an unknown id. */
VK_METHOD(RenameGroup)(VK_THIS_ const GroupInfo* group) VK_PURE;
/* Files the nickname under the group; S_OK also when it is already there. */
VK_METHOD(AddMember)(VK_THIS_ LONG id, LPCOLESTR nick) VK_PURE;
/* Removes the nickname from the group; S_OK also when it was not there. */
VK_METHOD(DeleteMember)(VK_THIS_ LONG id, LPCOLESTR nick) VK_PURE;
/* Each element of `nicks` receives a new string (a nickname of the group) that the caller
 * frees with SysFreeString; *count is set to their number. An empty group answers E_FAIL
 * with 0. Kind 1 answers as IUserList::GetDeptUserNicks. */
VK_METHOD(GetMembers)(VK_THIS_ LONG id, BSTR* nicks, LONG* count) VK_PURE;
/* Number of members of the group; *count is set to 0 first; S_OK. Kind 1 answers as
 * IUserList::GetUserCount. */
VK_METHOD(GetMemberCount)(VK_THIS_ LONG id, LONG* count) VK_PURE;
/* Fills the record of the group whose id it carries. E_FAIL for an unknown id, the record
 * unchanged; E_INVALIDARG for a null record. */
VK_METHOD(GetGroupInfo)(VK_THIS_ GroupInfo* group) VK_PURE;
/* Number of groups of the tree, roots included. *count is set to 0 first; S_OK;
 * E_INVALIDARG for a null pointer. */
VK_METHOD(GetGroupCount)(VK_THIS_ LONG* count) VK_PURE;
/* Replaces the company tree (its groups and version; members are not touched) by the
 * groups of the server's group XML file at `path`, in one transaction. S_OK, also when no
 * file is at `path` (nothing changes) and when the import stops on an error (nothing
 * changes); a file that does not load or has no Groups root leaves an empty tree. E_FAIL
 * when the database cannot be opened for the import; E_NOTIMPL for the other kinds;
 * E_INVALIDARG for a null path. */
VK_METHOD(LoadDataFromXml)(VK_THIS_ LPCOLESTR path) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IWEZGroupStore, IID_IWEZGroupStore)
#endif

#endif
