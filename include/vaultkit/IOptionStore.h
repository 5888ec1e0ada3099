/* The option store: named option values in section "Default" of an INI-style profile file
 * (the global "wez.cfg" or an account's "User.cfg").
 *
 * Nothing is cached: every call reads the file, and every write replaces it at once, whole
 * (a failed write leaves the previous file). Keys are matched without regard to case; a key
 * may not hold "=" or a line break, nor a value a line break: such a write answers E_FAIL. */
#ifndef VAULTKIT_IOPTIONSTORE_H
#define VAULTKIT_IOPTIONSTORE_H

#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IOptionStore, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IOptionStore)
/* Sets the file's path (again on every account change); the file itself is not touched.
 * S_OK; E_FAIL with an assertion report for a null path, the previous path kept. */
VK_METHOD(Open)(VK_THIS_ LPCOLESTR path) VK_PURE;
/* Writes the value as decimal text. S_OK, or E_FAIL when the file cannot be written.
 * Before Open: an assertion report and S_FALSE, nothing written (SetString, SetStruct and
 * GetInt answer the same way). */
VK_METHOD(SetInt)(VK_THIS_ LPCOLESTR key, LONG value) VK_PURE;
/* Writes the text as the key's value; a null value removes the key. S_OK or E_FAIL. */
VK_METHOD(SetString)(VK_THIS_ LPCOLESTR key, LPCOLESTR value) VK_PURE;
/* Writes `size` bytes as hexadecimal text followed by a checksum byte. S_OK or E_FAIL. */
VK_METHOD(SetStruct)(VK_THIS_ LPCOLESTR key, const void* data, UINT size) VK_PURE;
/* The key's value read as an integer (leading digits); 0 when the key is absent. S_OK;
 * E_INVALIDARG with an assertion report for a null pointer. Before Open: S_FALSE with
 * *value untouched. */
VK_METHOD(GetInt)(VK_THIS_ LPCOLESTR key, LONG* value) VK_PURE;
/* Copies (size_bytes / 2) - 1 characters of the value (at most its first 255), padding a
 * shorter one with zeros; a value of that length or longer is cut and left without a
 * terminator, so callers pass a cleared buffer. An absent key gives the empty text. Always
 * S_OK, also before Open (nothing is found then); E_INVALIDARG with an assertion report for
 * a null buffer. A buffer of under 2 bytes receives nothing. */
VK_METHOD(GetString)(VK_THIS_ LPCOLESTR key, OLECHAR* buffer, UINT size_bytes) VK_PURE;
/* Reads back what SetStruct wrote. S_OK when the key holds exactly `size` bytes with a
 * matching checksum; otherwise E_FAIL (also before Open), with `data` untouched. */
VK_METHOD(GetStruct)(VK_THIS_ LPCOLESTR key, void* data, UINT size) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IOptionStore, IID_IOptionStore)
#endif

#endif
