#include "storage/Markup.h"

#include <libxml/tree.h>

#include "platform/ComError.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace {

bool IsNamedElement(const vk::DomNode& node, std::u16string_view name) {
  return node.IsElement() && (name.empty() || node.NodeName() == name);
}

// The element before `node` among its siblings, or null.
vk::DomNode PreviousElement(const vk::DomNode& node) {
  xmlNodePtr prev = node.Raw()->prev;
  while (prev != nullptr && prev->type != XML_ELEMENT_NODE) prev = prev->prev;
  return prev != nullptr ? vk::DomNode(node.State(), prev) : vk::DomNode();
}

// True when the text holds no element: only a declaration, processing instructions,
// comments and white space.
bool IsPrologOnly(std::u16string_view text) {
  size_t at = 0;
  while (at < text.size()) {
    char16_t c = text[at];
    if (c == u' ' || c == u'\t' || c == u'\r' || c == u'\n') {
      ++at;
    } else if (text.substr(at).starts_with(u"<?")) {
      size_t end = text.find(u"?>", at);
      if (end == std::u16string_view::npos) return false;
      at = end + 2;
    } else if (text.substr(at).starts_with(u"<!--")) {
      size_t end = text.find(u"-->", at);
      if (end == std::u16string_view::npos) return false;
      at = end + 3;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

void CMarkup::ResetPosition() {
  level_ = vk::DomNode();
  current_ = vk::DomNode();
  child_ = vk::DomNode();
}

bool CMarkup::Load(std::u16string_view path, int) {
  ResetPosition();
  prolog_.clear();
  return doc_.Load(path);
}

bool CMarkup::Save(std::u16string_view path, int) const {
  if (!prolog_.empty() || doc_.DocumentElement().IsNull()) return false;
  try {
    std::string bytes = doc_.SaveToBytes();
    // The files end their declaration line with CR LF, as the client has always written it.
    if (bytes.starts_with("<?xml")) {
      size_t end = bytes.find("?>\n");
      if (end != std::string::npos) bytes.replace(end, 3, "?>\r\n");
    }
    return vk::WriteFileAtomically(path, bytes);
  } catch (const vk::ComError&) {
    return false;
  }
}

bool CMarkup::SetDoc(std::u16string_view text) {
  ResetPosition();
  prolog_.clear();
  if (IsPrologOnly(text)) {
    doc_.LoadXml(u"<x/>");  // drops any previous document; the element is never used
    prolog_ = text;
    return true;
  }
  return doc_.LoadXml(text);
}

vk::DomNode CMarkup::FirstAtLevel() const {
  if (level_.IsNull()) return prolog_.empty() ? doc_.DocumentElement() : vk::DomNode();
  return level_.FirstChild();
}

bool CMarkup::FindElem(std::u16string_view name) {
  if (level_.IsNull()) {
    // The document level holds one element, the document element.
    vk::DomNode root = FirstAtLevel();
    if (current_ || !IsNamedElement(root, name)) return false;
    current_ = root;
    child_ = vk::DomNode();
    return true;
  }
  for (vk::DomNode node = current_ ? current_.NextSibling() : level_.FirstChild(); node;
       node = node.NextSibling()) {
    if (IsNamedElement(node, name)) {
      current_ = node;
      child_ = vk::DomNode();
      return true;
    }
  }
  return false;
}

bool CMarkup::IntoElem() {
  if (current_.IsNull()) return false;
  level_ = current_;
  current_ = vk::DomNode();
  child_ = vk::DomNode();
  return true;
}

bool CMarkup::OutOfElem() {
  if (level_.IsNull()) return false;
  current_ = level_;
  vk::DomNode parent = level_.ParentNode();
  level_ = parent.IsElement() ? parent : vk::DomNode();
  child_ = vk::DomNode();
  return true;
}

std::u16string CMarkup::GetAttrib(std::u16string_view name) const {
  if (current_.IsNull()) return std::u16string();
  return current_.GetAttribute(name).value_or(std::u16string());
}

bool CMarkup::SetAttrib(std::u16string_view name, std::u16string_view value) {
  if (current_.IsNull()) return false;
  try {
    current_.SetAttribute(name, value);
    return true;
  } catch (const vk::ComError&) {
    return false;
  }
}

bool CMarkup::SetAttrib(std::u16string_view name, long value) {
  return SetAttrib(name, vk::FromUtf8(std::to_string(value)));
}

bool CMarkup::AddElem(std::u16string_view name) {
  try {
    if (level_.IsNull()) {
      // The document element, behind the prolog SetDoc was given.
      if (prolog_.empty()) return false;
      if (!doc_.LoadXml(prolog_ + u"<" + std::u16string(name) + u"/>")) return false;
      prolog_.clear();
      current_ = doc_.DocumentElement();
      child_ = vk::DomNode();
      return true;
    }
    vk::DomNode element = doc_.CreateElement(name);
    level_.InsertBefore(element, current_ ? current_.NextSibling() : vk::DomNode());
    current_ = element;
    child_ = vk::DomNode();
    return true;
  } catch (const vk::ComError&) {
    return false;
  }
}

bool CMarkup::AddChildElem(std::u16string_view name) {
  if (current_.IsNull()) return false;
  try {
    child_ = current_.AppendChild(doc_.CreateElement(name));
    return true;
  } catch (const vk::ComError&) {
    return false;
  }
}

bool CMarkup::AddChildAttrib(std::u16string_view name, std::u16string_view value) {
  if (child_.IsNull()) return false;
  try {
    child_.SetAttribute(name, value);
    return true;
  } catch (const vk::ComError&) {
    return false;
  }
}

bool CMarkup::RemoveElem() {
  // The document element stays: a document without one cannot be saved.
  if (current_.IsNull() || level_.IsNull()) return false;
  vk::DomNode previous = PreviousElement(current_);
  level_.RemoveChild(current_);
  current_ = previous;
  child_ = vk::DomNode();
  return true;
}
