#include "storage/XmlSaveForm.h"

namespace vk {
namespace {

bool IsWhitespaceOnly(const xmlChar* text) {
  for (; text != nullptr && *text != 0; ++text) {
    if (*text != ' ' && *text != '\t' && *text != '\n' && *text != '\r') return false;
  }
  return true;
}

}  // namespace

void XmlSaveForm::DropBlankText(xmlNodePtr parent) {
  bool preserve = xmlNodeGetSpacePreserve(parent) == 1;
  xmlNodePtr child = parent->children;
  while (child != nullptr) {
    xmlNodePtr next = child->next;
    if (child->type == XML_TEXT_NODE && !preserve && IsWhitespaceOnly(child->content)) {
      xmlUnlinkNode(child);
      xmlFreeNode(child);
    } else if (child->type == XML_ELEMENT_NODE) {
      DropBlankText(child);
    }
    child = next;
  }
}

std::optional<std::string> XmlSaveForm::DeclaredEncoding(std::string_view text) {
  if (!text.starts_with("<?xml")) return std::nullopt;
  std::string_view decl = text.substr(0, text.find("?>"));
  size_t at = decl.find("encoding");
  if (at == std::string_view::npos) return std::nullopt;
  size_t pos = decl.find_first_of("\"'", at);
  if (pos == std::string_view::npos) return std::nullopt;
  size_t end = decl.find(decl[pos], pos + 1);
  if (end == std::string_view::npos) return std::nullopt;
  return std::string(decl.substr(pos + 1, end - pos - 1));
}

std::string XmlSaveForm::Declaration(const xmlDoc* doc,
                                     const std::optional<std::string>& declared) {
  std::string text = "<?xml version=\"";
  text += doc->version != nullptr ? reinterpret_cast<const char*>(doc->version) : "1.0";
  text += "\"";
  if (declared) text += " encoding=\"" + *declared + "\"";
  if (doc->standalone == 1) text += " standalone=\"yes\"";
  if (doc->standalone == 0) text += " standalone=\"no\"";
  text += "?>\n";
  return text;
}

}  // namespace vk
