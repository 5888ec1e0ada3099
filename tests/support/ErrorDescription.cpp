#include "tests/support/ErrorDescription.h"

#include "vaultkit/vkcom.h"

namespace vk::test {

std::optional<std::u16string> TakeErrorDescription() {
  IErrorInfo* info = nullptr;
  if (GetErrorInfo(0, &info) != S_OK || info == nullptr) return std::nullopt;
  BSTR text = nullptr;
  info->GetDescription(&text);
  std::u16string description = text != nullptr ? text : u"";
  SysFreeString(text);
  info->Release();
  return description;
}

}  // namespace vk::test
