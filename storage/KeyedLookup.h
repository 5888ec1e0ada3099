// Answers a recognised lookup expression (KeyedPath) from the document's KeyedIndex with the
// nodes XPath 1.0 selects, in document order: the most selective keyed step is taken from
// the index, the steps before it are checked up the candidates' ancestors, and the steps
// after it are walked down from them.
#pragma once

#include <libxml/tree.h>

#include <optional>
#include <vector>

#include "storage/KeyedIndex.h"
#include "storage/KeyedPath.h"

namespace vk {

class KeyedLookup {
 public:
  KeyedLookup(KeyedIndex& index, xmlDocPtr doc, const KeyedPath& path)
      : index_(index), doc_(doc), path_(path) {}

  // None when this path cannot be answered here (no keyed step, a context outside the tree,
  // overlapping subtrees): the caller evaluates the expression in full.
  std::optional<std::vector<xmlNodePtr>> Select(xmlNodePtr context);

 private:
  bool Matches(xmlNodePtr node, size_t step) const;
  bool FitsAbove(xmlNodePtr node, size_t step) const;
  std::optional<std::vector<xmlNodePtr>> Below(std::vector<xmlNodePtr> nodes, size_t step) const;

  KeyedIndex& index_;
  xmlDocPtr doc_;
  const KeyedPath& path_;
  xmlNodePtr start_ = nullptr;
};

}  // namespace vk
