/* Free-form named fields about buddies, by account name (kept in lower case); kept in
 * memory and written by Close. */
#ifndef VAULTKIT_IWEZPROFILEPROSTORE_H
#define VAULTKIT_IWEZPROFILEPROSTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IWEZProfileProStore, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IWEZProfileProStore) VK_METHOD(Initialize)(VK_THIS_ BSTR path) VK_PURE;
/* Adds or replaces `count` fields of the buddy, creating it when unknown. */
VK_METHOD(SetBuddyFields)
(VK_THIS_ LPCOLESTR account, const BuddyField* fields, LONG count) VK_PURE;
VK_METHOD(DeleteBuddy)(VK_THIS_ LPCOLESTR account) VK_PURE;
VK_METHOD(GetBuddyFieldCount)(VK_THIS_ LPCOLESTR account, LONG* count) VK_PURE;
/* `fields` is sized from GetBuddyFieldCount. */
VK_METHOD(GetBuddyFields)(VK_THIS_ LPCOLESTR account, BuddyField* fields) VK_PURE;
/* The field's value as a string variant (VT_NULL when it has none). */
VK_METHOD(GetBuddyField)(VK_THIS_ LPCOLESTR account, LPCOLESTR name, VARIANT* value) VK_PURE;
VK_METHOD(SetBuddyField)(VK_THIS_ LPCOLESTR account, LPCOLESTR name, VARIANT value) VK_PURE;
/* Writes pending changes. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IWEZProfileProStore, IID_IWEZProfileProStore)
#endif

#endif
