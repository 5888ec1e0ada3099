/* The department leader store: per department the leading member and the version of the
 * server data that fact comes from; emptied 30 days after its file was made.
 *
 * Changes are kept in memory and written to the file by Close, which the module calls every
 * 60 seconds and when it unloads; releasing the store writes them too. SetVersion and
 * ResetIfExpired write at once. Before a successful Initialize every operation but Close
 * answers E_FAIL without logging. An unexpected document error answers E_FAIL, and a change
 * made before it stays made. */
#ifndef VAULTKIT_IDEPTLEADER_H
#define VAULTKIT_IDEPTLEADER_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IDeptLeader, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IDeptLeader)
/* Opens the file at `path` (the next account's on every call), dropping the previous file's
 * unsaved changes. A missing, unreadable or damaged file is replaced at once by an empty one
 * (the damaged bytes are kept aside as <file>.damaged-<time>); a new file starts a 30-day
 * period. `client` may be null; when it offers IClientRoot, the store keeps a reference.
 * S_OK; E_FAIL with an assertion report for a null path or when the empty file cannot be
 * written, leaving the store closed. */
VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, IUnknown* client) VK_PURE;
/* Answers E_FAIL with 0 on every file this store writes: it looks for the version under a
 * root the file never has (kept, the file format depends on it). *version is set to 0
 * first; E_INVALIDARG with an assertion report for a null pointer. */
VK_METHOD(GetVersion)(VK_THIS_ LONG* version) VK_PURE;
/* Sets ProVer on the file's root and writes the file at once. S_OK, also when the write
 * fails (reported in the client log). */
VK_METHOD(SetVersion)(VK_THIS_ LONG version) VK_PURE;
/* The department's leader. E_FAIL for an unlisted department, *leader untouched;
 * E_INVALIDARG with an assertion report for a null pointer. */
VK_METHOD(GetLeader)(VK_THIS_ LONG dept, LONG* leader) VK_PURE;
/* Records the department's leader from server data of `version`. A new department is added
 * whatever its version; a listed one changes only when `version` is greater than the stored
 * one (compared unsigned), an equal or older version is ignored. S_OK in each case; the
 * change is in memory until Close. */
VK_METHOD(SetLeader)(VK_THIS_ LONG dept, ULONG version, LONG leader) VK_PURE;
/* Leaves the department listed with its leader: it removes only the entry's child elements,
 * which entries do not have, and marks the file to be written again (kept as clients know
 * it). S_OK, also for an unlisted department. */
VK_METHOD(DeleteDept)(VK_THIS_ LONG dept) VK_PURE;
/* Empties the list when its file is more than 30 days old (by the creation time recorded in
 * <file>.created beside it): every department goes, the version becomes 0, the file is
 * written at once and a new 30-day period starts now. Answers S_FALSE whether or not it
 * emptied anything (GetLeader failing afterwards tells); E_FAIL when the file's age cannot
 * be read (the file is gone). The client calls it after Initialize at login. */
VK_METHOD(ResetIfExpired)(VK_THIS) VK_PURE;
/* Writes pending changes. Always S_OK: a failed write is reported in the client log, and
 * the changes then stay in memory only, until a later change is written with them. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IDeptLeader, IID_IDeptLeader)
#endif

#endif
