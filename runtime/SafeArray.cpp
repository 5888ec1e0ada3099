// One-dimensional safe arrays of strings, variants or 32-bit integers. As on the client's
// platform, the element type lives in a hidden word just before the descriptor (flagged
// FADF_HAVEVARTYPE), and the string and variant flags tell what the elements own.
//
// A bad index or dimension answers E_INVALIDARG: the binary interface has no narrower code
// for it, and callers of these arrays only distinguish success from failure.
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "vaultkit/vkcom.h"

namespace {

constexpr WORD FADF_HAVEVARTYPE = 0x0080;
constexpr WORD FADF_BSTR = 0x0100;
constexpr WORD FADF_VARIANT = 0x0800;

// The allocation behind every array this runtime creates; the element type sits in the
// four bytes before the descriptor.
struct Block {
  uint32_t reserved;
  uint32_t vartype;
  SAFEARRAY array;
};

Block* BlockOf(SAFEARRAY* array) {
  return reinterpret_cast<Block*>(reinterpret_cast<char*>(array) - offsetof(Block, array));
}

ULONG ElementSize(VARTYPE vt) {
  switch (vt) {
    case VT_BSTR:
      return sizeof(BSTR);
    case VT_VARIANT:
      return sizeof(VARIANT);
    case VT_I4:
      return sizeof(LONG);
    default:
      return 0;
  }
}

// The element type of an array this runtime made; VT_EMPTY for anything else.
VARTYPE TypeOf(SAFEARRAY* array) {
  if (array == nullptr || array->cDims != 1 || (array->fFeatures & FADF_HAVEVARTYPE) == 0) {
    return VT_EMPTY;
  }
  auto vt = static_cast<VARTYPE>(BlockOf(array)->vartype);
  return ElementSize(vt) == array->cbElements ? vt : VARTYPE(VT_EMPTY);
}

// The address of the element at `index`, or null when the index is outside the bounds.
void* ElementAt(SAFEARRAY* array, const LONG* index) {
  if (index == nullptr) return nullptr;
  int64_t offset = static_cast<int64_t>(*index) - array->rgsabound[0].lLbound;
  if (offset < 0 || offset >= static_cast<int64_t>(array->rgsabound[0].cElements)) return nullptr;
  return static_cast<char*>(array->pvData) + offset * array->cbElements;
}

BSTR CopyString(BSTR text) {
  return SysAllocStringByteLen(reinterpret_cast<const char*>(text), SysStringByteLen(text));
}

}  // namespace

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lower_bound, ULONG count) {
  ULONG size = ElementSize(vt);
  if (size == 0) return nullptr;
  // The upper bound must be representable as well.
  int64_t upper = static_cast<int64_t>(lower_bound) + count - 1;
  if (upper > INT32_MAX || upper < INT32_MIN) return nullptr;

  auto* block = static_cast<Block*>(std::calloc(1, sizeof(Block)));
  if (block == nullptr) return nullptr;
  void* data = nullptr;
  if (count > 0) {
    // Zeroed elements are null strings, empty variants and zeros.
    data = std::calloc(count, size);
    if (data == nullptr) {
      std::free(block);
      return nullptr;
    }
  }
  block->vartype = vt;
  SAFEARRAY& array = block->array;
  array.cDims = 1;
  array.fFeatures =
      FADF_HAVEVARTYPE | (vt == VT_BSTR ? FADF_BSTR : 0) | (vt == VT_VARIANT ? FADF_VARIANT : 0);
  array.cbElements = size;
  array.pvData = data;
  array.rgsabound[0].cElements = count;
  array.rgsabound[0].lLbound = lower_bound;
  return &array;
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) {
  if (array == nullptr) return S_OK;
  VARTYPE vt = TypeOf(array);
  if (vt == VT_EMPTY) return E_INVALIDARG;
  ULONG count = array->rgsabound[0].cElements;
  if (vt == VT_BSTR) {
    auto* items = static_cast<BSTR*>(array->pvData);
    for (ULONG i = 0; i < count; ++i) SysFreeString(items[i]);
  } else if (vt == VT_VARIANT) {
    auto* items = static_cast<VARIANT*>(array->pvData);
    for (ULONG i = 0; i < count; ++i) VariantClear(&items[i]);
  }
  std::free(array->pvData);
  std::free(BlockOf(array));
  return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* vt) {
  if (vt == nullptr) return E_INVALIDARG;
  VARTYPE type = TypeOf(array);
  if (type == VT_EMPTY) return E_INVALIDARG;
  *vt = type;
  return S_OK;
}

HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dim, LONG* bound) {
  if (array == nullptr || bound == nullptr || dim != 1 || array->cDims != 1) return E_INVALIDARG;
  *bound = array->rgsabound[0].lLbound;
  return S_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dim, LONG* bound) {
  if (array == nullptr || bound == nullptr || dim != 1 || array->cDims != 1) return E_INVALIDARG;
  *bound = static_cast<LONG>(static_cast<int64_t>(array->rgsabound[0].lLbound) +
                             array->rgsabound[0].cElements - 1);
  return S_OK;
}

// `element` is the string itself for a string array (null stands for the empty string),
// else a pointer to the variant or integer.
HRESULT SafeArrayPutElement(SAFEARRAY* array, LONG* index, void* element) {
  VARTYPE vt = TypeOf(array);
  if (vt == VT_EMPTY) return E_INVALIDARG;
  void* slot = ElementAt(array, index);
  if (slot == nullptr) return E_INVALIDARG;
  if (vt == VT_BSTR) {
    BSTR copy = nullptr;
    if (element != nullptr) {
      copy = CopyString(static_cast<BSTR>(element));
      if (copy == nullptr) return E_OUTOFMEMORY;
    }
    SysFreeString(*static_cast<BSTR*>(slot));
    *static_cast<BSTR*>(slot) = copy;
    return S_OK;
  }
  if (element == nullptr) return E_INVALIDARG;
  if (vt == VT_VARIANT)
    return VariantCopy(static_cast<VARIANT*>(slot), static_cast<VARIANT*>(element));
  std::memcpy(slot, element, sizeof(LONG));
  return S_OK;
}

// `element` points at a string, variant or integer that receives a copy; the caller owns
// what it receives. Whatever the variant held before is overwritten, not freed.
HRESULT SafeArrayGetElement(SAFEARRAY* array, LONG* index, void* element) {
  VARTYPE vt = TypeOf(array);
  if (vt == VT_EMPTY || element == nullptr) return E_INVALIDARG;
  void* slot = ElementAt(array, index);
  if (slot == nullptr) return E_INVALIDARG;
  if (vt == VT_BSTR) {
    BSTR source = *static_cast<BSTR*>(slot);
    BSTR copy = source == nullptr ? nullptr : CopyString(source);
    if (copy == nullptr && source != nullptr) return E_OUTOFMEMORY;
    *static_cast<BSTR*>(element) = copy;
    return S_OK;
  }
  if (vt == VT_VARIANT) {
    auto* out = static_cast<VARIANT*>(element);
    VariantInit(out);
    return VariantCopy(out, static_cast<VARIANT*>(slot));
  }
  std::memcpy(element, slot, sizeof(LONG));
  return S_OK;
}

// Copying no array gives no array, as on the client's platform.
HRESULT SafeArrayCopy(SAFEARRAY* src, SAFEARRAY** dest) {
  if (dest == nullptr) return E_INVALIDARG;
  *dest = nullptr;
  if (src == nullptr) return S_OK;
  VARTYPE vt = TypeOf(src);
  if (vt == VT_EMPTY) return E_INVALIDARG;
  ULONG count = src->rgsabound[0].cElements;
  SAFEARRAY* copy = SafeArrayCreateVector(vt, src->rgsabound[0].lLbound, count);
  if (copy == nullptr) return E_OUTOFMEMORY;
  for (ULONG i = 0; i < count; ++i) {
    HRESULT hr = S_OK;
    if (vt == VT_BSTR) {
      BSTR source = static_cast<BSTR*>(src->pvData)[i];
      BSTR& target = static_cast<BSTR*>(copy->pvData)[i];
      if (source != nullptr && (target = CopyString(source)) == nullptr) hr = E_OUTOFMEMORY;
    } else if (vt == VT_VARIANT) {
      hr = VariantCopy(&static_cast<VARIANT*>(copy->pvData)[i],
                       &static_cast<VARIANT*>(src->pvData)[i]);
    } else {
      static_cast<LONG*>(copy->pvData)[i] = static_cast<LONG*>(src->pvData)[i];
    }
    if (FAILED(hr)) {
      SafeArrayDestroy(copy);
      return hr;
    }
  }
  *dest = copy;
  return S_OK;
}
