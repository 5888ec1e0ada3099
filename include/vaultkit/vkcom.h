/* The component runtime's binary interface: status codes, identifiers, system strings,
 * variants, safe arrays, the base interfaces and the creation functions. Usable from C and
 * C++; an interface declared with the VK_ macros is a C++ struct of pure virtual functions
 * and, in C, a struct holding a pointer to a table of function pointers in the same order. */
#ifndef VAULTKIT_VKCOM_H
#define VAULTKIT_VKCOM_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define VK_EXTERN_C extern "C"
#define VK_EXTERN_C_BEGIN extern "C" {
#define VK_EXTERN_C_END }
#define VK_STATIC_ASSERT(condition, message) static_assert(condition, message)
#else
#define VK_EXTERN_C extern
#define VK_EXTERN_C_BEGIN
#define VK_EXTERN_C_END
#define VK_STATIC_ASSERT(condition, message) _Static_assert(condition, message)
#endif

#define VK_EXPORT __attribute__((visibility("default")))
#define VKAPI VK_EXTERN_C VK_EXPORT

VK_EXTERN_C_BEGIN

typedef int32_t HRESULT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef int32_t BOOL;
typedef uint16_t WORD;
typedef uint8_t BYTE;
typedef int32_t INT;
typedef uint32_t UINT;
typedef int16_t VARIANT_BOOL;
typedef int32_t DISPID;
typedef uint32_t LCID;
typedef uint16_t VARTYPE;
#ifdef __cplusplus
typedef char16_t OLECHAR;
#else
typedef uint16_t OLECHAR;
#endif
typedef OLECHAR WCHAR;
typedef OLECHAR* BSTR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_NOTIMPL ((HRESULT)0x80004001)
#define E_NOINTERFACE ((HRESULT)0x80004002)
#define E_POINTER ((HRESULT)0x80004003)
#define E_FAIL ((HRESULT)0x80004005)
#define E_UNEXPECTED ((HRESULT)0x8000FFFF)
#define E_OUTOFMEMORY ((HRESULT)0x8007000E)
#define E_INVALIDARG ((HRESULT)0x80070057)
#define E_ACCESSDENIED ((HRESULT)0x80070005)
#define CLASS_E_NOAGGREGATION ((HRESULT)0x80040110)
#define CLASS_E_CLASSNOTAVAILABLE ((HRESULT)0x80040111)
#define REGDB_E_CLASSNOTREG ((HRESULT)0x80040154)
#define CO_E_CLASSSTRING ((HRESULT)0x800401F3)
#define CONNECT_E_NOCONNECTION ((HRESULT)0x80040200)
#define CONNECT_E_ADVISELIMIT ((HRESULT)0x80040201)
#define CONNECT_E_CANNOTCONNECT ((HRESULT)0x80040202)
#define DISP_E_MEMBERNOTFOUND ((HRESULT)0x80020003)
#define DISP_E_UNKNOWNNAME ((HRESULT)0x80020006)
#define DISP_E_BADPARAMCOUNT ((HRESULT)0x8002000E)
#define DISP_E_TYPEMISMATCH ((HRESULT)0x80020005)
#define DISP_E_BADVARTYPE ((HRESULT)0x80020008)
#define SUCCEEDED(hr) (((HRESULT)(hr)) >= 0)
#define FAILED(hr) (((HRESULT)(hr)) < 0)

#define VARIANT_TRUE ((VARIANT_BOOL)-1)
#define VARIANT_FALSE ((VARIANT_BOOL)0)
#define TRUE 1
#define FALSE 0

typedef struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
} GUID;
typedef GUID IID;
typedef GUID CLSID;
#ifdef __cplusplus
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;
#else
typedef const GUID* REFGUID;
typedef const IID* REFIID;
typedef const CLSID* REFCLSID;
#endif

/* Defines a named identifier in every translation unit that includes the header. */
#define VK_DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
  static const GUID name __attribute__((unused)) = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}

