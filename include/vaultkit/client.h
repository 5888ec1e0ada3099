/* The interfaces between the client and the component: the module's plug-in interface
 * (IClientModule), its store access (IWEZStore), and what the client offers the module: the
 * site (IModuleSite), the root object (IClientRoot), its events (IClientRootEvents) and its
 * data objects (IDataItem, IDataList).
 *
 * Every interface pointer handed out carries a reference that the receiver releases; every
 * string handed out is a new system string that the receiver frees with SysFreeString. The
 * client-side interfaces are implemented by the client; their comments state what the
 * component relies on. All calls come from the client's interface thread. */
#ifndef VAULTKIT_CLIENT_H
#define VAULTKIT_CLIENT_H

#include "vaultkit/identifiers.h"
#include "vaultkit/vkcom.h"

#ifdef __cplusplus
struct IClientRoot;
struct IModuleSite;
struct IUserList;
struct IUserGrid;
struct IKeyDepts;
struct IDeptLeader;
struct IPortalStore;
struct IWEZGroupStore;
struct IWEZProfileStore;
struct IWEZProfileProStore;
struct IWEZItemStore;
struct IMobileProfileStore;
struct ILocalOffMsgStore;
struct IRevertDialogStore;
struct IOptionStore;
#else
typedef struct IClientRoot IClientRoot;
typedef struct IModuleSite IModuleSite;
typedef struct IUserList IUserList;
typedef struct IUserGrid IUserGrid;
typedef struct IKeyDepts IKeyDepts;
typedef struct IDeptLeader IDeptLeader;
typedef struct IPortalStore IPortalStore;
typedef struct IWEZGroupStore IWEZGroupStore;
typedef struct IWEZProfileStore IWEZProfileStore;
typedef struct IWEZProfileProStore IWEZProfileProStore;
typedef struct IWEZItemStore IWEZItemStore;
typedef struct IMobileProfileStore IMobileProfileStore;
typedef struct ILocalOffMsgStore ILocalOffMsgStore;
typedef struct IRevertDialogStore IRevertDialogStore;
typedef struct IOptionStore IOptionStore;
#endif

/* Interface languages reported by IClientRoot::get_Language. */
#define VK_LANGUAGE_SIMPLIFIED_CHINESE 0
#define VK_LANGUAGE_ENGLISH 1
#define VK_LANGUAGE_TRADITIONAL_CHINESE 2

/* Dispatch ids of IClientRootEvents, fired through IDispatch::Invoke of the connected sinks
 * with the arguments in reverse order; 5 is not used. OnLoginResult, OnLogoutResult and
 * OnModifyPassword carry one VT_I4, OnMyPresenceChange two (the second 0 when the user goes
 * offline), OnAccountChange none, OnMsgCountChange a VT_I4, a VT_BOOL and three VT_BSTR,
 * OnExitApp an object and a pointer to VT_BOOL. */
#define DISPID_OnLoginResult 1
#define DISPID_OnMyPresenceChange 2
#define DISPID_OnLogoutResult 3
#define DISPID_OnAccountChange 4
#define DISPID_OnModifyPassword 6
#define DISPID_OnMsgCountChange 7
#define DISPID_OnExitApp 8

/* The client module interface: dual, the automation operations first (the module has no
 * type information and no named members). */
VK_INTERFACE_(IClientModule, IDispatch)
VK_BEGIN
VK_IUNKNOWN_METHODS(IClientModule)
VK_IDISPATCH_METHODS(IClientModule)
/* "Norvane.WEZ.Store", as a new string the caller frees. S_OK; E_INVALIDARG with an
 * assertion report for a null pointer. */
VK_METHOD(get_Identifier)(VK_THIS_ BSTR* identifier) VK_PURE;
/* The module's display name in the client's language (empty when the client's texts lack
 * it), as a new string the caller frees. S_OK; E_INVALIDARG with an assertion report for a
 * null pointer. */
