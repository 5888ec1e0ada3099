// A data object of the client: integer and text attributes by name.
#pragma once

#include <map>
#include <string>

#include "runtime/AutomationObject.h"
#include "vaultkit/client.h"

namespace vk {

class DataItem : public AutomationObject<IDataItem> {
 public:
  HRESULT GetIntAttr(LPCOLESTR name, LONG* value) override;
  HRESULT SetIntAttr(LPCOLESTR name, LONG value) override;
  HRESULT GetTextAttr(LPCOLESTR name, BSTR* value) override;
  HRESULT SetTextAttr(LPCOLESTR name, LPCOLESTR value) override;

 private:
  std::map<std::u16string, LONG> ints_;
  std::map<std::u16string, std::u16string> texts_;
};

}  // namespace vk
