/* The key departments store: per person (nickname, lower case) the list of department ids
 * the server marks as key departments; a cache emptied 30 days after its file was made.
 *
 * Changes are kept in memory and written to the file by Close, which the module calls every
 * 60 seconds and when it unloads; releasing the store writes them too. Before a successful
 * Initialize every operation but Close answers E_FAIL without logging. An unexpected
 * document error answers E_FAIL, and a change made before it stays made. */
#ifndef VAULTKIT_IKEYDEPTS_H
#define VAULTKIT_IKEYDEPTS_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IKeyDepts, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IKeyDepts)
/* Opens the file at `path` (the next account's on every call), dropping the previous file's
 * unsaved changes. A missing, unreadable or damaged file is replaced at once by an empty one
 * (the damaged bytes are kept aside as <file>.damaged-<time>); a new file starts a 30-day
 * period. `client` may be null; when it offers IClientRoot, the store keeps a reference.
 * S_OK; E_FAIL with an assertion report for a null path or when the empty file cannot be
 * written, leaving the store closed. */
VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, IUnknown* client) VK_PURE;
/* The version stored in the file (ProVer). *version is set to 0 first; E_FAIL when the
 * file has none; E_INVALIDARG with an assertion report for a null pointer. */
VK_METHOD(GetVersion)(VK_THIS_ LONG* version) VK_PURE;
/* Sets the version, in memory until Close. S_OK. */
VK_METHOD(SetVersion)(VK_THIS_ LONG version) VK_PURE;
/* The person's key departments, nickname lower-cased. `count` is in, the capacity of `ids`,
 * and out, the number written. The first *count ids are zeroed first; the capacity is
 * tested after each id is stored, so a capacity of 0 or less still receives one id: always
 * pass room for one. S_OK with 0 for an unknown nickname. E_FAIL (not E_INVALIDARG) for a
 * null `ids` or `count`. */
VK_METHOD(GetKeyDepts)(VK_THIS_ LPCOLESTR nick, ULONG* ids, LONG* count) VK_PURE;
/* Replaces the person's list (nickname lower-cased) by the *count ids, in memory until
 * Close. S_OK. E_FAIL (not E_INVALIDARG) for a null `ids` or `count`, also to clear a list:
 * pass a non-null array with *count 0. */
VK_METHOD(SetKeyDepts)(VK_THIS_ LPCOLESTR nick, ULONG* ids, LONG* count) VK_PURE;
/* Empties the cache when its file is more than 30 days old (by the creation time recorded
 * in <file>.created beside it): every list goes, the version
 * becomes 0 (both written by Close) and a new 30-day period starts now. Answers S_FALSE
 * whether or not it emptied anything; E_FAIL when the file's age cannot be read (the file
 * is gone). The client calls it after Initialize at login. */
VK_METHOD(ResetIfExpired)(VK_THIS) VK_PURE;
/* Writes pending changes. Always S_OK: a failed write is reported in the client log, and
 * the changes then stay in memory only, until a later change is written with them. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IKeyDepts, IID_IKeyDepts)
#endif

#endif
