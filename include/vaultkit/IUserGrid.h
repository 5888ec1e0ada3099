/* The user grid store: one small integer (Grid) per person, keyed by nickname exactly as
 * given (no case folding), with the version of the server data it mirrors.
 *
 * Changes are kept in memory and written to the file by Close, which the module calls every
 * 60 seconds and when it unloads; releasing the store writes them too. Before a successful
 * Initialize every operation but Close answers E_FAIL without logging. A null out-pointer
 * gets an assertion report and E_INVALIDARG. An unexpected document error answers E_FAIL,
 * and a change made before it stays made. */
#ifndef VAULTKIT_IUSERGRID_H
#define VAULTKIT_IUSERGRID_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IUserGrid, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IUserGrid)
/* Opens the grid file at `path` (the next account's on every call), dropping the previous
 * file's unsaved changes. A missing, unreadable or damaged file is replaced at once by an
 * empty one (the damaged bytes are kept aside as <file>.damaged-<time>). `client` may be
 * null; when it offers IClientRoot, the store keeps a reference of its own.
 * S_OK; E_FAIL with an assertion report for a null path or when the empty file cannot be
 * written, leaving the store closed. */
VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, IUnknown* client) VK_PURE;
/* The version stored in the file (ProVer). *version is set to 0 first; E_FAIL when the
 * file has none. */
VK_METHOD(GetVersion)(VK_THIS_ LONG* version) VK_PURE;
/* Sets the version, in memory until Close. S_OK. */
VK_METHOD(SetVersion)(VK_THIS_ LONG version) VK_PURE;
/* The person's grid. *grid is set to 0 first: S_OK with 0 for an unknown nickname.
 * A nickname holding a double quote answers E_FAIL (here and in SetGrid). */
VK_METHOD(GetGrid)(VK_THIS_ LPCOLESTR nick, LONG* grid) VK_PURE;
/* Adds or replaces the person's grid, in memory until Close. S_OK. */
VK_METHOD(SetGrid)(VK_THIS_ LPCOLESTR nick, LONG grid) VK_PURE;
/* Removes the first entry only, and does not mark the store changed: the removal reaches
 * the file only when another change is written with it. Both kept as clients know them.
 * Answers S_FALSE; S_OK after an assertion report when the document fails. */
VK_METHOD(Clear)(VK_THIS) VK_PURE;
/* Writes pending changes. Always S_OK: a failed write is reported in the client log, and
 * the changes then stay in memory only, until a later change is written with them. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IUserGrid, IID_IUserGrid)
#endif

#endif
