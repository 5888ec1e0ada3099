/* The account's mobile profile: entries with names unique regardless of letter case, in a
 * plain XML file.
 *
 * Changes are kept in memory and written by Close, which the module calls every 60 seconds
 * and when it unloads; releasing the store writes them too. Operations answer E_FAIL before
 * Initialize, and E_FAIL with an assertion report on an unexpected document error (a change
 * made before it stays made). */
#ifndef VAULTKIT_IMOBILEPROFILESTORE_H
#define VAULTKIT_IMOBILEPROFILESTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IMobileProfileStore, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IMobileProfileStore)
/* Opens the file at `path` (the next account's on every call), dropping the previous file's
 * unsaved changes. A missing, unreadable or damaged file is replaced at once by an empty
 * one. S_OK; E_INVALIDARG for a null path and E_FAIL when the empty file cannot be written,
 * each with an assertion report and an error description (GetErrorInfo). */
VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* Adds the entry. A name already taken (in any letter case) gets the first free number
 * appended ("Name1", "Name2", ...); the record's Name receives the name used (cut to 31
 * units). S_OK. */
VK_METHOD(AddItem)(VK_THIS_ MobileProfileItem* item) VK_PURE;
/* Removes the first entry whose name matches exactly. E_INVALIDARG, with an assertion
 * report, when no entry has the name in any letter case; S_OK with nothing removed when
 * one differs from it only in case (kept as clients know it). */
VK_METHOD(DeleteItem)(VK_THIS_ LPCOLESTR name) VK_PURE;
/* Fills the record of the entry of that name, matched regardless of the case of A to Z.
 * E_FAIL for an unknown name (or one holding an apostrophe), the record unchanged. */
VK_METHOD(GetItem)(VK_THIS_ LPCOLESTR name, MobileProfileItem* item) VK_PURE;
/* Number of entries. S_OK. */
VK_METHOD(GetItemCount)(VK_THIS_ LONG* count) VK_PURE;
/* Fills one record per entry, in file order; `items` is sized from GetItemCount. S_OK. */
VK_METHOD(GetItems)(VK_THIS_ MobileProfileItem* items) VK_PURE;
/* Writes pending changes. Always S_OK: a failed write is reported in the client log and not
 * retried until the next change. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IMobileProfileStore, IID_IMobileProfileStore)
#endif

#endif