/* Nonzero when the two identifiers are equal. */
VKAPI int IsEqualGUID(const GUID* a, const GUID* b);
/* Writes "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" (38 characters, upper case, and a NUL). */
VKAPI void VkGuidToString(const GUID* guid, char out[39]);
/* Reads that form (hex digits in either case); nonzero on success. Any other text, or a
 * null argument, answers 0 with *guid untouched. */
VKAPI int VkGuidFromString(const char* text, GUID* guid);

/* System strings: a 32-bit byte length, the UTF-16 characters, a NUL; the BSTR points at
 * the first character. Whoever receives one frees it with SysFreeString, and only there. A
 * null BSTR is a valid empty string for every function below. The allocators answer null
 * when memory runs out. */
/* A copy of the NUL-terminated text; null for a null text. */
VKAPI BSTR SysAllocString(const OLECHAR* text);
/* A string of `length` characters copied from `text` (embedded NULs kept), or zero-filled
 * when `text` is null. */
VKAPI BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
/* A string of `length` bytes copied from `bytes`, or zero-filled when `bytes` is null. */
VKAPI BSTR SysAllocStringByteLen(const char* bytes, UINT length);
/* Frees the string; null is ignored. */
VKAPI void SysFreeString(BSTR text);
/* Length in characters (the stored length, not up to the first NUL); 0 for null. */
VKAPI UINT SysStringLen(BSTR text);
/* Length in bytes; 0 for null. */
VKAPI UINT SysStringByteLen(BSTR text);
/* Replaces *target by a copy of `text`, freeing the old string. Nonzero on success; 0 with
 * *target unchanged when memory runs out or `target` is null. */
VKAPI int SysReAllocString(BSTR* target, const OLECHAR* text);

/* Forward declarations of the interfaces that variants and safe arrays refer to. */
#ifdef __cplusplus
struct IUnknown;
struct IDispatch;
#else
typedef struct IUnknown IUnknown;
typedef struct IDispatch IDispatch;
#endif

enum VARENUM {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_UI4 = 19,
  VT_INT = 22,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000
};

typedef struct SAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
} SAFEARRAYBOUND;

/* One-dimensional arrays only; of BSTR, of variants or of 32-bit integers. */
typedef struct SAFEARRAY {
  WORD cDims;
  WORD fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  void* pvData;
  SAFEARRAYBOUND rgsabound[1];
} SAFEARRAY;

/* The platform's layout: the type and three reserved words, then a union as large as its
 * largest member, the record pair (two pointers). A VARIANT is 24 bytes on a 64-bit build and
 * 16 on a 32-bit one; arrays of them (DISPPARAMS::rgvarg, SAFEARRAYs of VT_VARIANT) step by
 * that size. */
typedef struct VARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    int64_t llVal;
    double dblVal;
    struct {
      void* pvRecord;
      void* pRecInfo; /* IRecordInfo*, which this runtime does not offer */
    } brecVal;
    LONG lVal;
    int16_t iVal;
    ULONG ulVal;
    INT intVal;
    VARIANT_BOOL boolVal;
    HRESULT scode;
    BSTR bstrVal;
    IUnknown* punkVal;
    IDispatch* pdispVal;
    SAFEARRAY* parray;
    VARIANT_BOOL* pboolVal;
    LONG* plVal;
    BSTR* pbstrVal;
    struct VARIANT* pvarVal;
    void* byref;
  } u;
} VARIANT;
typedef VARIANT VARIANTARG;
VK_STATIC_ASSERT(offsetof(VARIANT, u) == 8, "VARIANT's union follows the four words");
VK_STATIC_ASSERT(sizeof(VARIANT) == (sizeof(void*) == 8 ? 24 : 16), "VARIANT size");

/* Variants own their string (VT_BSTR), their array (VT_ARRAY | ...) and one reference on
 * their interface (VT_UNKNOWN, VT_DISPATCH); a VT_BYREF variant owns nothing. */