VK_METHOD(get_Name)(VK_THIS_ BSTR* name) VK_PURE;
/* The site kept by OnLoad, with a reference added. S_OK; E_FAIL with null before OnLoad;
 * E_INVALIDARG for a null pointer. */
VK_METHOD(get_Site)(VK_THIS_ IModuleSite** site) VK_PURE;
/* Takes the site's IModuleSite and its root object, creates the Accounts folder and the
 * global option file, connects to the root's events, creates every store once and opens
 * the default account's (folder "0") group stores of kinds 1, 2, 3, 4 and 6 and profile
 * store. The root must be a connection-point source of IClientRootEvents (see IClientRoot);
 * the module's 60-second flush runs while the client pumps the loop (VkPumpMessages). S_OK. E_FAIL
 * with assertion reports at the first failing step; the stores after it are neither created nor
 * opened. A null site, a site without IModuleSite or without a root answers that error's status
 * (E_POINTER, E_NOINTERFACE or the site's own) with nothing created. Calling it again reopens
 * without creating anything twice. */
VK_METHOD(OnLoad)(VK_THIS_ IUnknown* site) VK_PURE;
/* Reads the root's Account, creates its folder under Accounts and its User.cfg when
 * missing, and opens every store but the offline message store on the account's files in a
 * fixed order. Always S_OK: the first store that fails to open ends the sequence with an
 * assertion report, and the stores after it stay on their previous files; an account
 * without WEZProfilePro.dat ends it silently before the key departments and the portal. An
 * account name that would leave the Accounts folder (empty, ".", "..", or holding a path
 * separator) is refused with an assertion report and nothing touched. Before OnLoad:
 * E_POINTER; a failing Account read answers the root's status. */
VK_METHOD(OnAccountChange)(VK_THIS) VK_PURE;
/* Ignores its arguments. S_OK. */
VK_METHOD(OnCommand)
(VK_THIS_ LONG a1, LONG a2, LONG a3, LONG a4, LONG a5, LONG a6, LONG a7, LONG a8, LONG a9, LONG a10,
 LONG a11, LONG a12, LONG a13) VK_PURE;
/* Writes the pending changes of the stores that keep them and disconnects from the root's
 * events; the stores stay alive until the module is released. S_OK. */
VK_METHOD(OnUnload)(VK_THIS) VK_PURE;
VK_END

/* The module's store access. Every accessor hands out the store with a reference added,
 * which the caller releases; the store objects live as long as the module and follow its
 * account changes. A null out-pointer gets an assertion report and E_INVALIDARG. The
 * stores exist once OnLoad has created them. */
VK_INTERFACE_(IWEZStore, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IWEZStore)
/* *store is set to null first; while the store is missing, an assertion report and S_OK
 * with null (kept as clients know it). */
VK_METHOD(GetProfileStore)(VK_THIS_ IWEZProfileStore** store) VK_PURE;
/* *store is set to null first; a missing store is created now, and a creation failure
 * answers its status with an assertion report. */
VK_METHOD(GetMobileProfileStore)(VK_THIS_ IMobileProfileStore** store) VK_PURE;
/* The item store (external buddies); E_FAIL while it is missing, *store untouched. */
VK_METHOD(GetItemStore)(VK_THIS_ IWEZItemStore** store) VK_PURE;
/* The option store of wez.cfg, shared by every account. No presence check: S_OK with null
 * while it is missing. */
VK_METHOD(GetOptionStore)(VK_THIS_ IOptionStore** store) VK_PURE;
/* The option store of the current account's User.cfg; S_OK with null while it is missing. */
VK_METHOD(GetUserOptionStore)(VK_THIS_ IOptionStore** store) VK_PURE;
/* The organisation directory; E_FAIL while it is missing, *store untouched. */
VK_METHOD(GetUserList)(VK_THIS_ IUserList** store) VK_PURE;
/* The portal store; S_OK with null while it is missing. */
VK_METHOD(GetPortalStore)(VK_THIS_ IPortalStore** store) VK_PURE;
/* The group store of `kind` (1 to 6); E_FAIL with an assertion report while it is missing.
 * Any other kind answers S_OK with *store untouched (kept as clients know it). */
