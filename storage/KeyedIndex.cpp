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

const std::vector<xmlNodePtr>& KeyedIndex::Find(const std::string& element,
                                                const std::string& attribute, bool folded,
                                                const std::string& value) {
  Table& table = TableFor(element, attribute, folded);
  auto found = table.buckets.find(value);
  if (found == table.buckets.end()) return kNone;
  Bucket& bucket = found->second;
  if (!bucket.ordered) {
    std::sort(bucket.elements.begin(), bucket.elements.end(), PrecedesInDocument);
    bucket.ordered = true;
  }
  return bucket.elements;
}

void KeyedIndex::Add(xmlNodePtr element) {
  for (const std::unique_ptr<Table>& table : tables_) {
    std::optional<std::string> key =
        KeyOf(element, table->element, table->attribute, table->folded);
    if (!key) continue;
    Bucket& bucket = table->buckets[*key];
    bucket.elements.push_back(element);
    if (bucket.elements.size() > 1) bucket.ordered = false;
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
