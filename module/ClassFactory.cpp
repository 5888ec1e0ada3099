#include "module/ClassFactory.h"

namespace vk {

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  return create_(riid, object);
}

HRESULT ClassFactory::LockServer(BOOL lock) {
  if (lock) {
    ++ServerLocks();
  } else {
    --ServerLocks();
  }
  return S_OK;
}

}  // namespace vk
