/* The enterprise portal store: reads the portal document the server publishes (switches,
 * texts in the client's language, addresses, tips and taking-part departments).
 *
 * The client replaces the file with the server's document (root PORTAL); a file the store
 * made itself (root Portal) answers every query as "not found", and GetVersion fails on it.
 * Before a successful Initialize, the getters (GetDeptPortalNote onwards) write an
 * assertion report and answer S_FALSE with their out-arguments untouched, while GetVersion
 * and SetVersion answer E_FAIL silently. A lookup that finds nothing is no error: S_OK with
 * the out-argument untouched, so initialise it (a string to null) before the call. Strings
 * handed out are new system strings that the caller frees with SysFreeString. A null
 * out-pointer gets an assertion report and E_INVALIDARG unless stated otherwise. An
 * unexpected document error answers E_FAIL. */
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
VK_BEGIN
VK_IUNKNOWN_METHODS(IPortalStore)
/* Opens the portal file at `path` (the next account's on every call). A missing, unreadable
 * or damaged file is replaced at once by an empty one, its folder created as needed (the
 * damaged bytes are kept aside as <file>.damaged-<time>). `client` offers IClientRoot, whose
 * language picks the texts; without it the language-dependent getters answer E_FAIL.
 * S_OK; E_FAIL with an assertion report for a null path or when the empty file cannot be
 * written, leaving the store closed. */
VK_METHOD(Initialize)(VK_THIS_ LPCOLESTR path, IUnknown* client) VK_PURE;
/* The version of the server's document (the first ver attribute within PORTAL). *version
 * is set to 0 first; E_FAIL when there is none. */
VK_METHOD(GetVersion)(VK_THIS_ LONG* version) VK_PURE;
/* Sets the version GetVersion reads, or adds ver to the file's root when there is none;
 * written by Close. S_OK. */
VK_METHOD(SetVersion)(VK_THIS_ LONG version) VK_PURE;
/* The department portal's note in the client's language (0 Simplified Chinese, 1 English,
 * 2 Traditional Chinese). E_FAIL for any other language or without a client root. */
VK_METHOD(GetDeptPortalNote)(VK_THIS_ BSTR* text) VK_PURE;
/* The department portal's address. */
VK_METHOD(GetDeptPortalUrl)(VK_THIS_ BSTR* text) VK_PURE;
/* The user portal's link text in the client's language, as GetDeptPortalNote. */
VK_METHOD(GetUserPortalLinkText)(VK_THIS_ BSTR* text) VK_PURE;
/* The user portal's address. */
VK_METHOD(GetUserPortalUrl)(VK_THIS_ BSTR* text) VK_PURE;
/* *flag is 1 when the department takes part in the portal, else 0. S_OK. */
VK_METHOD(IsPortalDept)(VK_THIS_ LONG dept, BOOL* flag) VK_PURE;
/* Zeroes the first n entries of `ids`, then writes the ids of the taking-part departments
 * in file order. The bound is tested only after an entry is written, so a longer list
 * writes n + 1 entries (kept): size the array with one spare entry. S_OK. E_FAIL without a
 * report for a null array or n of 0 or less. */
VK_METHOD(GetPortalDepts)(VK_THIS_ LONG* ids, LONG n) VK_PURE;
/* Number of taking-part departments (every child node of the list), 0 when there is none.
 * S_OK. E_FAIL without a report for a null pointer. */
VK_METHOD(GetPortalDeptCount)(VK_THIS_ LONG* count) VK_PURE;
/* *flag is 1 when the department portal's Enable attribute is present and not "0" (an empty
 * one counts as on), else 0. S_OK. */
VK_METHOD(GetDeptPortalEnable)(VK_THIS_ BOOL* flag) VK_PURE;
/* The user portal's switch, as GetDeptPortalEnable. */
VK_METHOD(GetUserPortalEnable)(VK_THIS_ BOOL* flag) VK_PURE;
/* Writes the file, also when nothing changed. Always S_OK: a failed write is reported in
 * the client log. Releasing the store writes it too. */
VK_METHOD(Close)(VK_THIS) VK_PURE;
/* The user tips' switch, as GetDeptPortalEnable. */
VK_METHOD(GetUserTipsEnable)(VK_THIS_ BOOL* flag) VK_PURE;
/* The user tips' State attribute. */
VK_METHOD(GetUserTipsState)(VK_THIS_ BSTR* text) VK_PURE;
/* Number of tips, at most 9. Without a tip list *count is left untouched: initialise it.
 * S_OK. */
VK_METHOD(GetUserTipsCount)(VK_THIS_ LONG* count) VK_PURE;
/* Zeroes n records, then fills one per tip in file order, at most n: name, link and the
 * note in the client's language (Simplified Chinese for a language other than 0, 1, 2).
 * S_OK. E_FAIL without a client root, and without a report for a null array or n of 0 or
 * less. */
VK_METHOD(GetUserTips)(VK_THIS_ PortalTipInfo* tips, LONG n) VK_PURE;
VK_END

#ifdef __cplusplus
VK_INTERFACE_ID(IPortalStore, IID_IPortalStore)
#endif

#endif
