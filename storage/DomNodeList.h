// A fixed list of nodes of one document: an XPath selection or a snapshot of an element's
// children. Holding the list keeps its nodes alive.
#pragma once

#include <libxml/tree.h>

#include <memory>
#include <vector>

#include "storage/DomNode.h"

namespace vk {

class DomNodeList {
 public:
  DomNodeList() = default;
  DomNodeList(std::shared_ptr<DomDocumentState> state, std::vector<xmlNodePtr> nodes);
  DomNodeList(const DomNodeList& other);
  DomNodeList(DomNodeList&& other) noexcept;
  DomNodeList& operator=(DomNodeList other) noexcept;
  ~DomNodeList();

  long Length() const { return static_cast<long>(nodes_.size()); }
  // Null when index is out of range, as the W3C DOM answers.
  DomNode Item(long index) const;

 private:
  std::shared_ptr<DomDocumentState> state_;
  std::vector<xmlNodePtr> nodes_;
};

}  // namespace vk
