#include "storage/DomNodeList.h"

#include "storage/DomDocumentState.h"

namespace vk {

DomNodeList::DomNodeList(std::shared_ptr<DomDocumentState> state, std::vector<xmlNodePtr> nodes)
    : state_(std::move(state)), nodes_(std::move(nodes)) {
  if (state_) state_->AddHandle();
}

DomNodeList::DomNodeList(const DomNodeList& other) : state_(other.state_), nodes_(other.nodes_) {
  if (state_) state_->AddHandle();
}

DomNodeList::DomNodeList(DomNodeList&& other) noexcept
    : state_(std::move(other.state_)), nodes_(std::move(other.nodes_)) {}

DomNodeList& DomNodeList::operator=(DomNodeList other) noexcept {
  std::swap(state_, other.state_);
  std::swap(nodes_, other.nodes_);
  return *this;
}

DomNodeList::~DomNodeList() {
  if (state_) state_->ReleaseHandle();
}

DomNode DomNodeList::Item(long index) const {
  if (index < 0 || index >= Length()) return DomNode();
  return DomNode(state_, nodes_[static_cast<size_t>(index)]);
}

}  // namespace vk
