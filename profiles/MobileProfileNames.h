// The names a new mobile profile entry must not take: those of the leading element children of
// the root (from the first child while they are elements, whatever their tag), compared
// regardless of case unit by unit. Counted by lower-cased name, so that finding a free name
// does not walk every entry; built by one walk on the first question about a document and
// kept in step by the store's own appends and removals, the only changes made to it.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "storage/DomNode.h"

namespace vk {

class MobileProfileNames {
 public:
  // Forgets the names; the next question walks the document again.
  void Reset();
  bool Taken(const DomNode& root, std::u16string_view name);
  // After an entry was appended to the root.
  void Appended(const DomNode& entry);
  // Before a child of the root is removed; `leading` when no other node came before it.
  void Removing(const DomNode& child, bool leading);

 private:
  void Build(const DomNode& root);

  bool built_ = false;
  // Every child of the root is an element, so an appended entry leads too.
  bool all_elements_ = true;
  std::unordered_map<std::u16string, size_t> counts_;
};

// The Name attribute of an element; empty for anything else.
std::u16string EntryName(const DomNode& entry);

}  // namespace vk
