// System strings: a 32-bit byte length, the UTF-16 characters and a NUL. The pointer handed
// out points at the first character.
#include <cstdlib>
#include <cstring>

#include "vaultkit/vkcom.h"

namespace {

size_t WideLength(const OLECHAR* text) {
  size_t n = 0;
  while (text[n] != 0) ++n;
  return n;
}

BSTR AllocBytes(const void* data, UINT bytes) {
  auto* block = static_cast<char*>(std::malloc(sizeof(uint32_t) + bytes + sizeof(OLECHAR) + 1));
  if (block == nullptr) return nullptr;
  uint32_t length = bytes;
  std::memcpy(block, &length, sizeof length);
  char* chars = block + sizeof(uint32_t);
  if (data != nullptr) {
    std::memcpy(chars, data, bytes);
  } else {
    std::memset(chars, 0, bytes);
  }
  std::memset(chars + bytes, 0, sizeof(OLECHAR) + 1);
  return reinterpret_cast<BSTR>(chars);
}

uint32_t StoredBytes(BSTR text) {
  uint32_t length;
  std::memcpy(&length, reinterpret_cast<char*>(text) - sizeof(uint32_t), sizeof length);
  return length;
}

}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
  if (text == nullptr) return nullptr;
  return AllocBytes(text, static_cast<UINT>(WideLength(text) * sizeof(OLECHAR)));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  return AllocBytes(text, length * static_cast<UINT>(sizeof(OLECHAR)));
}

BSTR SysAllocStringByteLen(const char* bytes, UINT length) {
  return AllocBytes(bytes, length);
}

void SysFreeString(BSTR text) {
  if (text != nullptr) std::free(reinterpret_cast<char*>(text) - sizeof(uint32_t));
}

UINT SysStringLen(BSTR text) {
  return text == nullptr ? 0 : StoredBytes(text) / sizeof(OLECHAR);
}

UINT SysStringByteLen(BSTR text) {
  return text == nullptr ? 0 : StoredBytes(text);
}

int SysReAllocString(BSTR* target, const OLECHAR* text) {
  if (target == nullptr) return FALSE;
  BSTR fresh = SysAllocString(text);
  if (fresh == nullptr && text != nullptr) return FALSE;
  SysFreeString(*target);
  *target = fresh;
  return TRUE;
}
