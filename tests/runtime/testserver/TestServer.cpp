#include "TestServer.h"

#include "runtime/ComObject.h"

namespace {

class CTestCounter : public vk::ComObject<ITestCounter> {
 public:
  HRESULT Next(LONG* value) override {
    if (value == nullptr) return E_POINTER;
    *value = ++count_;
    return S_OK;
  }

 private:
  LONG count_ = 0;
};

class CTestFactory : public vk::ComObject<IClassFactory> {
 public:
  HRESULT CreateInstance(IUnknown* outer, REFIID riid, void** object) override {
    if (object == nullptr) return E_INVALIDARG;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    auto* counter = new CTestCounter();
    HRESULT hr = counter->QueryInterface(riid, object);
    counter->Release();
    return hr;
  }
  HRESULT LockServer(BOOL lock) override {
    vk::ServerLocks() += lock ? 1 : -1;
    return S_OK;
  }
};

}  // namespace

VKAPI HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** object) {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  if (!vk::SameIid(clsid, CLSID_TestCounter)) return CLASS_E_CLASSNOTAVAILABLE;
  auto* factory = new CTestFactory();
  HRESULT hr = factory->QueryInterface(riid, object);
  factory->Release();
  return hr;
}

VKAPI long TestServerLiveObjects(void) {
  return vk::LiveObjects();
}
