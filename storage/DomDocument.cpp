#include "storage/DomDocument.h"

#include <libxml/encoding.h>
#include <libxml/parser.h>
#include <libxml/xmlsave.h>

#include <climits>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/ComError.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "storage/DomDocumentState.h"
#include "storage/XmlErrorTrap.h"
#include "storage/XmlParsePolicy.h"
#include "storage/XmlSaveForm.h"

namespace vk {
namespace {

void InitLibxml() {
  static std::once_flag once;
  std::call_once(once, [] {
    xmlInitParser();
    // The client's platform reads and writes a "gb2312" declaration as code page 936
    // (GBK), so its files may hold GBK characters beyond GB2312; the declaration is still
    // written as it stands.
    xmlAddEncodingAlias("GBK", "GB2312");
  });
}

std::shared_ptr<DomDocumentState> EmptyState() {
  xmlDocPtr doc = xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0"));
  if (doc == nullptr) throw ComError(E_OUTOFMEMORY, u"Cannot create an XML document.");
  return std::make_shared<DomDocumentState>(doc, std::nullopt);
}

// libxml2 writes a namespace declaration's URI as it stands, so a '<' or '&' in it (read from
// "&lt;" or "&amp;") would make the saved file unreadable. For the length of a save such URIs
// are replaced by their escaped text; the returned list puts the originals back.
using NamespaceUris = std::vector<std::pair<xmlNsPtr, const xmlChar*>>;

NamespaceUris EscapeNamespaceUris(xmlDocPtr doc) {
  NamespaceUris replaced;
  xmlNodePtr node = xmlDocGetRootElement(doc);
  while (node != nullptr) {
    for (xmlNsPtr ns = node->nsDef; ns != nullptr; ns = ns->next) {
      const char* href = reinterpret_cast<const char*>(ns->href);
      if (href == nullptr || std::strpbrk(href, "<&") == nullptr) continue;
      std::string escaped;
      for (const char* c = href; *c != 0; ++c) {
        escaped += *c == '<' ? "&lt;" : *c == '&' ? "&amp;" : std::string(1, *c);
      }
      replaced.emplace_back(ns, ns->href);
      ns->href = xmlStrdup(reinterpret_cast<const xmlChar*>(escaped.c_str()));
    }
    // Depth first over the elements, without recursion.
    if (xmlNodePtr child = xmlFirstElementChild(node)) {
      node = child;
      continue;
    }
    while (node != nullptr && xmlNextElementSibling(node) == nullptr) {
      node = node->parent != nullptr && node->parent->type == XML_ELEMENT_NODE ? node->parent
                                                                               : nullptr;
    }
    if (node != nullptr) node = xmlNextElementSibling(node);
  }
  return replaced;
}

void RestoreNamespaceUris(const NamespaceUris& replaced) {
  for (const auto& [ns, original] : replaced) {
    xmlFree(const_cast<xmlChar*>(ns->href));
    ns->href = original;
  }
}

}  // namespace

DomDocument::DomDocument() {
  InitLibxml();
  state_ = EmptyState();
}

DomDocument::~DomDocument() = default;

bool DomDocument::Load(std::u16string_view path) {
  std::optional<std::string> bytes = ReadWholeFile(path);
  if (!bytes) {
    state_ = EmptyState();
    parse_error_ = u"Cannot read the file " + std::u16string(path) + u".";
    return false;
  }
  return Parse(*bytes, PathToNative(path).c_str(), nullptr, std::nullopt);
}

bool DomDocument::LoadXml(std::u16string_view text) {
  if (text.starts_with(u"\uFEFF")) text.remove_prefix(1);
  std::string utf8 = ToUtf8(text);
  // libxml2 would switch to the encoding the declaration names and then replace the
  // document's encoding with the forced one: parse as UTF-8 and keep the declared name.
  std::optional<std::string> declared = XmlSaveForm::DeclaredEncoding(utf8);
  return Parse(utf8, nullptr, "UTF-8", declared);
}

bool DomDocument::LoadBytesIn(const std::string& bytes, const char* encoding) {
  return Parse(bytes, nullptr, encoding, XmlSaveForm::DeclaredEncoding(bytes));
}

bool DomDocument::Parse(const std::string& bytes, const char* url, const char* forced_encoding,
                        std::optional<std::string> declared) {
  parse_error_.clear();
  if (bytes.size() > static_cast<size_t>(INT_MAX)) {
    state_ = EmptyState();
    parse_error_ = u"The document is too large.";
    return false;
  }
  XmlErrorTrap trap;
  xmlParserCtxtPtr ctxt = xmlNewParserCtxt();
  if (ctxt == nullptr) throw ComError(E_OUTOFMEMORY, u"Cannot create an XML parser.");
  XmlParsePolicy::RefuseEntities(ctxt->sax);
  int options = XmlParsePolicy::kOptions;
  if (forced_encoding != nullptr) options |= XML_PARSE_IGNORE_ENC;
  xmlDocPtr doc = xmlCtxtReadMemory(ctxt, bytes.data(), static_cast<int>(bytes.size()), url,
                                    forced_encoding, options);
  bool well_formed = doc != nullptr && ctxt->wellFormed != 0;
  const bool refused = XmlParsePolicy::Refused(ctxt);
  xmlFreeParserCtxt(ctxt);
  if (!well_formed || xmlDocGetRootElement(doc) == nullptr) {
    if (doc != nullptr) xmlFreeDoc(doc);
    state_ = EmptyState();
    parse_error_ = refused ? XmlParsePolicy::RefusalMessage()
                           : trap.MessageOr(u"The document is not well-formed.");
    return false;
  }
  XmlSaveForm::DropBlankText(xmlDocGetRootElement(doc));
  if (forced_encoding != nullptr) {
    if (doc->encoding != nullptr) xmlFree(const_cast<xmlChar*>(doc->encoding));
    doc->encoding =
        declared ? xmlStrdup(reinterpret_cast<const xmlChar*>(declared->c_str())) : nullptr;
  } else if (doc->encoding != nullptr) {
    declared = reinterpret_cast<const char*>(doc->encoding);
  }
  state_ = std::make_shared<DomDocumentState>(doc, std::move(declared));
  return true;
}

std::string DomDocument::Serialize(const char* encoding, bool with_declaration) const {
  XmlErrorTrap trap;
  xmlBufferPtr buffer = xmlBufferCreate();
  if (buffer == nullptr) throw ComError(E_OUTOFMEMORY, u"Cannot create an output buffer.");
  int options = with_declaration ? 0 : XML_SAVE_NO_DECL;
  xmlSaveCtxtPtr save = xmlSaveToBuffer(buffer, encoding, options);
  if (save == nullptr) {
    xmlBufferFree(buffer);
    throw ComError(E_FAIL, u"Cannot write the encoding " + FromUtf8(encoding) + u".");
  }
  const NamespaceUris escaped = EscapeNamespaceUris(state_->Doc());
  long written = xmlSaveDoc(save, state_->Doc());
  int closed = xmlSaveClose(save);
  RestoreNamespaceUris(escaped);
  if (written < 0 || closed < 0 || trap.HasError()) {
    xmlBufferFree(buffer);
    throw ComError(E_FAIL, trap.MessageOr(u"Cannot serialise the document."));
  }
  std::string bytes(reinterpret_cast<const char*>(xmlBufferContent(buffer)),
                    static_cast<size_t>(xmlBufferLength(buffer)));
  xmlBufferFree(buffer);
  return bytes;
}

std::string DomDocument::SaveToBytes() const {
  const std::optional<std::string>& encoding = state_->DeclaredEncoding();
  return Serialize(encoding ? encoding->c_str() : "UTF-8", true);
}

void DomDocument::Save(std::u16string_view path) const {
  std::string bytes = SaveToBytes();
  if (!WriteFileAtomically(path, bytes)) {
    throw ComError(E_FAIL, u"Cannot write the file " + std::u16string(path) + u".");
  }
}

std::string DomDocument::SaveToBytesIn(const char* encoding) const {
  return Declaration() + Serialize(encoding, false);
}

std::u16string DomDocument::Xml() const {
  // The text is Unicode, but its declaration names the encoding the file is saved in, as
  // the document was read.
  return FromUtf8(Declaration() + Serialize("UTF-8", false));
}

std::string DomDocument::Declaration() const {
  return XmlSaveForm::Declaration(state_->Doc(), state_->DeclaredEncoding());
}

DomNode DomDocument::DocumentElement() const {
  return DomNode(state_, xmlDocGetRootElement(state_->Doc()));
}

DomNode DomDocument::ContextNode() const {
  xmlNodePtr root = xmlDocGetRootElement(state_->Doc());
  return DomNode(state_, root != nullptr ? root : reinterpret_cast<xmlNodePtr>(state_->Doc()));
}

DomNode DomDocument::DocumentNode() const {
  return DomNode(state_, reinterpret_cast<xmlNodePtr>(state_->Doc()));
}

DomNode DomDocument::SelectSingleNode(std::u16string_view xpath) const {
  return ContextNode().SelectSingleNode(xpath);
}

DomNodeList DomDocument::SelectNodes(std::u16string_view xpath) const {
  return ContextNode().SelectNodes(xpath);
}

DomNode DomDocument::CreateElement(std::u16string_view name) {
  std::string utf8 = ToUtf8(name);
  if (utf8.empty() || xmlValidateName(reinterpret_cast<const xmlChar*>(utf8.c_str()), 0) != 0 ||
      utf8.find('\0') != std::string::npos) {
    throw ComError(E_INVALIDARG, u"'" + std::u16string(name) + u"' is not a valid element name.");
  }
  xmlNodePtr node = xmlNewDocNode(state_->Doc(), nullptr,
                                  reinterpret_cast<const xmlChar*>(utf8.c_str()), nullptr);
  if (node == nullptr) throw ComError(E_OUTOFMEMORY, u"Cannot create an element.");
  state_->TrackDetached(node);
  return DomNode(state_, node);
}

}  // namespace vk
