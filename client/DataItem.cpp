#include "client/DataItem.h"

namespace vk {

// An attribute never set reads as 0 or as an empty text.
HRESULT DataItem::GetIntAttr(LPCOLESTR name, LONG* value) {
  if (name == nullptr || value == nullptr) return E_POINTER;
  auto found = ints_.find(name);
  *value = found == ints_.end() ? 0 : found->second;
  return S_OK;
}

HRESULT DataItem::SetIntAttr(LPCOLESTR name, LONG value) {
  if (name == nullptr) return E_POINTER;
  ints_[name] = value;
  return S_OK;
}

HRESULT DataItem::GetTextAttr(LPCOLESTR name, BSTR* value) {
  if (name == nullptr || value == nullptr) return E_POINTER;
  auto found = texts_.find(name);
  *value = SysAllocString(found == texts_.end() ? u"" : found->second.c_str());
  return S_OK;
}

HRESULT DataItem::SetTextAttr(LPCOLESTR name, LPCOLESTR value) {
  if (name == nullptr) return E_POINTER;
  texts_[name] = value == nullptr ? u"" : value;
  return S_OK;
}

}  // namespace vk
