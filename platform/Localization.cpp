#include "platform/Localization.h"

#include <string_view>

namespace {

struct Entry {
  std::u16string_view module, key, text;
};

// The texts this component asks the localisation library for.
constexpr Entry kTexts[] = {
    // The module's display name.
    {u"Vaultkit", u"C_ID_S_2", u"Vaultkit 本地存储"},
    // The external-buddy group seeded under the contact panel: "external contacts".
    {u"Vaultkit", u"C_ID_S_3", u"外部联系人"},
};

}  // namespace

int32_t Localization_Constant_GetString(const char16_t* module, const char16_t* key,
                                        char16_t* buffer, int32_t limit) {
  if (buffer != nullptr && limit > 0) buffer[0] = u'\0';
  if (module == nullptr || key == nullptr || buffer == nullptr || limit <= 0) return 0;
  for (const Entry& entry : kTexts) {
    if (entry.module != module || entry.key != key) continue;
    // At most limit-1 characters and a NUL.
    int32_t count = static_cast<int32_t>(entry.text.size());
    if (count > limit - 1) count = limit - 1;
    entry.text.copy(buffer, static_cast<size_t>(count));
    buffer[count] = u'\0';
    return count;
  }
  return 0;
}
