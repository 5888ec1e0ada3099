/* The department leader store: per department the leading member and the version of the
 * server data that fact comes from; emptied 30 days after its file was made. */
#ifndef VAULTKIT_IDEPTLEADER_H
#define VAULTKIT_IDEPTLEADER_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

VK_INTERFACE_(IDeptLeader, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IDeptLeader)
    VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, IUnknown* client) VK_PURE;
VK_METHOD(GetVersion)(VK_THIS_ LONG* version) VK_PURE;
VK_METHOD(SetVersion)(VK_THIS_ LONG version) VK_PURE;
VK_METHOD(GetLeader)(VK_THIS_ LONG dept, LONG* leader) VK_PURE;
VK_METHOD(SetLeader)(VK_THIS_ LONG dept, ULONG version, LONG leader) VK_PURE;
VK_METHOD(DeleteDept)(VK_THIS_ LONG dept) VK_PURE;
VK_METHOD(ResetIfExpired)(VK_THIS) VK_PURE;
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IDeptLeader, IID_IDeptLeader)
#endif

#endif
