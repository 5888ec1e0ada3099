#include "settings/OptionStore.h"

#include <algorithm>

#include "platform/Assert.h"
#include "platform/Profile.h"
#include "platform/Text.h"

namespace {

constexpr char16_t kSection[] = u"Default";

}  // namespace

HRESULT COptionStore::Open(LPCOLESTR path) {
  if (path == nullptr) {
    VK_REPORT_ASSERT();
    return E_FAIL;
  }
  path_ = path;
  opened_ = 1;
  return S_OK;
}

// The writers and GetInt answer 1 (a success code that is not S_OK) before Open, after an
// assertion report and without touching any file or out value: callers have always seen
// exactly that.
HRESULT COptionStore::SetInt(LPCOLESTR key, LONG value) {
  if (!opened_) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  std::u16string text = vk::FormatWide(u"%d", static_cast<int>(value));
  text.resize(std::min<size_t>(text.size(), 15));
  return WritePrivateProfileStringW(kSection, key, text.c_str(), path_.c_str()) ? S_OK : E_FAIL;
}

HRESULT COptionStore::SetString(LPCOLESTR key, LPCOLESTR value) {
  if (!opened_) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  return WritePrivateProfileStringW(kSection, key, value, path_.c_str()) ? S_OK : E_FAIL;
}

HRESULT COptionStore::SetStruct(LPCOLESTR key, const void* data, UINT size) {
  if (!opened_) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  return WritePrivateProfileStructW(kSection, key, data, size, path_.c_str()) ? S_OK : E_FAIL;
}

HRESULT COptionStore::GetInt(LPCOLESTR key, LONG* value) {
  if (!opened_) {
    VK_REPORT_ASSERT();
    return S_FALSE;
  }
  if (value == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  *value = static_cast<LONG>(GetPrivateProfileIntW(kSection, key, 0, path_.c_str()));
  return S_OK;
}

// No opened test: before Open the read goes to the empty path and finds nothing.
HRESULT COptionStore::GetString(LPCOLESTR key, OLECHAR* buffer, UINT size_bytes) {
  if (buffer == nullptr) {
    VK_REPORT_ASSERT();
    return E_INVALIDARG;
  }
  OLECHAR local[256] = {};
  GetPrivateProfileStringW(kSection, key, u"", local, 256, path_.c_str());
  // A bounded copy of (size / 2) - 1 characters: shorter values are padded with zeros, longer
  // ones are cut without a terminator. A buffer of under two bytes has no room for any
  // character, so nothing is copied (the count would be negative).
  if (size_bytes < 2) return S_OK;
  size_t count = size_bytes / 2 - 1;
  size_t length = std::char_traits<char16_t>::length(local);
  for (size_t i = 0; i < count; ++i) buffer[i] = i < length ? local[i] : u'\0';
  return S_OK;
}

HRESULT COptionStore::GetStruct(LPCOLESTR key, void* data, UINT size) {
  return GetPrivateProfileStructW(kSection, key, data, size, path_.c_str()) ? S_OK : E_FAIL;
}
