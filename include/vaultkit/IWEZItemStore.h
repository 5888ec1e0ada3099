/* Named items, each a set of fields identified by a text id and holding a text value (the
 * account's external buddies); kept in memory and written by Close. Array arguments are
 * sized by the caller from GetItemCount or GetItemFieldCount. */
#ifndef VAULTKIT_IWEZITEMSTORE_H
#define VAULTKIT_IWEZITEMSTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IWEZItemStore, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IWEZItemStore) VK_METHOD(Initialize)(VK_THIS_ BSTR path) VK_PURE;
/* Adds or replaces `count` fields of the item, creating it when unknown. */
VK_METHOD(SetItemFields)(VK_THIS_ LPCOLESTR name, const ItemField* fields, LONG count) VK_PURE;
VK_METHOD(DeleteItem)(VK_THIS_ LPCOLESTR name) VK_PURE;
/* Removes the fields whose ids the records carry. */
VK_METHOD(DeleteItemFields)
(VK_THIS_ LPCOLESTR name, const ItemField* fields, LONG count) VK_PURE;
VK_METHOD(GetItemCount)(VK_THIS_ LONG* count) VK_PURE;
VK_METHOD(GetItemFieldCount)(VK_THIS_ LPCOLESTR name, LONG* count) VK_PURE;
/* One record per item: id "Name", value the item's name. */
VK_METHOD(GetItemNames)(VK_THIS_ ItemField* items) VK_PURE;
VK_METHOD(GetItemFields)(VK_THIS_ LPCOLESTR name, ItemField* fields, LONG* count) VK_PURE;
/* Copies every item into the item file at `path`, creating it when missing. */
VK_METHOD(ExportToFile)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* Copies every item into the existing item file at `path`. */
VK_METHOD(MergeIntoFile)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* The item's field values as a safe array of strings in a variant. */
VK_METHOD(GetItemFieldList)(VK_THIS_ LPCOLESTR name, VARIANT* values) VK_PURE;
/* The first item holding a field value not below `text`; empty when none. */
VK_METHOD(FindItemByFieldValue)(VK_THIS_ LPCOLESTR text, BSTR* name) VK_PURE;
/* Writes pending changes. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IWEZItemStore, IID_IWEZItemStore)
#endif

#endif
