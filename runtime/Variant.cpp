// Variants: the tagged values passed through automation calls and stored in variant arrays.
// A variant owns its string, its array and one reference on its interface; a by-reference
// variant points at storage owned by someone else and frees nothing.
#include "vaultkit/vkcom.h"

namespace {

bool IsScalar(VARTYPE vt) {
  switch (vt) {
    case VT_I2:
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_BOOL:
    case VT_ERROR:
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return true;
    default:
      return false;
  }
}

bool IsArray(VARTYPE vt) {
  return vt == (VT_ARRAY | VT_BSTR) || vt == (VT_ARRAY | VT_VARIANT) || vt == (VT_ARRAY | VT_I4);
}

bool IsKnown(VARTYPE vt) {
  if (vt == VT_EMPTY || vt == VT_NULL) return true;
  if ((vt & VT_BYREF) != 0) {
    // A reference to an empty or null value means nothing; a reference to a variant does.
    VARTYPE target = static_cast<VARTYPE>(vt & ~VT_BYREF);
    return IsScalar(target) || IsArray(target) || target == VT_VARIANT;
  }
  return IsScalar(vt) || IsArray(vt);
}

IUnknown* InterfaceOf(const VARIANT& v) {
  return v.vt == VT_DISPATCH ? static_cast<IUnknown*>(v.u.pdispVal) : v.u.punkVal;
}

}  // namespace

void VariantInit(VARIANT* v) {
  if (v == nullptr) return;
  v->vt = VT_EMPTY;
  v->wReserved1 = v->wReserved2 = v->wReserved3 = 0;
  v->u.byref = nullptr;
}

HRESULT VariantClear(VARIANT* v) {
  if (v == nullptr) return E_INVALIDARG;
  if (!IsKnown(v->vt)) return DISP_E_BADVARTYPE;
  if (v->vt == VT_BSTR) {
    SysFreeString(v->u.bstrVal);
  } else if (v->vt == VT_DISPATCH || v->vt == VT_UNKNOWN) {
    if (IUnknown* unknown = InterfaceOf(*v)) unknown->Release();
  } else if (IsArray(v->vt) && v->u.parray != nullptr) {
    HRESULT hr = SafeArrayDestroy(v->u.parray);
    if (FAILED(hr)) return hr;
  }
  VariantInit(v);
  return S_OK;
}

HRESULT VariantCopy(VARIANT* dest, const VARIANT* src) {
  if (dest == nullptr || src == nullptr) return E_INVALIDARG;
  if (dest == src) return S_OK;
  if (!IsKnown(src->vt)) return DISP_E_BADVARTYPE;

  // Build the copy aside so that a failure leaves the destination as it was.
  VARIANT copy = *src;
  if (src->vt == VT_BSTR && src->u.bstrVal != nullptr) {
    copy.u.bstrVal = SysAllocStringByteLen(reinterpret_cast<const char*>(src->u.bstrVal),
                                           SysStringByteLen(src->u.bstrVal));
    if (copy.u.bstrVal == nullptr) return E_OUTOFMEMORY;
  } else if (IsArray(src->vt) && src->u.parray != nullptr) {
    HRESULT hr = SafeArrayCopy(src->u.parray, &copy.u.parray);
    if (FAILED(hr)) return hr;
  } else if (src->vt == VT_DISPATCH || src->vt == VT_UNKNOWN) {
    if (IUnknown* unknown = InterfaceOf(*src)) unknown->AddRef();
  }

  HRESULT hr = VariantClear(dest);
  if (FAILED(hr)) {
    VariantClear(&copy);
    return hr;
  }
  *dest = copy;
  return S_OK;
}
