// The factory of one creatable class: creates a fresh object for every request.
#pragma once

#include "runtime/ComObject.h"

namespace vk {

using CreateFunction = HRESULT (*)(REFIID riid, void** object);

// Creates a T and hands out the requested interface; the creation reference is dropped, so
// the caller holds the only one.
template <typename T>
HRESULT CreateObject(REFIID riid, void** object) {
  T* instance = new T();
  HRESULT hr = instance->QueryInterface(riid, object);
  instance->Release();
  return hr;
}

class ClassFactory : public ComObject<IClassFactory> {
 public:
  explicit ClassFactory(CreateFunction create) : create_(create) {}
  HRESULT CreateInstance(IUnknown* outer, REFIID riid, void** object) override;
  HRESULT LockServer(BOOL lock) override;

 private:
  CreateFunction create_;
};

}  // namespace vk