/* Makes *v VT_EMPTY without freeing anything: for a variant not yet holding a value. */
VKAPI void VariantInit(VARIANT* v);
/* Frees what *v owns and makes it VT_EMPTY. S_OK; DISP_E_BADVARTYPE for a type this runtime
 * does not know, *v untouched; E_INVALIDARG for null. */
VKAPI HRESULT VariantClear(VARIANT* v);
/* Clears *dest, then makes it a deep copy of *src (strings and arrays copied, interfaces
 * given a reference). S_OK; DISP_E_BADVARTYPE, E_OUTOFMEMORY or E_INVALIDARG with *dest
 * unchanged. */
VKAPI HRESULT VariantCopy(VARIANT* dest, const VARIANT* src);

/* Safe arrays work on arrays made by this runtime only; a bad array, dimension or index
 * answers E_INVALIDARG with nothing changed. */
/* A new array of `count` zeroed elements (null strings, empty variants, zeros) of VT_BSTR,
 * VT_VARIANT or VT_I4, indexed from `lower_bound`; the caller destroys it with
 * SafeArrayDestroy, or hands it on in a variant. Null for another type, bounds that do not
 * fit 32 bits, or no memory. */
VKAPI SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lower_bound, ULONG count);
/* Frees the array with the strings and variants it holds. S_OK, also for null. */
VKAPI HRESULT SafeArrayDestroy(SAFEARRAY* array);
/* The element type. S_OK. */
VKAPI HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* vt);
/* The lowest index of dimension 1. S_OK. */
VKAPI HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dim, LONG* bound);
/* The highest index of dimension 1 (lower bound - 1 when empty). S_OK. */
VKAPI HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dim, LONG* bound);
/* Stores a copy of the element, freeing the one it replaces. `element` is the BSTR itself
 * for a string array (null stores the empty string), else a pointer to the variant or
 * integer. S_OK; E_OUTOFMEMORY with the slot unchanged. */
VKAPI HRESULT SafeArrayPutElement(SAFEARRAY* array, LONG* index, void* element);
/* Writes a copy of the element to `element` (a BSTR*, VARIANT* or LONG*), which the caller
 * then owns and frees; what *element held before is overwritten, not freed. S_OK. */
VKAPI HRESULT SafeArrayGetElement(SAFEARRAY* array, LONG* index, void* element);
/* A deep copy of `src` in *dest, which the caller destroys; null for a null `src`. S_OK;
 * E_OUTOFMEMORY or E_INVALIDARG with *dest null. */
VKAPI HRESULT SafeArrayCopy(SAFEARRAY* src, SAFEARRAY** dest);

typedef struct DISPPARAMS {
  VARIANTARG* rgvarg; /* arguments in reverse order, as the platform passes them */
  DISPID* rgdispidNamedArgs;
  UINT cArgs;
  UINT cNamedArgs;
} DISPPARAMS;

typedef struct EXCEPINFO EXCEPINFO;
#define DISPATCH_METHOD 1
#define DISPATCH_PROPERTYGET 2
#define DISPATCH_PROPERTYPUT 4

VK_EXTERN_C_END

/* ---- Interface declaration macros ---------------------------------------------------- */
#ifdef __cplusplus
#define VK_INTERFACE(name) struct name
#define VK_INTERFACE_(name, base) struct name : public base
#define VK_BEGIN {
#define VK_END \
  }            \
  ;
#define VK_METHOD(name) virtual HRESULT name
#define VK_METHOD_(type, name) virtual type name
#define VK_THIS
#define VK_THIS_
#define VK_PURE = 0
#define VK_IUNKNOWN_METHODS(name)
#define VK_IDISPATCH_METHODS(name)
#else
#define VK_INTERFACE(name)              \
  typedef struct name name;             \
  typedef struct name##Vtbl name##Vtbl; \
  struct name {                         \
    const name##Vtbl* lpVtbl;           \
  };                                    \
  struct name##Vtbl
#define VK_INTERFACE_(name, base) VK_INTERFACE(name)
#define VK_BEGIN {
#define VK_END \
  }            \
  ;
