#include "tools/vaultkit/cli/Json.h"

#include <cstdio>

namespace vk::cli {

void PrintJson(const Json& document) {
  std::string text = document.dump(2, ' ', false, Json::error_handler_t::replace);
  std::printf("%s\n", text.c_str());
}

}  // namespace vk::cli
