// Machine-readable output: every read command with --json prints one JSON document.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace vk::cli {

using Json = nlohmann::ordered_json;

// Prints the document to stdout, indented, followed by a line break. Text that is not valid
// UTF-8 is printed with replacement characters rather than failing.
void PrintJson(const Json& document);
// A number kept as attribute text, read as the stores read it (its leading digits, with an
// optional sign; 0 when it has none); null when the attribute is absent.
Json NumberJson(const std::optional<std::string>& text);

}  // namespace vk::cli
