/* The account's mobile profile: entries with names unique regardless of letter case; kept in
 * memory and written by Close. */
#ifndef VAULTKIT_IMOBILEPROFILESTORE_H
#define VAULTKIT_IMOBILEPROFILESTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IMobileProfileStore, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IMobileProfileStore)
    VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* A taken name gets the first free number appended; the record receives the name used. */
VK_METHOD(AddItem)(VK_THIS_ MobileProfileItem* item) VK_PURE;
VK_METHOD(DeleteItem)(VK_THIS_ LPCOLESTR name) VK_PURE;
VK_METHOD(GetItem)(VK_THIS_ LPCOLESTR name, MobileProfileItem* item) VK_PURE;
VK_METHOD(GetItemCount)(VK_THIS_ LONG* count) VK_PURE;
/* `items` is sized from GetItemCount. */
VK_METHOD(GetItems)(VK_THIS_ MobileProfileItem* items) VK_PURE;
/* Writes pending changes. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IMobileProfileStore, IID_IMobileProfileStore)
#endif

#endif
