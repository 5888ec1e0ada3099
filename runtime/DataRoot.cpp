// The data folder a client sets for the component, kept in the runtime that the client and
// the component share, so that a client needs no environment variable to place its data.
#include <cstring>
#include <mutex>
#include <string>

#include "vaultkit/vkcom.h"

namespace {

std::mutex g_mutex;
std::string g_folder;

}  // namespace

HRESULT VkSetDataRoot(const char* folder) {
  if (folder != nullptr && *folder != '\0' && *folder != '/') return E_INVALIDARG;
  std::lock_guard<std::mutex> hold(g_mutex);
  g_folder = folder != nullptr ? folder : "";
  return S_OK;
}

HRESULT VkGetDataRoot(char* out, size_t size) {
  if (out == nullptr) return E_INVALIDARG;
  std::lock_guard<std::mutex> hold(g_mutex);
  if (g_folder.size() + 1 > size) return E_INVALIDARG;
  std::memcpy(out, g_folder.c_str(), g_folder.size() + 1);
  return g_folder.empty() ? S_FALSE : S_OK;
}
