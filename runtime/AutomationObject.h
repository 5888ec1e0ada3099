// An object whose automation support has no type information and an empty member table:
// calls by name find nothing. Objects that answer events override Invoke.
#pragma once

#include "runtime/ComObject.h"

namespace vk {

template <typename... Interfaces>
class AutomationObject : public ComObject<Interfaces...> {
 public:
  HRESULT GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_INVALIDARG;
    *count = 0;
    return S_OK;
  }
  HRESULT GetTypeInfo(UINT, LCID, void** info) override {
    if (info != nullptr) *info = nullptr;
    return E_NOTIMPL;
  }
  HRESULT GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return DISP_E_UNKNOWNNAME;
  }
  HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return DISP_E_MEMBERNOTFOUND;
  }
};

}  // namespace vk
