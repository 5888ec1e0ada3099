#include "storage/DocumentOrder.h"

#include <algorithm>
#include <vector>

namespace vk {
namespace {

std::vector<xmlNodePtr> PathFromTop(xmlNodePtr node) {
  std::vector<xmlNodePtr> path;
  for (; node != nullptr; node = node->parent) path.push_back(node);
  std::reverse(path.begin(), path.end());
  return path;
}

}  // namespace

bool IsAncestorOf(xmlNodePtr ancestor, xmlNodePtr node) {
  for (xmlNodePtr up = node->parent; up != nullptr; up = up->parent) {
    if (up == ancestor) return true;
  }
  return false;
}

bool PrecedesInDocument(xmlNodePtr a, xmlNodePtr b) {
  if (a == b) return false;
  std::vector<xmlNodePtr> from_a = PathFromTop(a);
  std::vector<xmlNodePtr> from_b = PathFromTop(b);
  size_t common = 0;
  while (common < from_a.size() && common < from_b.size() && from_a[common] == from_b[common]) {
    ++common;
  }
  if (common == from_a.size()) return true;  // a is an ancestor of b
  if (common == from_b.size()) return false;
  // Siblings under the deepest common ancestor: walk forward from both at once, so the
  // cost is the distance between them or to the end, whichever is shorter.
  xmlNodePtr x = from_a[common];
  xmlNodePtr y = from_b[common];
  for (xmlNodePtr p = x->next, q = y->next;; p = p->next, q = q->next) {
    if (p == y) return true;
    if (q == x || p == nullptr) return false;
    if (q == nullptr) return true;
  }
}

}  // namespace vk
