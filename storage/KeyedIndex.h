// An index of one document's elements by the value of one attribute, for the keyed lookups:
// (element name, attribute name, folded or not) -> value -> the elements in the tree that
// carry it, in document order. A table is built by one walk of the tree on the first lookup
// of its shape; every change made through the DOM layer then tells the index before and
// after it touches the tree, so the tables stay in step without another walk. Elements
// inside a namespace, or an attribute inside one, never match a plain name test and are not
// indexed. With the folded form a missing attribute reads as "", as translate() reads it.
#pragma once

#include <libxml/tree.h>

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace vk {

class KeyedIndex {
 public:
  explicit KeyedIndex(xmlDocPtr doc) : doc_(doc) {}

  // How many elements named `element` have `attribute` (folded when asked) equal to value.
  size_t Count(const std::string& element, const std::string& attribute, bool folded,
               const std::string& value);
  // Those elements, in document order.
  const std::vector<xmlNodePtr>& InOrder(const std::string& element, const std::string& attribute,
                                         bool folded, const std::string& value);
  // The key an element has in a table of that shape; none when it is not in that table.
  static std::optional<std::string> KeyOf(xmlNodePtr element, const std::string& name,
                                          const std::string& attribute, bool folded);
  // True when node is in the document's tree (reached from the document through elements).
  bool InTree(xmlNodePtr node) const;

  // Before an element's attributes change and after: its entries move with the values.
  void BeforeAttributeChange(xmlNodePtr element);
  void AfterAttributeChange(xmlNodePtr element);
  // Before a node leaves its place and after it reaches a new one: the entries of its
  // subtree go and come back when the place is in the tree.
  void BeforeDetach(xmlNodePtr node);
  void AfterAttach(xmlNodePtr node);

 private:
  struct Bucket {
    std::vector<xmlNodePtr> elements;
    bool ordered = true;
  };
  struct Table {
    std::string element;
    std::string attribute;
    bool folded = false;
    std::unordered_map<std::string, Bucket> buckets;
  };

  Bucket* Find(const std::string& element, const std::string& attribute, bool folded,
               const std::string& value);
  void Order(Bucket& bucket) const;
  Table& TableFor(const std::string& element, const std::string& attribute, bool folded);
  void Add(xmlNodePtr element);
  void Remove(xmlNodePtr element);
  template <typename Visit>
  static void WalkElements(xmlNodePtr top, Visit&& visit);

  xmlDocPtr doc_;
  std::vector<std::unique_ptr<Table>> tables_;
  static const std::vector<xmlNodePtr> kNone;
  static constexpr size_t kLargeBucket = 16;
};

}  // namespace vk
