/* The details of the users the client has met, one record per nickname (case-insensitive
 * over A to Z), in a file enciphered with a key derived from its path.
 *
 * Changes are kept in memory and written by Close, which the module calls every 60 seconds
 * and when it unloads; releasing the store writes them too. Operations answer E_FAIL before
 * Initialize, and E_FAIL with an assertion report on an unexpected document error (a change
 * made before it stays made). A nickname holding an apostrophe makes a lookup fail: E_FAIL.
 * Strings handed out are new system strings that the caller frees with SysFreeString. */
#ifndef VAULTKIT_IWEZPROFILESTORE_H
#define VAULTKIT_IWEZPROFILESTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IWEZProfileStore, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IWEZProfileStore)
/* Reads the profiles of the file at `path` (the next account's on every call), dropping the
 * previous file's unsaved changes. A plain companion file (same name, extension ".xml") is
 * read instead when present, stray control bytes in it replaced by "*" when it does not
 * parse. A file that is missing or cannot be read or deciphered gives an empty store, and is
 * overwritten at the next save. Writes nothing. S_OK; E_FAIL for a null path. */
VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* Stores the record, replacing any record of the same nickname in any letter case. S_OK;
 * E_INVALIDARG for a null record. */
VK_METHOD(SetProfile)(VK_THIS_ const ProfileInfo* profile) VK_PURE;
/* Removes every record of the nickname. S_OK, also when there is none. */
VK_METHOD(DeleteProfile)(VK_THIS_ LPCOLESTR nick) VK_PURE;
/* Fills the record of the nickname it carries; its nick receives the stored form, whose
 * letter case may differ. E_FAIL for an unknown nickname, the record unchanged;
 * E_INVALIDARG for a null record. */
VK_METHOD(GetProfile)(VK_THIS_ ProfileInfo* profile) VK_PURE;
/* Number of records. S_OK; E_INVALIDARG for a null pointer. */
VK_METHOD(GetProfileCount)(VK_THIS_ LONG* count) VK_PURE;
/* Fills records in file order. `count` is in, the capacity of `profiles`, and out, the
 * number written. S_OK; E_INVALIDARG for a null argument. On a file this store wrote it
 * agrees with GetProfileCount. */
VK_METHOD(GetProfiles)(VK_THIS_ ProfileInfo* profiles, LONG* count) VK_PURE;
/* The nickname of the first record with that uin, as a new string the caller frees.
 * E_FAIL for an unknown uin, uin 0 or a null pointer, with nothing allocated. */
VK_METHOD(GetNickByUin)(VK_THIS_ LONG uin, BSTR* nick) VK_PURE;
/* Writes pending changes to the enciphered file and deletes the plain companion. Always
 * S_OK: a failed write is reported in the client log and not retried until the next
 * change. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
/* Called by the module when the directory is ready; the argument is ignored and not kept.
 * S_OK. */
VK_METHOD(SetUserList)(VK_THIS_ IUserList* user_list) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IWEZProfileStore, IID_IWEZProfileStore)
#endif

#endif
