// Silences libxml2's default error printing for the lifetime of the object and keeps the
// first error it reports, so a failure becomes an error object instead of a line on stderr.
#pragma once

#include <libxml/xmlerror.h>

#include <string>

namespace vk {

class XmlErrorTrap {
 public:
  XmlErrorTrap();
  ~XmlErrorTrap();
  XmlErrorTrap(const XmlErrorTrap&) = delete;
  XmlErrorTrap& operator=(const XmlErrorTrap&) = delete;

  // The structured handler, for contexts that take their own (XPath).
  static void OnStructuredError(void* trap, xmlErrorPtr error);

  bool HasError() const { return !error_.empty() || !warning_.empty(); }
  // The first error's text (a warning's when there was no error), without its trailing
  // line break, e.g. "Invalid expression".
  std::u16string Message() const;
  std::u16string MessageOr(const char16_t* fallback) const;

 private:
  std::string error_;
  std::string warning_;
  xmlGenericErrorFunc saved_generic_;
  void* saved_generic_context_;
  xmlStructuredErrorFunc saved_structured_;
  void* saved_structured_context_;
};

}  // namespace vk
