/* Free-form named fields about buddies, by account name (kept in lower case; field names
 * as given), in a file enciphered with a key derived from its path.
 *
 * Changes are kept in memory and written by Close, which the module calls every 60 seconds
 * and when it unloads; releasing the store writes them too. Every operation but Close
 * answers E_FAIL before Initialize, and E_FAIL with an assertion report on an unexpected
 * document error (a change made before it stays made). An account or field name holding a
 * double quote makes a lookup fail: E_FAIL. */
#ifndef VAULTKIT_IWEZPROFILEPROSTORE_H
#define VAULTKIT_IWEZPROFILEPROSTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IWEZProfileProStore, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IWEZProfileProStore)
/* Reads the fields of the file at `path` (the next account's on every call), dropping the
 * previous file's unsaved changes; the store keeps its own copy of `path`, which the caller
 * still frees. A plain companion file (same name, extension ".xml") is read instead when
 * present. A file that is missing, does not parse or cannot be deciphered gives an empty
 * store, overwritten at the next save. Writes nothing. S_OK; E_FAIL for a null path. */
VK_METHOD(Initialize)(VK_THIS_ BSTR path) VK_PURE;
/* Adds or replaces the `count` fields of the buddy (account lower-cased), creating the buddy
 * when unknown; the buddy and each field set move to the end of their lists. For a new
 * buddy a name given twice makes two fields. S_OK or E_FAIL. */
VK_METHOD(SetBuddyFields)
(VK_THIS_ LPCOLESTR account, const BuddyField* fields, LONG count) VK_PURE;
/* Removes the buddy with every field. The account is matched exactly as given, not
 * lower-cased (kept): pass the lower-case form, or it answers E_FAIL as for an unknown
 * buddy. */
VK_METHOD(DeleteBuddy)(VK_THIS_ LPCOLESTR account) VK_PURE;
/* Number of fields of the buddy. *count is set to 0 first; E_FAIL for an unknown buddy. */
VK_METHOD(GetBuddyFieldCount)(VK_THIS_ LPCOLESTR account, LONG* count) VK_PURE;
/* Fills one record per field of the buddy, in order (name and value, each cut to 255
 * units); `fields` is sized from GetBuddyFieldCount. S_OK; E_FAIL for an unknown buddy. */
VK_METHOD(GetBuddyFields)(VK_THIS_ LPCOLESTR account, BuddyField* fields) VK_PURE;
/* The field's value as a VT_BSTR variant, or VT_NULL when the field has no value. The
 * caller clears the variant (VariantClear); on E_FAIL (unknown buddy or field) it is left
 * untouched. */
VK_METHOD(GetBuddyField)(VK_THIS_ LPCOLESTR account, LPCOLESTR name, VARIANT* value) VK_PURE;
/* Kept quirk: a new field (with its buddy when unknown) is stored with its name but without
 * the value, read back as VT_NULL, and answers S_OK; updating an existing field answers
 * E_FAIL with nothing changed. SetBuddyFields stores values. `value` stays the caller's. */
VK_METHOD(SetBuddyField)(VK_THIS_ LPCOLESTR account, LPCOLESTR name, VARIANT value) VK_PURE;
/* Writes pending changes to the enciphered file and deletes the plain companion. Always
 * S_OK: a failed write is reported in the client log and not retried until the next
 * change. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IWEZProfileProStore, IID_IWEZProfileProStore)
#endif

#endif