#define VK_METHOD(name) HRESULT(*name)
#define VK_METHOD_(type, name) type(*name)
#define VK_THIS void* This
#define VK_THIS_ void *This,
#define VK_PURE
#define VK_IUNKNOWN_METHODS(name)                                         \
  HRESULT (*QueryInterface)(name * This, const IID* riid, void** object); \
  ULONG (*AddRef)(name * This);                                           \
  ULONG (*Release)(name * This);
#define VK_IDISPATCH_METHODS(name)                                                     \
  HRESULT (*GetTypeInfoCount)(name * This, UINT * count);                              \
  HRESULT (*GetTypeInfo)(name * This, UINT index, LCID lcid, void** info);             \
  HRESULT(*GetIDsOfNames)                                                              \
  (name * This, const IID* riid, LPOLESTR* names, UINT count, LCID lcid, DISPID* ids); \
  HRESULT(*Invoke)                                                                     \
  (name * This, DISPID id, const IID* riid, LCID lcid, WORD flags, DISPPARAMS* params, \
   VARIANT* result, EXCEPINFO* excep, UINT* arg_err);
#endif

/* ---- Base interfaces --------------------------------------------------------------- */
VK_DEFINE_GUID(IID_IUnknown, 0x00000000, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
               0x46);
VK_DEFINE_GUID(IID_IClassFactory, 0x00000001, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00,
               0x00, 0x46);
VK_DEFINE_GUID(IID_IDispatch, 0x00020400, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
               0x46);
VK_DEFINE_GUID(IID_IConnectionPointContainer, 0xB196B284, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA,
               0x00, 0x34, 0x1D, 0x07);
VK_DEFINE_GUID(IID_IConnectionPoint, 0xB196B286, 0xBAB4, 0x101A, 0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34,
               0x1D, 0x07);
VK_DEFINE_GUID(IID_NULL, 0x00000000, 0x0000, 0x0000, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
               0x00);

/* The base of every interface. QueryInterface hands out the object's `riid` interface with
 * a reference added (S_OK), or null with E_NOINTERFACE. AddRef and Release count references
 * and return the new count; the object is destroyed by the Release that reaches 0, and the
 * count returned is for diagnostics only. */