VK_METHOD(GetGroupStore)(VK_THIS_ IWEZGroupStore** store, LONG kind) VK_PURE;
/* The buddy profile store; E_FAIL while it is missing, *store untouched. */
VK_METHOD(GetProfileProStore)(VK_THIS_ IWEZProfileProStore** store) VK_PURE;
/* The user grid; E_FAIL while it is missing, *store untouched. */
VK_METHOD(GetUserGrid)(VK_THIS_ IUserGrid** store) VK_PURE;
/* The key departments; E_FAIL while the store is missing, *store untouched. */
VK_METHOD(GetKeyDeptsStore)(VK_THIS_ IKeyDepts** store) VK_PURE;
/* The department leaders; E_FAIL while the store is missing, *store untouched. */
VK_METHOD(GetDeptLeader)(VK_THIS_ IDeptLeader** store) VK_PURE;
/* The client tells that the organisation structure is up to date (1) or not. Once both this
 * flag and the user list's are 1, the module hands the user list to the profile store. Both
 * flags drop to 0 when the user goes offline. Logged; S_OK. */
VK_METHOD(NotifyOrgStructStatus)(VK_THIS_ LONG status) VK_PURE;
/* The client tells that the user list is up to date (1) or not; as NotifyOrgStructStatus. */
VK_METHOD(NotifyUserListStatus)(VK_THIS_ LONG status) VK_PURE;
/* The reply-pending dialogs; E_FAIL while the store is missing, *store untouched. */
VK_METHOD(GetRevertDialogStore)(VK_THIS_ IRevertDialogStore** store) VK_PURE;
/* The offline message store (S_OK with null while it is missing): the module never opens
 * it, the client calls its Init and OpenAccount. */
VK_METHOD(GetLocalOffMsgStore)(VK_THIS_ ILocalOffMsgStore** store) VK_PURE;
VK_END

/* What the module holds, for diagnostics (the vaultkit command's status): one row per store
 * reference, the file it was last opened on (empty when none), and the readiness flags. */
VK_INTERFACE_(IModuleDiagnostics, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IModuleDiagnostics)
/* Number of store rows. S_OK; E_INVALIDARG for a null pointer. */
VK_METHOD(GetStoreCount)(VK_THIS_ LONG* count) VK_PURE;
/* Row `index` (from 0): its name and path as new strings the caller frees, and whether the
 * store exists. A null out-pointer is skipped. S_OK; E_INVALIDARG for an index out of
 * range, with nothing allocated. */
VK_METHOD(GetStoreInfo)(VK_THIS_ LONG index, BSTR* name, LONG* present, BSTR* path) VK_PURE;
/* The two flags the Notify operations of IWEZStore set. S_OK; E_INVALIDARG for a null
 * pointer. */
VK_METHOD(GetReadiness)(VK_THIS_ LONG* org_struct_ready, LONG* user_list_ready) VK_PURE;
VK_END

/* A data item of the client: integer and text attributes by name. */
VK_INTERFACE_(IDataItem, IDispatch)
VK_BEGIN
VK_IUNKNOWN_METHODS(IDataItem)
VK_IDISPATCH_METHODS(IDataItem)
/* The named integer attribute; 0 when never set. S_OK. */
VK_METHOD(GetIntAttr)(VK_THIS_ LPCOLESTR name, LONG* value) VK_PURE;
/* Sets the named integer attribute. S_OK. */
VK_METHOD(SetIntAttr)(VK_THIS_ LPCOLESTR name, LONG value) VK_PURE;
/* The named text attribute as a new string the caller frees; empty when never set. S_OK. */
VK_METHOD(GetTextAttr)(VK_THIS_ LPCOLESTR name, BSTR* value) VK_PURE;
/* Sets the named text attribute to a copy of `value`. S_OK. */
VK_METHOD(SetTextAttr)(VK_THIS_ LPCOLESTR name, LPCOLESTR value) VK_PURE;
VK_END

