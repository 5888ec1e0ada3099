/* The key departments store: per person (nickname, lower case) the list of department ids
 * the server marks as key departments; a cache emptied 30 days after its file was made. */
#ifndef VAULTKIT_IKEYDEPTS_H
#define VAULTKIT_IKEYDEPTS_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IKeyDepts, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IKeyDepts)
    VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, IUnknown* client) VK_PURE;
VK_METHOD(GetVersion)(VK_THIS_ LONG* version) VK_PURE;
VK_METHOD(SetVersion)(VK_THIS_ LONG version) VK_PURE;
/* count: in, the capacity of ids; out, the number of ids written. */
VK_METHOD(GetKeyDepts)(VK_THIS_ LPCOLESTR nick, ULONG* ids, LONG* count) VK_PURE;
/* count: the number of ids. */
VK_METHOD(SetKeyDepts)(VK_THIS_ LPCOLESTR nick, ULONG* ids, LONG* count) VK_PURE;
VK_METHOD(ResetIfExpired)(VK_THIS) VK_PURE;
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IKeyDepts, IID_IKeyDepts)
#endif

#endif
