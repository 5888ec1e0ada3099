// The private-profile functions over ProfileFile. Every call reads the file afresh; writes
// replace it atomically. One process-wide lock serialises them, as the platform does.
#include "platform/Profile.h"

#include <unistd.h>

#include <cstring>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/Files.h"
#include "platform/ProfileFile.h"

namespace vk {
namespace {

std::mutex& ProfileMutex() {
  static std::mutex mutex;
  return mutex;
}

bool IsBlank(char16_t c) {
  return c == u' ' || c == u'\t' || c == u'\v' || c == u'\f';
}

bool HasAny(std::u16string_view text, std::u16string_view chars) {
  return text.find_first_of(chars) != std::u16string_view::npos;
}

// The value as the profile reader gives it: without surrounding blanks, and without one
// pair of matching surrounding quotes.
std::u16string Clean(std::u16string value) {
  size_t first = 0;
  while (first < value.size() && IsBlank(value[first])) ++first;
  size_t last = value.size();
  while (last > first && IsBlank(value[last - 1])) --last;
  value = value.substr(first, last - first);
  if (value.size() >= 2 && (value.front() == u'"' || value.front() == u'\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return value;
}

std::optional<std::u16string> ReadValue(const char16_t* section, const char16_t* key,
                                        const char16_t* path) {
  if (section == nullptr || key == nullptr || path == nullptr || *path == u'\0') {
    return std::nullopt;
  }
  std::optional<std::string> bytes;
  {
    std::lock_guard<std::mutex> hold(ProfileMutex());
    bytes = ReadWholeFile(path);
  }
  if (!bytes) return std::nullopt;
  auto value = ProfileFile::Parse(*bytes).Find(section, key);
  if (!value) return std::nullopt;
  return Clean(std::move(*value));
}

// Section names may not hold ']' and keys may not hold '='; no part may hold a line break,
// which would add lines of its own to the file.
bool Writable(const char16_t* section, const char16_t* key, const char16_t* value) {
  if (section == nullptr || key == nullptr) return false;
  return !HasAny(section, u"]\r\n") && !HasAny(key, u"=\r\n") &&
         (value == nullptr || !HasAny(value, u"\r\n"));
}

}  // namespace
}  // namespace vk

uint32_t GetPrivateProfileIntW(const char16_t* section, const char16_t* key, int32_t fallback,
                               const char16_t* path) {
  auto value = vk::ReadValue(section, key, path);
  // An empty value reads as absent, as with the platform's reader.
  if (!value || value->empty()) return static_cast<uint32_t>(fallback);
  size_t i = 0;
  while (i < value->size() && vk::IsBlank((*value)[i])) ++i;
  bool negative = false;
  if (i < value->size() && ((*value)[i] == u'-' || (*value)[i] == u'+')) {
    negative = (*value)[i] == u'-';
    ++i;
  }
  uint32_t number = 0;  // wraps beyond the 32-bit range
  for (; i < value->size() && (*value)[i] >= u'0' && (*value)[i] <= u'9'; ++i) {
    number = number * 10u + static_cast<uint32_t>((*value)[i] - u'0');
  }
  return negative ? 0u - number : number;
}

// A null section or key would ask for a listing of names, which nothing in the system uses:
// it reads as an absent key.
uint32_t GetPrivateProfileStringW(const char16_t* section, const char16_t* key,
                                  const char16_t* fallback, char16_t* out, uint32_t size,
                                  const char16_t* path) {
  if (out == nullptr || size == 0) return 0;
  std::u16string text;
  if (auto value = vk::ReadValue(section, key, path)) {
    text = std::move(*value);
  } else if (fallback != nullptr) {
    // The default loses its trailing blanks.
    text = fallback;
    while (!text.empty() && vk::IsBlank(text.back())) text.pop_back();
  }
  size_t count = std::min<size_t>(text.size(), size - 1);
  std::memcpy(out, text.data(), count * sizeof(char16_t));
  out[count] = u'\0';
  return static_cast<uint32_t>(count);
}

// A null key would delete the whole section on the client's platform; here it is refused so
// that a missing key can never wipe a section.
bool WritePrivateProfileStringW(const char16_t* section, const char16_t* key, const char16_t* value,
                                const char16_t* path) {
  if (path == nullptr || *path == u'\0' || !vk::Writable(section, key, value)) return false;
  std::lock_guard<std::mutex> hold(vk::ProfileMutex());
  std::optional<std::string> bytes = vk::ReadWholeFile(path);
  vk::ProfileFile file;
  if (bytes) {
    // A read-only file stays as it is, as on the client's platform.
    if (::access(vk::PathToNative(path).c_str(), W_OK) != 0) return false;
    file = vk::ProfileFile::Parse(*bytes);
  } else if (IsFileExist(path)) {
    return false;  // present but unreadable, or a folder
  }
  bool changed = value != nullptr ? file.Set(section, key, value) : file.Remove(section, key);
  if (!changed && (bytes || value == nullptr)) return true;
  return vk::WriteFileAtomically(path, file.Serialize());
}

bool WritePrivateProfileStructW(const char16_t* section, const char16_t* key, const void* data,
                                uint32_t size, const char16_t* path) {
  if (data == nullptr) return false;
  static constexpr char16_t kHex[] = u"0123456789ABCDEF";
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::u16string text;
  text.reserve(size * size_t{2} + 2);
  unsigned sum = 0;
  for (uint32_t i = 0; i < size; ++i) {
    text += kHex[bytes[i] >> 4];
    text += kHex[bytes[i] & 0x0F];
    sum += bytes[i];
  }
  text += kHex[(sum >> 4) & 0x0F];
  text += kHex[sum & 0x0F];
  return WritePrivateProfileStringW(section, key, text.c_str(), path);
}

bool GetPrivateProfileStructW(const char16_t* section, const char16_t* key, void* data,
                              uint32_t size, const char16_t* path) {
  if (data == nullptr) return false;
  auto value = vk::ReadValue(section, key, path);
  if (!value || value->size() != size * size_t{2} + 2) return false;
  auto digit = [](char16_t c) -> int {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    return -1;
  };
  std::string decoded;
  decoded.reserve(size + size_t{1});
  unsigned sum = 0;
  for (size_t i = 0; i < value->size(); i += 2) {
    int high = digit((*value)[i]), low = digit((*value)[i + 1]);
    if (high < 0 || low < 0) return false;
    decoded += static_cast<char>(high << 4 | low);
    if (decoded.size() <= size) sum += static_cast<unsigned>(high << 4 | low);
  }
  // The caller's memory is written only when the whole value checks out.
  if (static_cast<unsigned char>(decoded.back()) != (sum & 0xFF)) return false;
  std::memcpy(data, decoded.data(), size);
  return true;
}
