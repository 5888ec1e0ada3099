#include "storage/DomDocumentState.h"

#include <algorithm>

namespace vk {

DomDocumentState::DomDocumentState(xmlDocPtr doc, std::optional<std::string> encoding)
    : doc_(doc), encoding_(std::move(encoding)) {}

DomDocumentState::~DomDocumentState() {
  FreeDetached();
  xmlFreeDoc(doc_);
}

void DomDocumentState::ReleaseHandle() {
  if (--handles_ == 0) FreeDetached();
}

void DomDocumentState::FreeDetached() {
  if (detached_.empty()) return;
  // Decide every entry before freeing any: a node that was appended somewhere (into the
  // tree or into another detached node) has a parent and is owned by it.
  std::vector<xmlNodePtr> roots;
  for (xmlNodePtr node : detached_) {
    if (node->parent == nullptr) roots.push_back(node);
  }
  detached_.clear();
  std::sort(roots.begin(), roots.end());
  roots.erase(std::unique(roots.begin(), roots.end()), roots.end());
  for (xmlNodePtr node : roots) xmlFreeNode(node);
}

}  // namespace vk