#ifdef __cplusplus
struct IUnknown {
  virtual HRESULT QueryInterface(REFIID riid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;
};
#else
VK_INTERFACE(IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IUnknown)
VK_END
#endif

/* The factory of one class, from DllGetClassObject or CoGetClassObject. */
VK_INTERFACE_(IClassFactory, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IClassFactory)
/* A new object answering `riid`, with one reference for the caller, in *object (null on
 * failure). CLASS_E_NOAGGREGATION for a non-null `outer`; E_NOINTERFACE when the class does
 * not offer `riid`; E_POINTER for a null `object`. */
VK_METHOD(CreateInstance)(VK_THIS_ IUnknown* outer, REFIID riid, void** object) VK_PURE;
/* Counts a lock (TRUE) or removes one (FALSE) that keeps the library loaded: DllCanUnloadNow
 * answers S_FALSE while any is held. S_OK. */
VK_METHOD(LockServer)(VK_THIS_ BOOL lock) VK_PURE;
VK_END

/* Late-bound calls. The component's objects publish no type information and no names:
 * GetTypeInfoCount gives 0, GetTypeInfo answers E_NOTIMPL, GetIDsOfNames DISP_E_UNKNOWNNAME,
 * and Invoke DISP_E_MEMBERNOTFOUND except on the event sinks, which take the dispatch ids of
 * client.h. */
VK_INTERFACE_(IDispatch, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IDispatch)
VK_METHOD(GetTypeInfoCount)(VK_THIS_ UINT* count) VK_PURE;
VK_METHOD(GetTypeInfo)(VK_THIS_ UINT index, LCID lcid, void** info) VK_PURE;
VK_METHOD(GetIDsOfNames)
(VK_THIS_ REFIID riid, LPOLESTR* names, UINT count, LCID lcid, DISPID* ids) VK_PURE;
VK_METHOD(Invoke)
(VK_THIS_ DISPID id, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result,
 EXCEPINFO* excep, UINT* arg_err) VK_PURE;
VK_END

#ifdef __cplusplus
struct IConnectionPointContainer;
#else
typedef struct IConnectionPointContainer IConnectionPointContainer;
#endif

/* One event source of a connection-point container (the client root's IClientRootEvents). */
VK_INTERFACE_(IConnectionPoint, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IConnectionPoint)
/* The identifier of the events' interface. S_OK. */
VK_METHOD(GetConnectionInterface)(VK_THIS_ IID* iid) VK_PURE;
/* The container, with a reference added. S_OK. */
VK_METHOD(GetConnectionPointContainer)(VK_THIS_ IConnectionPointContainer** container) VK_PURE;
/* Connects `sink`, which must answer the events' interface; the source keeps a reference to
 * it until Unadvise. S_OK with a nonzero *cookie; CONNECT_E_CANNOTCONNECT for a sink without
 * the interface, CONNECT_E_ADVISELIMIT when the source takes no more, *cookie 0. */
VK_METHOD(Advise)(VK_THIS_ IUnknown* sink, DWORD* cookie) VK_PURE;
/* Disconnects the sink of `cookie` and releases it. S_OK; CONNECT_E_NOCONNECTION for an
 * unknown cookie. */
VK_METHOD(Unadvise)(VK_THIS_ DWORD cookie) VK_PURE;
/* Enumeration of connections is not offered: answers E_NOTIMPL. */
VK_METHOD(EnumConnections)(VK_THIS_ void** enumerator) VK_PURE;
VK_END

VK_INTERFACE_(IConnectionPointContainer, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IConnectionPointContainer)
/* Enumeration of connection points is not offered: answers E_NOTIMPL. */
VK_METHOD(EnumConnectionPoints)(VK_THIS_ void** enumerator) VK_PURE;
/* The connection point of the events' interface `riid`, with a reference added. S_OK;
 * CONNECT_E_NOCONNECTION with null for an interface the container does not source. */
VK_METHOD(FindConnectionPoint)(VK_THIS_ REFIID riid, IConnectionPoint** point) VK_PURE;
VK_END

/* ---- Error information ------------------------------------------------------------- */
/* A per-thread error object: a component that fails a call may leave a description here,
 * which the client reads with GetErrorInfo right after the failed call. */
VK_DEFINE_GUID(IID_IErrorInfo, 0x1CF2B120, 0x547D, 0x101B, 0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1,
               0x19);
VK_DEFINE_GUID(IID_ICreateErrorInfo, 0x22F03340, 0x547D, 0x101B, 0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B,
               0xD1, 0x19);

/* Each string getter hands out a new string that the caller frees with SysFreeString; an
 * unset string is handed out as null. Getters answer S_OK, E_INVALIDARG for a null
 * pointer, E_OUTOFMEMORY when the copy cannot be made. */
VK_INTERFACE_(IErrorInfo, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(IErrorInfo)
/* The identifier of the interface that failed; all zero when unset, as the component
 * leaves it. */
VK_METHOD(GetGUID)(VK_THIS_ GUID* guid) VK_PURE;
/* Who failed; the component leaves it unset (null). */
VK_METHOD(GetSource)(VK_THIS_ BSTR* source) VK_PURE;
/* Why: the component sets "<path>: <reason>" for a file and the XML library's message for
 * a document. */
VK_METHOD(GetDescription)(VK_THIS_ BSTR* description) VK_PURE;
VK_METHOD(GetHelpFile)(VK_THIS_ BSTR* help_file) VK_PURE;
VK_METHOD(GetHelpContext)(VK_THIS_ DWORD* help_context) VK_PURE;
VK_END

/* Each setter copies its argument (the caller keeps its own); null clears the string.
 * Always S_OK. */
VK_INTERFACE_(ICreateErrorInfo, IUnknown)
VK_BEGIN
VK_IUNKNOWN_METHODS(ICreateErrorInfo)
VK_METHOD(SetGUID)(VK_THIS_ REFGUID guid) VK_PURE;
VK_METHOD(SetSource)(VK_THIS_ LPCOLESTR source) VK_PURE;
VK_METHOD(SetDescription)(VK_THIS_ LPCOLESTR description) VK_PURE;
VK_METHOD(SetHelpFile)(VK_THIS_ LPCOLESTR help_file) VK_PURE;
VK_METHOD(SetHelpContext)(VK_THIS_ DWORD help_context) VK_PURE;
VK_END

VK_EXTERN_C_BEGIN
/* A new, empty error object (one reference for the caller, answering IErrorInfo and
 * ICreateErrorInfo). S_OK; E_INVALIDARG for a null pointer. */
VKAPI HRESULT CreateErrorInfo(ICreateErrorInfo** info);
/* Replaces the calling thread's error object; null clears it. The thread keeps its own
 * reference (released when replaced or when the thread ends); the caller keeps its own.
 * S_OK; E_INVALIDARG when `reserved` is not 0. */
VKAPI HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
/* Hands the calling thread's error object to the caller (who releases it) and clears it:
 * S_OK with the object, S_FALSE with null when there is none. E_INVALIDARG for a null
 * pointer or a nonzero `reserved`. Read it right after the failed call: the next failure on
 * the thread replaces it. */
VKAPI HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info);
VK_EXTERN_C_END

#ifdef __cplusplus
namespace vk {
// Maps an interface type to its identifier; each interface header specialises it.
template <typename I>
struct InterfaceId;

template <>
struct InterfaceId<IUnknown> {
  static const IID& Get() { return IID_IUnknown; }
};
template <>
struct InterfaceId<IDispatch> {
  static const IID& Get() { return IID_IDispatch; }
};
template <>
struct InterfaceId<IClassFactory> {
  static const IID& Get() { return IID_IClassFactory; }
};
template <>
struct InterfaceId<IConnectionPoint> {
  static const IID& Get() { return IID_IConnectionPoint; }
};
template <>
struct InterfaceId<IConnectionPointContainer> {
  static const IID& Get() { return IID_IConnectionPointContainer; }
};
template <>
struct InterfaceId<IErrorInfo> {
  static const IID& Get() { return IID_IErrorInfo; }
};
template <>
struct InterfaceId<ICreateErrorInfo> {
  static const IID& Get() { return IID_ICreateErrorInfo; }
};

}  // namespace vk

#define VK_INTERFACE_ID(Interface, iid)     \
  namespace vk {                            \
  template <>                               \
  struct InterfaceId<Interface> {           \
    static const IID& Get() { return iid; } \
  };                                        \
  }

#endif

/* ---- Registry and creation ----------------------------------------------------------- */
VK_EXTERN_C_BEGIN

#define CLSCTX_INPROC_SERVER 1

/* The registry file: $VAULTKIT_REGISTRY, else $XDG_CONFIG_HOME/vaultkit/registry (an
 * absolute XDG_CONFIG_HOME only; default ~/.config/vaultkit/registry). Lines
 * "clsid {GUID} PATH" and "progid NAME {GUID}". */
/* Copies the registry file's path with its NUL into `out`. S_OK; E_INVALIDARG when it does
 * not fit `size` bytes, E_FAIL when no path can be made (no home folder), E_POINTER for a
 * null `out`; `out` is unchanged on failure. */
VKAPI HRESULT VkRegistryPath(char* out, size_t size);
/* Records `library_path` (absolute) as the in-process server of `clsid` and, unless
 * `prog_id` is null or empty, `prog_id` as its name, replacing earlier lines of either. The
 * file is replaced whole, so a failure leaves it as it was. S_OK; E_INVALIDARG for a
 * relative or missing path or a ProgID holding blanks or control characters; E_ACCESSDENIED
 * or E_FAIL when the file cannot be written. */
VKAPI HRESULT VkRegisterClass(REFCLSID clsid, const char* prog_id, const char* library_path);
/* The class registered under `prog_id` (compared ignoring the case of A to Z; the last line
 * wins). S_OK; CO_E_CLASSSTRING for an unknown or malformed name, *clsid untouched;
 * E_INVALIDARG for a null argument. */
VKAPI HRESULT CLSIDFromProgID(LPCOLESTR prog_id, CLSID* clsid);
/* Loads the library registered for `clsid` (it stays loaded for the life of the process) and
 * hands out its class object answering `riid`, with one reference for the caller. *object
 * is null on failure: REGDB_E_CLASSNOTREG when the class is not registered or `context`
 * lacks CLSCTX_INPROC_SERVER; 0x8007007E when the library cannot be loaded; 0x800401F9 when
 * it has no DllGetClassObject; otherwise the library's own status. $VAULTKIT_DEBUG set
 * prints why a library could not be used on stderr. */
VKAPI HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void* reserved, REFIID riid,
                               void** object);
