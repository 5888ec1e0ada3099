#include "storage/KeyedIndex.h"

#include <algorithm>
#include <optional>

#include "storage/DocumentOrder.h"

namespace vk {
namespace {

bool IsNamed(xmlNodePtr node, const std::string& name) {
  return node->ns == nullptr && node->name != nullptr &&
         name == reinterpret_cast<const char*>(node->name);
}

// The attribute's string value as XPath reads it.
std::string AttributeValue(xmlAttrPtr attr) {
  xmlNodePtr text = attr->children;
  if (text == nullptr) return std::string();
  if (text->next == nullptr && text->type == XML_TEXT_NODE && text->content != nullptr) {
    return reinterpret_cast<const char*>(text->content);
  }
  xmlChar* joined = xmlNodeGetContent(reinterpret_cast<xmlNodePtr>(attr));
  std::string value = joined != nullptr ? reinterpret_cast<const char*>(joined) : "";
  xmlFree(joined);
  return value;
}

}  // namespace

const std::vector<xmlNodePtr> KeyedIndex::kNone;

std::optional<std::string> KeyedIndex::KeyOf(xmlNodePtr element, const std::string& name,
                                             const std::string& attribute, bool folded) {
  if (element->type != XML_ELEMENT_NODE || !IsNamed(element, name)) return std::nullopt;
  for (xmlAttrPtr attr = element->properties; attr != nullptr; attr = attr->next) {
    if (!IsNamed(reinterpret_cast<xmlNodePtr>(attr), attribute)) continue;
    std::string value = AttributeValue(attr);
    if (folded) {
      for (char& c : value) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
      }
    }
    return value;
  }
  if (folded) return std::string();
  return std::nullopt;
}

template <typename Visit>
void KeyedIndex::WalkElements(xmlNodePtr top, Visit&& visit) {
  // Pre-order over elements only, as XPath's child and descendant axes go: not into entity
  // references, attributes or the DTD.
  if (top->type == XML_ELEMENT_NODE) visit(top);
  xmlNodePtr node = top->children;
  while (node != nullptr && node != top) {
    if (node->type == XML_ELEMENT_NODE) {
      visit(node);
      if (node->children != nullptr) {
        node = node->children;
        continue;
      }
    }
    while (node->next == nullptr && node != top) node = node->parent;
    if (node != top) node = node->next;
  }
}

bool KeyedIndex::InTree(xmlNodePtr node) const {
  for (xmlNodePtr up = node; up != nullptr; up = up->parent) {
    if (up == reinterpret_cast<xmlNodePtr>(doc_)) return true;
    if (up->type != XML_ELEMENT_NODE) return false;
  }
  return false;
}

KeyedIndex::Table& KeyedIndex::TableFor(const std::string& element, const std::string& attribute,
                                        bool folded) {
  for (const std::unique_ptr<Table>& table : tables_) {
    if (table->element == element && table->attribute == attribute && table->folded == folded) {
      return *table;
    }
  }
  auto table = std::make_unique<Table>();
  table->element = element;
  table->attribute = attribute;
  table->folded = folded;
  WalkElements(reinterpret_cast<xmlNodePtr>(doc_), [&](xmlNodePtr node) {
    if (std::optional<std::string> key = KeyOf(node, element, attribute, folded)) {
      table->buckets[*key].elements.push_back(node);
    }
  });
  tables_.push_back(std::move(table));
  return *tables_.back();
}

KeyedIndex::Bucket* KeyedIndex::Find(const std::string& element, const std::string& attribute,
                                     bool folded, const std::string& value) {
  Table& table = TableFor(element, attribute, folded);
  auto found = table.buckets.find(value);
  return found != table.buckets.end() ? &found->second : nullptr;
}

size_t KeyedIndex::Count(const std::string& element, const std::string& attribute, bool folded,
                         const std::string& value) {
  Bucket* bucket = Find(element, attribute, folded, value);
  return bucket != nullptr ? bucket->elements.size() : 0;
}

const std::vector<xmlNodePtr>& KeyedIndex::InOrder(const std::string& element,
                                                   const std::string& attribute, bool folded,
                                                   const std::string& value) {
  Bucket* bucket = Find(element, attribute, folded, value);
  if (bucket == nullptr) return kNone;
  if (!bucket->ordered) Order(*bucket);
  return bucket->elements;
}

void KeyedIndex::Order(Bucket& bucket) const {
  std::vector<xmlNodePtr>& elements = bucket.elements;
  bucket.ordered = true;
  if (elements.size() <= kLargeBucket) {
    std::sort(elements.begin(), elements.end(), PrecedesInDocument);
    return;
  }
  // Many elements share the value: one walk of the tree ranks them all, where pairwise
  // comparisons could each walk a long run of siblings.
  std::unordered_map<xmlNodePtr, size_t> rank;
  for (xmlNodePtr element : elements) rank.emplace(element, 0);
  size_t next = 0;
  WalkElements(reinterpret_cast<xmlNodePtr>(doc_), [&](xmlNodePtr node) {
    auto found = rank.find(node);
    if (found != rank.end()) found->second = next++;
  });
  std::sort(elements.begin(), elements.end(),
            [&](xmlNodePtr a, xmlNodePtr b) { return rank[a] < rank[b]; });
}

void KeyedIndex::Add(xmlNodePtr element) {
  for (const std::unique_ptr<Table>& table : tables_) {
    std::optional<std::string> key =
        KeyOf(element, table->element, table->attribute, table->folded);
    if (!key) continue;
    Bucket& bucket = table->buckets[*key];
    // Most additions are appended at the end of the tree, which keeps the order; the check
    // costs little then, as it walks from both ends of the gap at once.
    if (bucket.ordered && !bucket.elements.empty()) {
      bucket.ordered = PrecedesInDocument(bucket.elements.back(), element);
    }
    bucket.elements.push_back(element);
  }
}

void KeyedIndex::Remove(xmlNodePtr element) {
  for (const std::unique_ptr<Table>& table : tables_) {
    std::optional<std::string> key =
        KeyOf(element, table->element, table->attribute, table->folded);
    if (!key) continue;
    auto found = table->buckets.find(*key);
    if (found != table->buckets.end()) {
      std::vector<xmlNodePtr>& elements = found->second.elements;
      auto at = std::find(elements.begin(), elements.end(), element);
      if (at != elements.end()) {
        elements.erase(at);  // keeps the others in order
        if (elements.empty()) table->buckets.erase(found);
        continue;
      }
    }
    // Out of step (which no change through the DOM layer causes): start again from the tree.
    tables_.clear();
    return;
  }
}

void KeyedIndex::BeforeAttributeChange(xmlNodePtr element) {
  if (!tables_.empty() && InTree(element)) Remove(element);
}

void KeyedIndex::AfterAttributeChange(xmlNodePtr element) {
  if (!tables_.empty() && InTree(element)) Add(element);
}

void KeyedIndex::BeforeDetach(xmlNodePtr node) {
  if (tables_.empty() || !InTree(node)) return;
  WalkElements(node, [&](xmlNodePtr element) { Remove(element); });
}

void KeyedIndex::AfterAttach(xmlNodePtr node) {
  if (tables_.empty() || !InTree(node)) return;
  WalkElements(node, [&](xmlNodePtr element) { Add(element); });
}

}  // namespace vk
