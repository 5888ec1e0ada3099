// Document order of the nodes of one libxml2 tree, computed from the tree itself so that it
// holds after any change: no numbering is kept.
#pragma once

#include <libxml/tree.h>

namespace vk {

// True when ancestor is a proper ancestor of node.
bool IsAncestorOf(xmlNodePtr ancestor, xmlNodePtr node);
// True when a comes before b in document order (a node precedes its descendants).
bool PrecedesInDocument(xmlNodePtr a, xmlNodePtr b);

}  // namespace vk
