// The rules by which a loaded document is shaped and saved, shared by the tree and by the
// streaming rewrite of an index so that both write the same bytes.
#pragma once

#include <libxml/tree.h>

#include <optional>
#include <string>
#include <string_view>

namespace vk {

class XmlSaveForm {
 public:
  // Drops whitespace-only text nodes below `parent` (outside xml:space="preserve"), as a DOM
  // that does not preserve white space loads them, so sibling walks meet elements.
  static void DropBlankText(xmlNodePtr parent);
  // The encoding named by the XML declaration at the start of well-formed text.
  static std::optional<std::string> DeclaredEncoding(std::string_view text);
  // The declaration a document is saved behind, naming the encoding it declared.
  static std::string Declaration(const xmlDoc* doc, const std::optional<std::string>& declared);
};

}  // namespace vk
