/* Named items, each a set of fields identified by a text id and holding a text value (the
 * account's external buddies), in a plain XML file. Array arguments are sized by the caller
 * from GetItemCount or GetItemFieldCount and are written without a bound.
 *
 * Changes are kept in memory and written by Close, which the module calls every 60 seconds
 * and when it unloads; releasing the store writes them too. Operations answer E_FAIL before
 * Initialize, and E_FAIL with an assertion report on an unexpected document error (a change
 * made before it stays made). Names and ids are matched exactly; one holding a double quote
 * makes a lookup fail (E_FAIL), and an item name with field id over about 100 characters
 * makes it find nothing. Strings handed out are new system strings that the caller frees
 * with SysFreeString. */
#ifndef VAULTKIT_IWEZITEMSTORE_H
#define VAULTKIT_IWEZITEMSTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IWEZItemStore, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IWEZItemStore)
/* Opens the item file at `path` (the next account's on every call), dropping the previous
 * file's unsaved changes; the store keeps its own copy of `path`, which the caller still
 * frees. A missing or unreadable file is replaced at once by an empty one and logged.
 * S_OK; E_FAIL when the empty file cannot be written. */
VK_METHOD(Initialize)(VK_THIS_ BSTR path) VK_PURE;
/* Adds or replaces the `count` fields of the item, creating the item when unknown; records
 * with an empty id are skipped. Marks the store changed even when nothing changes. With a
 * name too long to look up, each call adds another item of that name. S_OK. */
VK_METHOD(SetItemFields)(VK_THIS_ LPCOLESTR name, const ItemField* fields, LONG count) VK_PURE;
/* Removes the item with its fields. S_OK, also for an unknown item. */
VK_METHOD(DeleteItem)(VK_THIS_ LPCOLESTR name) VK_PURE;
/* Removes the item's fields whose ids the `count` records carry. S_OK, also for unknown
 * items and ids. */
VK_METHOD(DeleteItemFields)
(VK_THIS_ LPCOLESTR name, const ItemField* fields, LONG count) VK_PURE;
/* Number of items. S_OK. */
VK_METHOD(GetItemCount)(VK_THIS_ LONG* count) VK_PURE;
/* Number of fields of the item; 0 for an unknown item. S_OK. */
VK_METHOD(GetItemFieldCount)(VK_THIS_ LPCOLESTR name, LONG* count) VK_PURE;
/* One record per item, in file order: id "Name", value the item's name (cut to 255 units).
 * S_OK. */
VK_METHOD(GetItemNames)(VK_THIS_ ItemField* items) VK_PURE;
/* One record per field of the item (id and value, each cut to 255 units); *count is set to
 * their number. S_OK. */
VK_METHOD(GetItemFields)(VK_THIS_ LPCOLESTR name, ItemField* fields, LONG* count) VK_PURE;
/* Copies every item into the item file at `path`, creating the file when missing or
 * unreadable; fields the target already has keep their values. Writes the target at once;
 * this store's data is not changed. S_OK; E_FAIL when the target cannot be written, which
 * may leave it with part of the items. */
VK_METHOD(ExportToFile)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* As ExportToFile, but E_FAIL, with nothing written, when no readable item file is at
 * `path`. */
VK_METHOD(MergeIntoFile)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* The item's field values, in order, as a VT_ARRAY | VT_BSTR variant (lower bound 0) that
 * the caller clears with VariantClear. An item without fields, or an unknown one, leaves
 * the variant untouched: initialise it with VariantInit. S_OK. */
VK_METHOD(GetItemFieldList)(VK_THIS_ LPCOLESTR name, VARIANT* values) VK_PURE;
/* The name of the first item, in file order, with a field whose value is not below `text`
 * in code-unit order (an ordering, not an equality: kept as clients know it), as a new
 * string the caller frees; the empty string when none. S_OK. */
VK_METHOD(FindItemByFieldValue)(VK_THIS_ LPCOLESTR text, BSTR* name) VK_PURE;
/* Writes pending changes. Always S_OK: a failed write is reported in the client log and not
 * retried until the next change. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IWEZItemStore, IID_IWEZItemStore)
#endif

#endif
