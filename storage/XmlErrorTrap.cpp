#include "storage/XmlErrorTrap.h"

#include <libxml/globals.h>

#include "platform/Text.h"

namespace vk {
namespace {

void DiscardGenericError(void*, const char*, ...) {}

}  // namespace

// libxml2 keeps its handlers per thread, so saving and restoring them here is thread-safe.
XmlErrorTrap::XmlErrorTrap()
    : saved_generic_(xmlGenericError),
      saved_generic_context_(xmlGenericErrorContext),
      saved_structured_(xmlStructuredError),
      saved_structured_context_(xmlStructuredErrorContext) {
  xmlSetGenericErrorFunc(nullptr, DiscardGenericError);
  xmlSetStructuredErrorFunc(this, OnStructuredError);
}

XmlErrorTrap::~XmlErrorTrap() {
  xmlSetGenericErrorFunc(saved_generic_context_, saved_generic_);
  xmlSetStructuredErrorFunc(saved_structured_context_, saved_structured_);
}

void XmlErrorTrap::OnStructuredError(void* trap, xmlErrorPtr error) {
  auto* self = static_cast<XmlErrorTrap*>(trap);
  if (self == nullptr || error == nullptr) return;
  std::string& slot = error->level == XML_ERR_WARNING ? self->warning_ : self->error_;
  if (!slot.empty()) return;
  slot = error->message != nullptr ? error->message : "";
  while (!slot.empty() && (slot.back() == '\n' || slot.back() == '\r')) slot.pop_back();
  if (slot.empty()) slot = "XML error";
  if (error->line > 0) slot += " (line " + std::to_string(error->line) + ")";
}

std::u16string XmlErrorTrap::Message() const {
  return FromUtf8(error_.empty() ? warning_ : error_);
}

std::u16string XmlErrorTrap::MessageOr(const char16_t* fallback) const {
  return HasError() ? Message() : std::u16string(fallback);
}

}  // namespace vk
