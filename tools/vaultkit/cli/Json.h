// Machine-readable output: every read command with --json prints one JSON document.
#pragma once

#include <nlohmann/json.hpp>

namespace vk::cli {

using Json = nlohmann::ordered_json;

// Prints the document to stdout, indented, followed by a line break. Text that is not valid
// UTF-8 is printed with replacement characters rather than failing.
void PrintJson(const Json& document);

}  // namespace vk::cli