/* CoGetClassObject, then IClassFactory::CreateInstance: the new object in *object with one
 * reference for the caller, null on failure with the first failing status. */
VKAPI HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID riid,
                               void** object);

/* ---- The client's data folder ------------------------------------------------------- */
/* The component keeps every account under its data root: the folder set here, else
 * $VAULTKIT_DATA_ROOT, else $XDG_DATA_HOME/vaultkit, else ~/.local/share/vaultkit. Set it
 * before the module's OnLoad; the module reads it at OnLoad and at each account change, and
 * the offline message store reads the root object's data folder instead. `folder` must be
 * absolute and exist (the module creates "Accounts" in it, one level); null or empty clears it (the
 * environment decides again). S_OK; E_INVALIDARG for a relative path. */
VKAPI HRESULT VkSetDataRoot(const char* folder);
/* Copies the folder VkSetDataRoot set, with its NUL, into `out`: S_OK; S_FALSE with an empty
 * text when none is set; E_INVALIDARG when it does not fit `size` bytes or `out` is null. */
VKAPI HRESULT VkGetDataRoot(char* out, size_t size);

/* ---- Message loop, timers and clock ------------------------------------------------- */
/* The component's 60-second flush is a timer of this loop: it runs only while the client's
 * interface thread calls VkPumpMessages (from its own message loop, or at least as often as
 * VkNextTimerDelay says). */
