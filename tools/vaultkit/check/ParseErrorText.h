// The parser's message for a document that did not load, on one line.
#pragma once

#include <string>

#include "platform/Text.h"
#include "storage/DomDocument.h"

namespace vk::cli {

inline std::string ParseErrorText(const DomDocument& document) {
  std::string text = ToUtf8(document.ParseError());
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) {
    text.pop_back();
  }
  for (char& c : text) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return text.empty() ? "not well-formed" : text;
}

}  // namespace vk::cli
