/* The interfaces between the client and the component: the module's plug-in interface
 * (IClientModule), its store access (IWEZStore), and what the client offers the module: the
 * site (IModuleSite), the root object (IClientRoot), its events (IClientRootEvents) and its
 * data objects (IDataItem, IDataList). */
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

/* Dispatch ids of IClientRootEvents; 5 is not used. */
#define DISPID_OnLoginResult 1
#define DISPID_OnMyPresenceChange 2
#define DISPID_OnLogoutResult 3
#define DISPID_OnAccountChange 4
#define DISPID_OnModifyPassword 6
#define DISPID_OnMsgCountChange 7
#define DISPID_OnExitApp 8

/* The client module interface: dual, the automation operations first. */
VK_INTERFACE_(IClientModule, IDispatch)
VK_BEGIN VK_IUNKNOWN_METHODS(IClientModule) VK_IDISPATCH_METHODS(IClientModule)
    VK_METHOD(get_Identifier)(VK_THIS_ BSTR* identifier) VK_PURE;
VK_METHOD(get_Name)(VK_THIS_ BSTR* name) VK_PURE;
VK_METHOD(get_Site)(VK_THIS_ IModuleSite** site) VK_PURE;
VK_METHOD(OnLoad)(VK_THIS_ IUnknown* site) VK_PURE;
VK_METHOD(OnAccountChange)(VK_THIS) VK_PURE;
VK_METHOD(OnCommand)
(VK_THIS_ LONG a1, LONG a2, LONG a3, LONG a4, LONG a5, LONG a6, LONG a7, LONG a8, LONG a9, LONG a10,
 LONG a11, LONG a12, LONG a13) VK_PURE;
VK_METHOD(OnUnload)(VK_THIS) VK_PURE;
VK_END

/* The module's store access. Every accessor hands out the store with a reference added. */
VK_INTERFACE_(IWEZStore, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IWEZStore)
    VK_METHOD(GetProfileStore)(VK_THIS_ IWEZProfileStore** store) VK_PURE;
VK_METHOD(GetMobileProfileStore)(VK_THIS_ IMobileProfileStore** store) VK_PURE;
VK_METHOD(GetItemStore)(VK_THIS_ IWEZItemStore** store) VK_PURE;
VK_METHOD(GetOptionStore)(VK_THIS_ IOptionStore** store) VK_PURE;
VK_METHOD(GetUserOptionStore)(VK_THIS_ IOptionStore** store) VK_PURE;
VK_METHOD(GetUserList)(VK_THIS_ IUserList** store) VK_PURE;
VK_METHOD(GetPortalStore)(VK_THIS_ IPortalStore** store) VK_PURE;
VK_METHOD(GetGroupStore)(VK_THIS_ IWEZGroupStore** store, LONG kind) VK_PURE;
VK_METHOD(GetProfileProStore)(VK_THIS_ IWEZProfileProStore** store) VK_PURE;
VK_METHOD(GetUserGrid)(VK_THIS_ IUserGrid** store) VK_PURE;
VK_METHOD(GetKeyDeptsStore)(VK_THIS_ IKeyDepts** store) VK_PURE;
VK_METHOD(GetDeptLeader)(VK_THIS_ IDeptLeader** store) VK_PURE;
VK_METHOD(NotifyOrgStructStatus)(VK_THIS_ LONG status) VK_PURE;
VK_METHOD(NotifyUserListStatus)(VK_THIS_ LONG status) VK_PURE;
VK_METHOD(GetRevertDialogStore)(VK_THIS_ IRevertDialogStore** store) VK_PURE;
VK_METHOD(GetLocalOffMsgStore)(VK_THIS_ ILocalOffMsgStore** store) VK_PURE;
VK_END

/* What the module holds, for diagnostics (the vaultkit command's status): one row per store
 * reference, the file it was last opened on (empty when none), and the readiness flags. */
VK_INTERFACE_(IModuleDiagnostics, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IModuleDiagnostics)
    VK_METHOD(GetStoreCount)(VK_THIS_ LONG* count) VK_PURE;
VK_METHOD(GetStoreInfo)(VK_THIS_ LONG index, BSTR* name, LONG* present, BSTR* path) VK_PURE;
VK_METHOD(GetReadiness)(VK_THIS_ LONG* org_struct_ready, LONG* user_list_ready) VK_PURE;
VK_END

/* A data item of the client: integer and text attributes by name. */
VK_INTERFACE_(IDataItem, IDispatch)
VK_BEGIN VK_IUNKNOWN_METHODS(IDataItem) VK_IDISPATCH_METHODS(IDataItem)
    VK_METHOD(GetIntAttr)(VK_THIS_ LPCOLESTR name, LONG* value) VK_PURE;
VK_METHOD(SetIntAttr)(VK_THIS_ LPCOLESTR name, LONG value) VK_PURE;
VK_METHOD(GetTextAttr)(VK_THIS_ LPCOLESTR name, BSTR* value) VK_PURE;
VK_METHOD(SetTextAttr)(VK_THIS_ LPCOLESTR name, LPCOLESTR value) VK_PURE;
VK_END

/* A list of data items, indexed from 1. */
VK_INTERFACE_(IDataList, IDispatch)
VK_BEGIN VK_IUNKNOWN_METHODS(IDataList) VK_IDISPATCH_METHODS(IDataList)
    VK_METHOD(Item)(VK_THIS_ LONG index, IDataItem** item) VK_PURE;
VK_METHOD(get_Count)(VK_THIS_ LONG* count) VK_PURE;
VK_METHOD(Append)(VK_THIS_ IDataItem* item) VK_PURE;
VK_METHOD(Remove)(VK_THIS_ LONG index) VK_PURE;
VK_END

/* The client's root object; also a connection-point source of IClientRootEvents. */
VK_INTERFACE_(IClientRoot, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IClientRoot) VK_METHOD(get_Account)(VK_THIS_ BSTR* account) VK_PURE;
VK_METHOD(get_Language)(VK_THIS_ LONG* language) VK_PURE;
VK_METHOD(get_DataFolder)(VK_THIS_ BSTR* folder) VK_PURE;
VK_METHOD(CreateDataItem)(VK_THIS_ IDataItem** item) VK_PURE;
VK_METHOD(CreateDataList)(VK_THIS_ IDataList** list) VK_PURE;
VK_END

/* The site handed to IClientModule::OnLoad. */
VK_INTERFACE_(IModuleSite, IUnknown)
VK_BEGIN VK_IUNKNOWN_METHODS(IModuleSite)
    VK_METHOD(get_RootObject)(VK_THIS_ IClientRoot** root) VK_PURE;
VK_END

/* The exports of the component library. */
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
