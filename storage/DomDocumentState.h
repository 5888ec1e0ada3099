// The libxml2 document behind a DomDocument and every node handle taken from it. Nodes
// that are not in the tree (new elements, removed children) stay alive while any handle of
// the document is alive and are freed when the last one goes, so a handle never names freed
// memory and detached nodes do not pile up between operations.
#pragma once

#include <libxml/tree.h>

#include <optional>
#include <string>
#include <vector>

#include "storage/KeyedIndex.h"

namespace vk {

class DomDocumentState {
 public:
  // Takes ownership of doc. encoding: the name the XML declaration gives, kept as written.
  DomDocumentState(xmlDocPtr doc, std::optional<std::string> encoding);
  ~DomDocumentState();
  DomDocumentState(const DomDocumentState&) = delete;
  DomDocumentState& operator=(const DomDocumentState&) = delete;

  xmlDocPtr Doc() const { return doc_; }
  const std::optional<std::string>& DeclaredEncoding() const { return encoding_; }
  // The keyed lookups' index of this tree; every change to the tree goes through it.
  KeyedIndex& Index() { return index_; }

  void AddHandle() { ++handles_; }
  void ReleaseHandle();
  // Records a node that has just left the tree or was created outside it.
  void TrackDetached(xmlNodePtr node) { detached_.push_back(node); }

 private:
  void FreeDetached();

  xmlDocPtr doc_;
  std::optional<std::string> encoding_;
  long handles_ = 0;
  std::vector<xmlNodePtr> detached_;
  KeyedIndex index_{doc_};
};

}  // namespace vk
