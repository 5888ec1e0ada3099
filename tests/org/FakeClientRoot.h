// A client root for store tests: answers its interface language and nothing else.
#pragma once

#include "runtime/ComObject.h"
#include "vaultkit/client.h"

namespace vk::test {

class FakeClientRoot : public ComObject<IClientRoot> {
 public:
  explicit FakeClientRoot(LONG language = 0) : language_(language) {}
  void SetLanguage(LONG language) { language_ = language; }

  HRESULT get_Account(BSTR* account) override {
    *account = SysAllocString(u"tester");
    return S_OK;
  }
  HRESULT get_Language(LONG* language) override {
    *language = language_;
    return S_OK;
  }
  HRESULT get_DataFolder(BSTR*) override { return E_NOTIMPL; }
  HRESULT CreateDataItem(IDataItem**) override { return E_NOTIMPL; }
  HRESULT CreateDataList(IDataList**) override { return E_NOTIMPL; }

 private:
  LONG language_;
};

}  // namespace vk::test
