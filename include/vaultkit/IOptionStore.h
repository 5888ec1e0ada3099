/* The option store: named option values in section "Default" of an INI-style profile file
 * (the global "wez.cfg" or an account's "User.cfg"). */
#ifndef VAULTKIT_IOPTIONSTORE_H
#define VAULTKIT_IOPTIONSTORE_H

#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IOptionStore, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IOptionStore)
    /* Sets the file's path; the file itself is not touched. */
    VK_METHOD(Open)(VK_THIS_ LPCOLESTR path) VK_PURE;
VK_METHOD(SetInt)(VK_THIS_ LPCOLESTR key, LONG value) VK_PURE;
VK_METHOD(SetString)(VK_THIS_ LPCOLESTR key, LPCOLESTR value) VK_PURE;
VK_METHOD(SetStruct)(VK_THIS_ LPCOLESTR key, const void* data, UINT size) VK_PURE;
VK_METHOD(GetInt)(VK_THIS_ LPCOLESTR key, LONG* value) VK_PURE;
/* Copies (size_bytes / 2) - 1 characters, zero-padded; a value of that length or longer is
 * cut and left without a terminator, so callers pass a cleared buffer. */
VK_METHOD(GetString)(VK_THIS_ LPCOLESTR key, OLECHAR* buffer, UINT size_bytes) VK_PURE;
VK_METHOD(GetStruct)(VK_THIS_ LPCOLESTR key, void* data, UINT size) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IOptionStore, IID_IOptionStore)
#endif

#endif
