#include "tools/vaultkit/cli/Json.h"

#include <cstdio>
#include <cstdlib>

namespace vk::cli {

void PrintJson(const Json& document) {
  std::string text = document.dump(2, ' ', false, Json::error_handler_t::replace);
  std::printf("%s\n", text.c_str());
}

Json NumberJson(const std::optional<std::string>& text) {
  if (!text) return nullptr;
  return static_cast<int32_t>(std::strtol(text->c_str(), nullptr, 10));
}

}  // namespace vk::cli
