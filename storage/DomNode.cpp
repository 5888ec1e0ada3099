#include "storage/DomNode.h"

#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <vector>

#include "platform/ComError.h"
#include "platform/Text.h"
#include "storage/DomDocumentState.h"
#include "storage/DomNodeList.h"
#include "storage/KeyedLookup.h"
#include "storage/KeyedPath.h"
#include "storage/XmlErrorTrap.h"

namespace vk {
namespace {

const xmlChar* X(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

std::u16string FromXml(const xmlChar* text) {
  return text == nullptr ? std::u16string() : FromUtf8(reinterpret_cast<const char*>(text));
}

// Takes ownership of a string libxml2 allocated.
std::u16string TakeXml(xmlChar* text) {
  std::u16string result = FromXml(text);
  xmlFree(text);
  return result;
}

// XML 1.0 cannot hold C0 controls other than tab, line feed and carriage return, nor U+FFFE
// and U+FFFF: libxml2 would write them as character references that no parser reads back,
// and the next load would lose the whole file. Such texts are refused up front.
std::string ToXmlText(std::u16string_view text) {
  for (char16_t c : text) {
    if ((c < 0x20 && c != u'\t' && c != u'\n' && c != u'\r') || c == 0xFFFE || c == 0xFFFF) {
      throw ComError(E_INVALIDARG, u"The text contains a character that XML cannot hold.");
    }
  }
  return ToUtf8(text);
}

std::string ToXmlName(std::u16string_view name) {
  std::string utf8 = ToXmlText(name);
  if (utf8.empty() || xmlValidateName(X(utf8), 0) != 0) {
    throw ComError(E_INVALIDARG, u"'" + std::u16string(name) + u"' is not a valid XML name.");
  }
  return utf8;
}

std::string QualifiedName(xmlNodePtr node) {
  std::string name = node->name != nullptr ? reinterpret_cast<const char*>(node->name) : "";
  if (node->ns != nullptr && node->ns->prefix != nullptr) {
    name = reinterpret_cast<const char*>(node->ns->prefix) + (":" + name);
  }
  return name;
}

xmlAttrPtr FindAttribute(xmlNodePtr element, const std::string& name) {
  for (xmlAttrPtr attr = element->properties; attr != nullptr; attr = attr->next) {
    if (QualifiedName(reinterpret_cast<xmlNodePtr>(attr)) == name) return attr;
  }
  return nullptr;
}

const char16_t* TypeName(xmlElementType type) {
  switch (type) {
    case XML_ELEMENT_NODE:
      return u"ELEMENT";
    case XML_DOCUMENT_NODE:
      return u"DOCUMENT";
    case XML_ENTITY_REF_NODE:
      return u"ENTITY REFERENCE";
    default:
      return u"this kind of node";
  }
}

// Evaluates an XPath 1.0 expression (`expression`, the UTF-8 form of xpath); the result
// must be a node set.
std::vector<xmlNodePtr> Evaluate(xmlDocPtr doc, xmlNodePtr context, const std::string& expression,
                                 std::u16string_view xpath) {
  XmlErrorTrap trap;
  xmlXPathContextPtr ctx = xmlXPathNewContext(doc);
  if (ctx == nullptr) throw ComError(E_OUTOFMEMORY, u"Cannot create an XPath context.");
  ctx->node = context;
  ctx->error = XmlErrorTrap::OnStructuredError;
  ctx->userData = &trap;
  xmlXPathObjectPtr result = xmlXPathEvalExpression(X(expression), ctx);
  xmlXPathFreeContext(ctx);
  if (result == nullptr) {
    throw ComError(E_FAIL,
                   trap.MessageOr(u"Invalid XPath expression.") + u": " + std::u16string(xpath));
  }
  if (result->type != XPATH_NODESET) {
    xmlXPathFreeObject(result);
    throw ComError(E_FAIL, u"Expression does not evaluate to a node-set: " + std::u16string(xpath));
  }
  std::vector<xmlNodePtr> nodes;
  if (result->nodesetval != nullptr) {
    nodes.reserve(static_cast<size_t>(result->nodesetval->nodeNr));
    for (int i = 0; i < result->nodesetval->nodeNr; ++i) {
      xmlNodePtr node = result->nodesetval->nodeTab[i];
      // Namespace nodes are copies that die with the result; the stores never ask for them.
      if (node != nullptr && node->type != XML_NAMESPACE_DECL) nodes.push_back(node);
    }
  }
  xmlXPathFreeObject(result);
  return nodes;
}

}  // namespace

DomNode::DomNode(std::shared_ptr<DomDocumentState> state, xmlNodePtr node)
    : state_(node != nullptr ? std::move(state) : nullptr), node_(node) {
  if (state_) state_->AddHandle();
}

DomNode::DomNode(const DomNode& other) : state_(other.state_), node_(other.node_) {
  if (state_) state_->AddHandle();
}

DomNode::DomNode(DomNode&& other) noexcept : state_(std::move(other.state_)), node_(other.node_) {
  other.node_ = nullptr;
}

DomNode& DomNode::operator=(DomNode other) noexcept {
  std::swap(state_, other.state_);
  std::swap(node_, other.node_);
  return *this;
}

DomNode::~DomNode() {
  if (state_) state_->ReleaseHandle();
}

DomNode DomNode::Wrap(xmlNodePtr node) const {
  return DomNode(state_, node);
}

void DomNode::RequireNode() const {
  if (node_ == nullptr) throw ComError(E_POINTER, u"The node is null.");
}

void DomNode::RequireElement() const {
  RequireNode();
  if (node_->type != XML_ELEMENT_NODE) {
    throw ComError(E_FAIL, u"This operation needs an element, not " +
                               std::u16string(TypeName(node_->type)) + u".");
  }
}

bool DomNode::IsElement() const {
  return node_ != nullptr && node_->type == XML_ELEMENT_NODE;
}

std::u16string DomNode::NodeName() const {
  RequireNode();
  switch (node_->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE:
      return FromUtf8(QualifiedName(node_));
    case XML_PI_NODE:
    case XML_ENTITY_REF_NODE:
      return FromXml(node_->name);
    case XML_TEXT_NODE:
      return u"#text";
    case XML_CDATA_SECTION_NODE:
      return u"#cdata-section";
    case XML_COMMENT_NODE:
      return u"#comment";
    case XML_DOCUMENT_NODE:
      return u"#document";
    default:
      return u"";
  }
}

std::optional<std::u16string> DomNode::NodeValue() const {
  RequireNode();
  switch (node_->type) {
    case XML_ATTRIBUTE_NODE:
      return TakeXml(xmlNodeListGetString(node_->doc, node_->children, 1));
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
      return FromXml(node_->content);
    default:
      return std::nullopt;
  }
}

void DomNode::SetNodeValue(std::u16string_view value) {
  RequireNode();
  std::string text = ToXmlText(value);
  XmlErrorTrap trap;
  switch (node_->type) {
    case XML_ATTRIBUTE_NODE: {
      auto* attr = reinterpret_cast<xmlAttrPtr>(node_);
      // xmlNodeSetContent would read "&..." in the value as entity references; setting the
      // attribute through its element stores the text as it is.
      if (attr->parent == nullptr) {
        throw ComError(E_FAIL, trap.MessageOr(u"Cannot set the attribute's value."));
      }
      state_->Index().BeforeAttributeChange(attr->parent);
      bool set = xmlSetNsProp(attr->parent, attr->ns, attr->name, X(text)) != nullptr;
      state_->Index().AfterAttributeChange(attr->parent);
      if (!set) throw ComError(E_FAIL, trap.MessageOr(u"Cannot set the attribute's value."));
      return;
    }
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
      xmlNodeSetContent(node_, X(text));
      return;
    default:
      throw ComError(E_FAIL, u"This operation cannot be performed with a node of type " +
                                 std::u16string(TypeName(node_->type)) + u".");
  }
}

std::u16string DomNode::Text() const {
  RequireNode();
  return TakeXml(xmlNodeGetContent(node_));
}

void DomNode::SetText(std::u16string_view text) {
  RequireElement();
  std::string utf8 = ToXmlText(text);
  xmlNodePtr replacement = nullptr;
  if (!utf8.empty()) {
    replacement = xmlNewDocTextLen(node_->doc, X(utf8), static_cast<int>(utf8.size()));
    if (replacement == nullptr) throw ComError(E_OUTOFMEMORY, u"Cannot create a text node.");
  }
  // The old children may still be held by handles: they leave the tree but stay alive.
  while (node_->children != nullptr) {
    xmlNodePtr child = node_->children;
    state_->Index().BeforeDetach(child);
    xmlUnlinkNode(child);
    state_->TrackDetached(child);
  }
  if (replacement != nullptr) {
    replacement->parent = node_;
    node_->children = replacement;
    node_->last = replacement;
  }
}

std::optional<std::u16string> DomNode::GetAttribute(std::u16string_view name) const {
  RequireElement();
  xmlAttrPtr attr = FindAttribute(node_, ToXmlText(name));
  if (attr == nullptr) return std::nullopt;
  return TakeXml(xmlNodeListGetString(node_->doc, attr->children, 1));
}

void DomNode::SetAttribute(std::u16string_view name, std::u16string_view value) {
  RequireElement();
  std::string key = ToXmlName(name);
  std::string text = ToXmlText(value);
  XmlErrorTrap trap;
  xmlAttrPtr existing = FindAttribute(node_, key);
  state_->Index().BeforeAttributeChange(node_);
  xmlAttrPtr set = existing != nullptr ? xmlSetNsProp(node_, existing->ns, existing->name, X(text))
                                       : xmlSetProp(node_, X(key), X(text));
  state_->Index().AfterAttributeChange(node_);
  if (set == nullptr) throw ComError(E_FAIL, trap.MessageOr(u"Cannot set the attribute."));
}

void DomNode::SetAttribute(std::u16string_view name, int64_t value) {
  std::string text = std::to_string(value);
  SetAttribute(name, std::u16string(text.begin(), text.end()));
}

DomNode DomNode::FirstChild() const {
  RequireNode();
  // An attribute's value is not offered as a text child: setting the value frees it.
  if (node_->type == XML_ATTRIBUTE_NODE) return DomNode();
  return Wrap(node_->children);
}

DomNode DomNode::NextSibling() const {
  RequireNode();
  if (node_->type == XML_ATTRIBUTE_NODE) return DomNode();
  return Wrap(node_->next);
}

DomNode DomNode::ParentNode() const {
  RequireNode();
  if (node_->type == XML_ATTRIBUTE_NODE) return DomNode();
  return Wrap(node_->parent);
}

DomNodeList DomNode::ChildNodes() const {
  RequireNode();
  std::vector<xmlNodePtr> children;
  if (node_->type != XML_ATTRIBUTE_NODE) {
    for (xmlNodePtr child = node_->children; child != nullptr; child = child->next) {
      children.push_back(child);
    }
  }
  return DomNodeList(state_, std::move(children));
}

void DomNode::RequireInsertable(const DomNode& child) const {
  RequireElement();
  if (child.node_ == nullptr) throw ComError(E_INVALIDARG, u"The node to insert is null.");
  if (child.state_ != state_) {
    throw ComError(E_INVALIDARG, u"The node to insert belongs to another document.");
  }
  switch (child.node_->type) {
    case XML_ELEMENT_NODE:
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
      break;
    default:
      throw ComError(E_FAIL, u"This kind of node cannot be inserted into an element.");
  }
  for (xmlNodePtr up = node_; up != nullptr; up = up->parent) {
    if (up == child.node_) {
      throw ComError(E_FAIL, u"This operation would make a node a descendant of itself.");
    }
  }
}

DomNode DomNode::AppendChild(const DomNode& child) {
  return InsertBefore(child, DomNode());
}

DomNode DomNode::InsertBefore(const DomNode& child, const DomNode& reference) {
  RequireInsertable(child);
  if (reference.node_ != nullptr &&
      (reference.state_ != state_ || reference.node_->parent != node_ ||
       reference.node_->type == XML_ATTRIBUTE_NODE)) {
    throw ComError(E_INVALIDARG, u"The reference node is not a child of this node.");
  }
  xmlNodePtr node = child.node_;
  if (node == reference.node_) return child;
  state_->Index().BeforeDetach(node);
  xmlUnlinkNode(node);
  // Linked by hand: xmlAddChild and its kin merge a text node into a neighbouring one and
  // free it, which would leave the caller's handle dangling.
  xmlNodePtr next = reference.node_;
  xmlNodePtr prev = next != nullptr ? next->prev : node_->last;
  node->parent = node_;
  node->next = next;
  node->prev = prev;
  if (prev != nullptr) {
    prev->next = node;
  } else {
    node_->children = node;
  }
  if (next != nullptr) {
    next->prev = node;
  } else {
    node_->last = node;
  }
  state_->Index().AfterAttach(node);
  return child;
}

DomNode DomNode::RemoveChild(const DomNode& child) {
  RequireNode();
  if (child.node_ == nullptr || child.state_ != state_ || child.node_->parent != node_ ||
      child.node_->type == XML_ATTRIBUTE_NODE) {
    throw ComError(E_INVALIDARG, u"The node to remove is not a child of this node.");
  }
  state_->Index().BeforeDetach(child.node_);
  xmlUnlinkNode(child.node_);
  state_->TrackDetached(child.node_);
  return child;
}

std::vector<xmlNodePtr> DomNode::Select(std::u16string_view xpath) const {
  RequireNode();
  std::string expression = ToXmlText(xpath);
  // The stores' keyed lookups are answered from the index; the same nodes, without a scan.
  if (std::optional<KeyedPath> path = KeyedPath::Parse(expression)) {
    KeyedLookup lookup(state_->Index(), state_->Doc(), *path);
    if (std::optional<std::vector<xmlNodePtr>> nodes = lookup.Select(node_)) return *nodes;
  }
  return Evaluate(state_->Doc(), node_, expression, xpath);
}

DomNode DomNode::SelectSingleNode(std::u16string_view xpath) const {
  std::vector<xmlNodePtr> nodes = Select(xpath);
  return nodes.empty() ? DomNode() : Wrap(nodes.front());
}

DomNodeList DomNode::SelectNodes(std::u16string_view xpath) const {
  return DomNodeList(state_, Select(xpath));
}

}  // namespace vk
