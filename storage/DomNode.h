// A handle to one node of a DomDocument: an element, an attribute, a text or another node.
// Operations that do not apply to the node's kind, and every libxml2 failure, throw
// vk::ComError. A default-constructed handle is null ("nothing selected").
#pragma once

#include <libxml/tree.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vk {

class DomDocumentState;
class DomNodeList;

class DomNode {
 public:
  DomNode() = default;
  DomNode(std::shared_ptr<DomDocumentState> state, xmlNodePtr node);
  DomNode(const DomNode& other);
  DomNode(DomNode&& other) noexcept;
  DomNode& operator=(DomNode other) noexcept;
  ~DomNode();

  bool IsNull() const { return node_ == nullptr; }
  explicit operator bool() const { return node_ != nullptr; }
  bool IsElement() const;
  bool operator==(const DomNode& other) const { return node_ == other.node_; }

  std::u16string NodeName() const;
  // The W3C node value: an attribute's value, a text's or comment's content; none for an
  // element or the document.
  std::optional<std::u16string> NodeValue() const;
  // Sets an attribute's value or a text's content; an element has no node value to set.
  void SetNodeValue(std::u16string_view value);
  // The concatenated text of the node and its descendants.
  std::u16string Text() const;
  // Replaces an element's children with one text node holding `text` as it is (no entity
  // references are read from it); an empty text leaves the element without children.
  void SetText(std::u16string_view text);

  // Attributes of an element: an absent attribute is none, an empty one is "".
  std::optional<std::u16string> GetAttribute(std::u16string_view name) const;
  void SetAttribute(std::u16string_view name, std::u16string_view value);
  // Written as a decimal integer.
  void SetAttribute(std::u16string_view name, int64_t value);

  DomNode FirstChild() const;
  DomNode NextSibling() const;
  DomNode ParentNode() const;
  DomNodeList ChildNodes() const;
  // Moves child to the end of this element's children and returns it.
  DomNode AppendChild(const DomNode& child);
  // Moves child before reference, a child of this element (to the end when it is null).
  DomNode InsertBefore(const DomNode& child, const DomNode& reference);
  // Detaches child from this element and returns it; its siblings are no longer reachable
  // from it. A node that is not a child of this one is an error.
  DomNode RemoveChild(const DomNode& child);

  // XPath 1.0 with this node as the context node.
  DomNode SelectSingleNode(std::u16string_view xpath) const;
  DomNodeList SelectNodes(std::u16string_view xpath) const;

  xmlNodePtr Raw() const { return node_; }
  const std::shared_ptr<DomDocumentState>& State() const { return state_; }

 private:
  DomNode Wrap(xmlNodePtr node) const;
  std::vector<xmlNodePtr> Select(std::u16string_view xpath) const;
  void RequireNode() const;
  void RequireElement() const;
  void RequireInsertable(const DomNode& child) const;

  std::shared_ptr<DomDocumentState> state_;
  xmlNodePtr node_ = nullptr;
};

}  // namespace vk
