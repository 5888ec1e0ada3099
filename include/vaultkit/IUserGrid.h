/* The user grid store: one small integer (Grid) per person, keyed by nickname as given,
 * with the version of the server data it mirrors. */
#ifndef VAULTKIT_IUSERGRID_H
#define VAULTKIT_IUSERGRID_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IUserGrid, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IUserGrid)
    VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, IUnknown* client) VK_PURE;
VK_METHOD(GetVersion)(VK_THIS_ LONG* version) VK_PURE;
VK_METHOD(SetVersion)(VK_THIS_ LONG version) VK_PURE;
VK_METHOD(GetGrid)(VK_THIS_ LPCOLESTR nick, LONG* grid) VK_PURE;
VK_METHOD(SetGrid)(VK_THIS_ LPCOLESTR nick, LONG grid) VK_PURE;
VK_METHOD(Clear)(VK_THIS) VK_PURE;
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IUserGrid, IID_IUserGrid)
#endif

#endif
