// COptionStore: option values in section "Default" of a profile file, read and written
// through the private-profile functions on every call.
#pragma once

#include <string>

#include "runtime/ComObject.h"
#include "vaultkit/IOptionStore.h"

class COptionStore : public vk::ComObject<IOptionStore> {
 public:
  HRESULT Open(LPCOLESTR path) override;
  HRESULT SetInt(LPCOLESTR key, LONG value) override;
  HRESULT SetString(LPCOLESTR key, LPCOLESTR value) override;
  HRESULT SetStruct(LPCOLESTR key, const void* data, UINT size) override;
  HRESULT GetInt(LPCOLESTR key, LONG* value) override;
  HRESULT GetString(LPCOLESTR key, OLECHAR* buffer, UINT size_bytes) override;
  HRESULT GetStruct(LPCOLESTR key, void* data, UINT size) override;

 private:
  std::u16string path_;
  LONG opened_ = 0;
};