/* A list of data items, indexed from 1. */
VK_INTERFACE_(IDataList, IDispatch)
VK_BEGIN
VK_IUNKNOWN_METHODS(IDataList)
VK_IDISPATCH_METHODS(IDataList)
/* The item at `index`, with a reference added. S_OK; E_INVALIDARG for an index out of
 * range. */
VK_METHOD(Item)(VK_THIS_ LONG index, IDataItem** item) VK_PURE;
/* Number of items. S_OK. */
VK_METHOD(get_Count)(VK_THIS_ LONG* count) VK_PURE;
/* Appends the item; the list keeps a reference of its own. S_OK. */
VK_METHOD(Append)(VK_THIS_ IDataItem* item) VK_PURE;
/* Removes the item at `index`, the later ones moving up. S_OK; E_INVALIDARG for an index
 * out of range. */
VK_METHOD(Remove)(VK_THIS_ LONG index) VK_PURE;
VK_END

/* The client's root object. What the module needs of it: the account, the language, and
 * IConnectionPointContainer whose FindConnectionPoint(IID_IClientRootEvents) gives a point
 * that accepts the module's sink (Advise); without that OnLoad answers E_FAIL and leaves
 * the reason in the thread's error information. The offline message store also uses the
 * data folder and the data-object factory. vaultkit/client-kit.h offers a ready root. */
VK_INTERFACE_(IClientRoot, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IClientRoot)
/* The current account's name, as a new string the caller frees. */
VK_METHOD(get_Account)(VK_THIS_ BSTR* account) VK_PURE;
/* The interface language: one of the VK_LANGUAGE_ values. */
VK_METHOD(get_Language)(VK_THIS_ LONG* language) VK_PURE;
/* The client's data folder, ending in a path separator, as a new string the caller frees.
 * Only the offline message store reads it; the module and the other stores keep their files
 * under the data root of VkSetDataRoot (vkcom.h) or the environment, which the client keeps
 * the same folder. */
VK_METHOD(get_DataFolder)(VK_THIS_ BSTR* folder) VK_PURE;
/* A new, empty data item with one reference for the caller. */
VK_METHOD(CreateDataItem)(VK_THIS_ IDataItem** item) VK_PURE;
/* A new, empty data list with one reference for the caller. */
VK_METHOD(CreateDataList)(VK_THIS_ IDataList** list) VK_PURE;
VK_END

/* The site handed to IClientModule::OnLoad. */
VK_INTERFACE_(IModuleSite, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IModuleSite)
/* The client's root object, with a reference added. */
VK_METHOD(get_RootObject)(VK_THIS_ IClientRoot** root) VK_PURE;
VK_END

/* The exports of the component library, found with dlsym. DllGetClassObject hands out the
 * class factory of `clsid` (CLASS_E_CLASSNOTAVAILABLE for a class the library does not
 * serve); DllCanUnloadNow answers S_OK when no object, server lock or background reader of
 * the library is alive, else S_FALSE; DllRegisterServer records every class and ProgID of
 * the library in the registry file and answers S_OK, whatever the registry answered. */
VK_EXTERN_C_BEGIN
typedef HRESULT (*PFN_DllGetClassObject)(REFCLSID clsid, REFIID riid, void** object);
typedef HRESULT (*PFN_DllCanUnloadNow)(void);
typedef HRESULT (*PFN_DllRegisterServer)(void);
VK_EXTERN_C_END

#ifdef __cplusplus
VK_INTERFACE_ID(IClientModule, IID_IClientModule)
VK_INTERFACE_ID(IWEZStore, IID_IWEZStore)
VK_INTERFACE_ID(IModuleDiagnostics, IID_IModuleDiagnostics)
VK_INTERFACE_ID(IDataItem, IID_IDataItem)
VK_INTERFACE_ID(IDataList, IID_IDataList)
VK_INTERFACE_ID(IClientRoot, IID_IClientRoot)
VK_INTERFACE_ID(IModuleSite, IID_IModuleSite)
#endif

#endif
