#include "module/Exports.h"

#include <dlfcn.h>

#include "module/ClassTable.h"

HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** object) {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  const vk::ClassEntry* entry = vk::FindClass(clsid);
  if (entry == nullptr) return CLASS_E_CLASSNOTAVAILABLE;
  auto* factory = new vk::ClassFactory(entry->create);
  HRESULT hr = factory->QueryInterface(riid, object);
  factory->Release();
  return hr;
}

HRESULT DllCanUnloadNow(void) {
  return vk::LiveObjects() == 0 && vk::ServerLocks() == 0 ? S_OK : S_FALSE;
}

// Registers every class as an in-process server of this library. The answer is S_OK
// whatever the registry said: the client only ever checks that the call was made.
HRESULT DllRegisterServer(void) {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&DllRegisterServer), &info) == 0 ||
      info.dli_fname == nullptr) {
    return S_OK;
  }
  char path[4096];
  const char* library = realpath(info.dli_fname, path) != nullptr ? path : info.dli_fname;
  for (const vk::ClassEntry& entry : vk::ClassTable()) {
    VkRegisterClass(*entry.clsid, entry.prog_id, library);
  }
  return S_OK;
}
