// One channel's index file: XML in the local ANSI code page (GBK) whatever its declaration
// says, with an OffMsgIndexData root holding one OffMsgRec per message. Rewritten whole, in
// the same code page, with the declaration and attribute order as read.
#pragma once

#include <string>
#include <vector>

#include "storage/DomDocument.h"

namespace vk {

class OffMsgIndex {
 public:
  // False when the file is missing, unreadable or not well-formed.
  bool Load(std::u16string_view path);
  // The OffMsgIndexData document element; null when the root has another name.
  DomNode Root() const;
  // The OffMsgRec children of the root, in file order.
  std::vector<DomNode> Records() const;
  bool Save(std::u16string_view path) const;

 private:
  DomDocument doc_;
};

// A text attribute as the client reads it: absent reads as empty.
std::u16string TextAttribute(const DomNode& element, std::u16string_view name);

}  // namespace vk
