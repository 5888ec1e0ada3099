/* One contact-group tree (group kind 1 to 6): groups by parent id and the nicknames filed
 * under each group. Ids are 32-bit signed; array arguments are sized by the caller from the
 * matching count operation and are written without a bound. */
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
VK_BEGIN VK_IUNKNOWN_METHODS(IWEZGroupStore)
    VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, LONG kind) VK_PURE;
/* S_FALSE with "0" when no version is stored. */
VK_METHOD(GetVersion)(VK_THIS_ BSTR* version) VK_PURE;
VK_METHOD(SetVersion)(VK_THIS_ LPCOLESTR version) VK_PURE;
/* An id of 0 is replaced by a new id, written back into the record. */
VK_METHOD(AddGroup)(VK_THIS_ GroupInfo* group) VK_PURE;
VK_METHOD(DeleteGroup)(VK_THIS_ LONG id) VK_PURE;
VK_METHOD(GetSubGroupCount)(VK_THIS_ LONG parent_id, LONG* count) VK_PURE;
VK_METHOD(GetSubGroups)(VK_THIS_ LONG parent_id, GroupInfo* groups, LONG* count) VK_PURE;
/* Gives the group `id` the record's name. */
VK_METHOD(RenameGroup)(VK_THIS_ const GroupInfo* group) VK_PURE;
VK_METHOD(AddMember)(VK_THIS_ LONG id, LPCOLESTR nick) VK_PURE;
VK_METHOD(DeleteMember)(VK_THIS_ LONG id, LPCOLESTR nick) VK_PURE;
/* Each element of `nicks` receives a new string that the caller frees. */
VK_METHOD(GetMembers)(VK_THIS_ LONG id, BSTR* nicks, LONG* count) VK_PURE;
VK_METHOD(GetMemberCount)(VK_THIS_ LONG id, LONG* count) VK_PURE;
/* Fills the record of the group whose id it carries. */
VK_METHOD(GetGroupInfo)(VK_THIS_ GroupInfo* group) VK_PURE;
VK_METHOD(GetGroupCount)(VK_THIS_ LONG* count) VK_PURE;
/* Replaces the company tree from a group XML file; E_NOTIMPL for the other kinds. */
VK_METHOD(LoadDataFromXml)(VK_THIS_ LPCOLESTR path) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IWEZGroupStore, IID_IWEZGroupStore)
#endif

#endif
