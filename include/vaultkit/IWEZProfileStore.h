/* The details of the users the client has met, one record per nickname (case-insensitive
 * over A to Z), kept in memory and written by Close. */
#ifndef VAULTKIT_IWEZPROFILESTORE_H
#define VAULTKIT_IWEZPROFILESTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IWEZProfileStore, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IWEZProfileStore)
    VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* Replaces any record of the same nickname. */
VK_METHOD(SetProfile)(VK_THIS_ const ProfileInfo* profile) VK_PURE;
VK_METHOD(DeleteProfile)(VK_THIS_ LPCOLESTR nick) VK_PURE;
/* Fills the record of the nickname it carries. */
VK_METHOD(GetProfile)(VK_THIS_ ProfileInfo* profile) VK_PURE;
VK_METHOD(GetProfileCount)(VK_THIS_ LONG* count) VK_PURE;
/* `count`: in, the capacity of `profiles`; out, the records written. */
VK_METHOD(GetProfiles)(VK_THIS_ ProfileInfo* profiles, LONG* count) VK_PURE;
VK_METHOD(GetNickByUin)(VK_THIS_ LONG uin, BSTR* nick) VK_PURE;
/* Writes pending changes. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
/* Told when the directory is ready; the list is not kept. */
VK_METHOD(SetUserList)(VK_THIS_ IUserList* user_list) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IWEZProfileStore, IID_IWEZProfileStore)
#endif

#endif
