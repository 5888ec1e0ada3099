// An object that only counts its references, to check who adds and releases them.
#pragma once

#include "vaultkit/vkcom.h"

class CountingUnknown : public IDispatch {
 public:
  HRESULT QueryInterface(REFIID riid, void** object) override {
    if (IsEqualGUID(&riid, &IID_IUnknown) || IsEqualGUID(&riid, &IID_IDispatch)) {
      *object = this;
      AddRef();
      return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return ++refs; }
  ULONG Release() override { return --refs; }
  HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT GetTypeInfo(UINT, LCID, void**) override { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return E_NOTIMPL;
  }

  ULONG refs = 1;
};
