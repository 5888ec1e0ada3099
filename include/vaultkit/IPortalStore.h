/* The enterprise portal store: reads the portal document the server publishes (switches,
 * texts in the client's language, addresses, tips and taking-part departments). */
#ifndef VAULTKIT_IPORTALSTORE_H
#define VAULTKIT_IPORTALSTORE_H

#include "vaultkit/client.h"
#include "vaultkit/identifiers.h"
#include "vaultkit/records.h"
#include "vaultkit/vkcom.h"

/* One tip, as GetUserTips fills it; callers pass zero-filled records. A text of exactly the
 * field's length fills it without a terminator. */
typedef struct PortalTipInfo {
  OLECHAR name[256];     /* the tip's Name attribute */
  OLECHAR reserved[256]; /* never written */
  OLECHAR note[256];     /* the tip's note in the client's language */
  OLECHAR link[1024];    /* the tip's Link text */
} PortalTipInfo;
VK_STATIC_ASSERT(sizeof(PortalTipInfo) == 3584, "PortalTipInfo size");
VK_STATIC_ASSERT(offsetof(PortalTipInfo, name) == 0, "PortalTipInfo.name offset");
VK_STATIC_ASSERT(offsetof(PortalTipInfo, reserved) == 512, "PortalTipInfo.reserved offset");
VK_STATIC_ASSERT(offsetof(PortalTipInfo, note) == 1024, "PortalTipInfo.note offset");
VK_STATIC_ASSERT(offsetof(PortalTipInfo, link) == 1536, "PortalTipInfo.link offset");

VK_INTERFACE_(IPortalStore, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IPortalStore)
    VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, IUnknown* client) VK_PURE;
VK_METHOD(GetVersion)(VK_THIS_ LONG* version) VK_PURE;
VK_METHOD(SetVersion)(VK_THIS_ LONG version) VK_PURE;
VK_METHOD(GetDeptPortalNote)(VK_THIS_ BSTR* text) VK_PURE;
VK_METHOD(GetDeptPortalUrl)(VK_THIS_ BSTR* text) VK_PURE;
VK_METHOD(GetUserPortalLinkText)(VK_THIS_ BSTR* text) VK_PURE;
VK_METHOD(GetUserPortalUrl)(VK_THIS_ BSTR* text) VK_PURE;
VK_METHOD(IsPortalDept)(VK_THIS_ LONG dept, BOOL* flag) VK_PURE;
/* Writes up to n + 1 entries: size the array with one spare entry. */
VK_METHOD(GetPortalDepts)(VK_THIS_ LONG* ids, LONG n) VK_PURE;
VK_METHOD(GetPortalDeptCount)(VK_THIS_ LONG* count) VK_PURE;
VK_METHOD(GetDeptPortalEnable)(VK_THIS_ BOOL* flag) VK_PURE;
VK_METHOD(GetUserPortalEnable)(VK_THIS_ BOOL* flag) VK_PURE;
VK_METHOD(Close)(VK_THIS) VK_PURE;
VK_METHOD(GetUserTipsEnable)(VK_THIS_ BOOL* flag) VK_PURE;
VK_METHOD(GetUserTipsState)(VK_THIS_ BSTR* text) VK_PURE;
VK_METHOD(GetUserTipsCount)(VK_THIS_ LONG* count) VK_PURE;
VK_METHOD(GetUserTips)(VK_THIS_ PortalTipInfo* tips, LONG n) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IPortalStore, IID_IPortalStore)
#endif

#endif
