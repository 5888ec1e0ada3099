// A tiny in-process server that the creation tests register and load: one creatable class
// handing out a counter.
#pragma once

#include "vaultkit/vkcom.h"

VK_DEFINE_GUID(CLSID_TestCounter, 0x5B0C1E2A, 0x7D41, 0x4C3E, 0x9A, 0x51, 0x2E, 0x6F, 0x10, 0x8B,
               0x44, 0x01);
VK_DEFINE_GUID(IID_ITestCounter, 0x5B0C1E2A, 0x7D41, 0x4C3E, 0x9A, 0x51, 0x2E, 0x6F, 0x10, 0x8B,
               0x44, 0x02);

VK_INTERFACE_(ITestCounter, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(ITestCounter) VK_METHOD(Next)(VK_THIS_ LONG* value) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(ITestCounter, IID_ITestCounter)
#endif

/* Objects of the server alive now, factories included. */
typedef long (*PFN_TestServerLiveObjects)(void);
