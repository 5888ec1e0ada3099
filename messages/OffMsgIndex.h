// One channel's index file: XML in the local ANSI code page (GBK) whatever its declaration
// says, with an OffMsgIndexData root holding one OffMsgRec per message. Rewritten whole, in
// the same code page, with the declaration and attribute order as read.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "storage/DomDocument.h"

namespace vk {

class OffMsgIndex {
 public:
  // The local ANSI code page the files are in.
  static constexpr char kCodePage[] = "GBK";

  // False when the file is missing, unreadable or not well-formed.
  bool Load(std::u16string_view path);
  // The OffMsgIndexData document element; null when the root has another name.
  DomNode Root() const;
  // The OffMsgRec children of the root, in file order.
  std::vector<DomNode> Records() const;
  // The document as saved; none when it cannot be serialised.
  std::optional<std::string> Bytes() const;
  bool Save(std::u16string_view path) const;

 private:
  DomDocument doc_;
};

// A text attribute as the client reads it: absent reads as empty.
std::u16string TextAttribute(const DomNode& element, std::u16string_view name);

}  // namespace vk