/* One loop per process, pumped by the client's interface thread. Timers fire from
 * VkPumpMessages when the loop's clock has reached their due time. */
typedef void (*VkTimerProc)(void* context, UINT timer_id);
typedef uint64_t (*VkClockProc)(void* context); /* milliseconds */

/* Arms (or re-arms with a new interval) timer `timer_id` of `owner`: `proc` runs with
 * `context` every `interval_ms` (at least 10) from now, until killed. A null `proc` is
 * ignored. Procedures may arm and kill timers. */
VKAPI void VkSetTimer(void* owner, UINT timer_id, UINT interval_ms, VkTimerProc proc,
                      void* context);
/* Disarms the timer; an unknown one is ignored. */
VKAPI void VkKillTimer(void* owner, UINT timer_id);
/* Kills every timer of `owner` (a window being destroyed). */
VKAPI void VkKillTimers(void* owner);
/* The loop's clock, in milliseconds. */
VKAPI uint64_t VkGetTickCount(void);
/* Replaces the loop's clock; null restores the steady system clock. Armed timers keep the
 * time they still had to wait: a timer due in 40 s on the old clock is due 40 s after the
 * new clock's current reading, whatever value the new clock starts from. */
VKAPI void VkSetClock(VkClockProc clock, void* context);
/* Runs every timer that is due now, each once however late, in due order; returns how many
 * ran. A timer's next run counts from now. */
VKAPI int VkPumpMessages(void);
/* Milliseconds until the next timer is due, or -1 when none is armed. */
VKAPI int64_t VkNextTimerDelay(void);

VK_EXTERN_C_END

#endif
