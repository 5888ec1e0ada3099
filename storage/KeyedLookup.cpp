#include "storage/KeyedLookup.h"

#include "storage/DocumentOrder.h"

namespace vk {
namespace {

// True when some node of the list lies inside another: the steps below them would then
// interleave or repeat, which a plain concatenation does not reproduce. In a list in
// document order, a node inside an earlier one is also inside the one just before it.
bool AnyNested(const std::vector<xmlNodePtr>& nodes) {
  for (size_t i = 1; i < nodes.size(); ++i) {
    if (IsAncestorOf(nodes[i - 1], nodes[i])) return true;
  }
  return false;
}

}  // namespace

bool KeyedLookup::Matches(xmlNodePtr node, size_t step) const {
  const KeyedStep& s = path_.steps[step];
  if (!s.predicate) {
    return node->type == XML_ELEMENT_NODE && node->ns == nullptr &&
           s.element == reinterpret_cast<const char*>(node->name);
  }
  std::optional<std::string> key =
      KeyedIndex::KeyOf(node, s.element, s.predicate->attribute, s.predicate->folded);
  return key && *key == s.predicate->literal;
}

// node matches `step`; true when the steps before it lead there from the start node.
bool KeyedLookup::FitsAbove(xmlNodePtr node, size_t step) const {
  const bool descendant = path_.steps[step].descendant;
  if (step == 0) return descendant ? IsAncestorOf(start_, node) : node->parent == start_;
  for (xmlNodePtr up = node->parent; up != nullptr && up->type == XML_ELEMENT_NODE;
       up = up->parent) {
    if (Matches(up, step - 1) && FitsAbove(up, step - 1)) return true;
    if (!descendant) break;
  }
  return false;
}

// The nodes the steps from `step` on select below `nodes` (in document order).
std::optional<std::vector<xmlNodePtr>> KeyedLookup::Below(std::vector<xmlNodePtr> nodes,
                                                          size_t step) const {
  for (; step < path_.steps.size(); ++step) {
    if (AnyNested(nodes)) return std::nullopt;
    std::vector<xmlNodePtr> next;
    for (xmlNodePtr node : nodes) {
      if (!path_.steps[step].descendant) {
        for (xmlNodePtr child = node->children; child != nullptr; child = child->next) {
          if (Matches(child, step)) next.push_back(child);
        }
        continue;
      }
      // Pre-order over the element descendants.
      for (xmlNodePtr at = node->children; at != nullptr && at != node;) {
        if (at->type == XML_ELEMENT_NODE) {
          if (Matches(at, step)) next.push_back(at);
          if (at->children != nullptr) {
            at = at->children;
            continue;
          }
        }
        while (at->next == nullptr && at != node) at = at->parent;
        if (at != node) at = at->next;
      }
    }
    nodes = std::move(next);
  }
  return nodes;
}

std::optional<std::vector<xmlNodePtr>> KeyedLookup::Select(xmlNodePtr context) {
  if (path_.absolute) {
    start_ = reinterpret_cast<xmlNodePtr>(doc_);
  } else if (context != nullptr &&
             (context->type == XML_ELEMENT_NODE || context->type == XML_DOCUMENT_NODE) &&
             index_.InTree(context)) {
    start_ = context;
  } else {
    return std::nullopt;
  }
  // The keyed step with the fewest candidates anchors the search.
  std::optional<size_t> anchor;
  size_t fewest = 0;
  for (size_t i = 0; i < path_.steps.size(); ++i) {
    const KeyedStep& step = path_.steps[i];
    if (!step.predicate) continue;
    size_t count = index_.Count(step.element, step.predicate->attribute, step.predicate->folded,
                                step.predicate->literal);
    if (!anchor || count < fewest) {
      anchor = i;
      fewest = count;
    }
  }
  if (!anchor) return std::nullopt;
  const KeyedStep& step = path_.steps[*anchor];
  const std::vector<xmlNodePtr>& candidates = index_.InOrder(
      step.element, step.predicate->attribute, step.predicate->folded, step.predicate->literal);
  std::vector<xmlNodePtr> anchors;
  for (xmlNodePtr candidate : candidates) {
    if (FitsAbove(candidate, *anchor)) anchors.push_back(candidate);
  }
  return Below(std::move(anchors), *anchor + 1);
}

}  // namespace vk
