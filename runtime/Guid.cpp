// Identifier comparison and the registry's text form of identifiers.
#include <cstdio>
#include <cstring>

#include "vaultkit/vkcom.h"

int IsEqualGUID(const GUID* a, const GUID* b) {
  return std::memcmp(a, b, sizeof(GUID)) == 0;
}

void VkGuidToString(const GUID* g, char out[39]) {
  std::snprintf(out, 39, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", g->Data1, g->Data2,
                g->Data3, g->Data4[0], g->Data4[1], g->Data4[2], g->Data4[3], g->Data4[4],
                g->Data4[5], g->Data4[6], g->Data4[7]);
}

int VkGuidFromString(const char* text, GUID* g) {
  if (text == nullptr || g == nullptr || std::strlen(text) != 38) return FALSE;
  unsigned d1, d2, d3, b[8];
  char close = 0;
  int n = std::sscanf(text, "{%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x%c", &d1, &d2, &d3, &b[0], &b[1],
                      &b[2], &b[3], &b[4], &b[5], &b[6], &b[7], &close);
  if (n != 12 || close != '}') return FALSE;
  g->Data1 = d1;
  g->Data2 = static_cast<uint16_t>(d2);
  g->Data3 = static_cast<uint16_t>(d3);
  for (int i = 0; i < 8; ++i) g->Data4[i] = static_cast<uint8_t>(b[i]);
  return TRUE;
}
