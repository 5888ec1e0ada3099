#include "storage/XmlRecordFilter.h"

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <climits>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "platform/Files.h"
#include "platform/Text.h"
#include "storage/XmlErrorTrap.h"
#include "storage/XmlParsePolicy.h"
#include "storage/XmlSaveForm.h"

namespace vk {
namespace {

XmlRecordFilter* FilterOf(void* context) {
  return static_cast<XmlRecordFilter*>(static_cast<xmlParserCtxtPtr>(context)->_private);
}

// Room kept before the children for the declaration and the root's start tag.
constexpr size_t kHeadRoom = 4096;

const char* Chars(const xmlChar* text) {
  return reinterpret_cast<const char*>(text);
}

const xmlChar* X(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

}  // namespace

XmlRecordFilter::XmlRecordFilter(const char* encoding, std::string root, std::string record,
                                 std::string key)
    : encoding_(encoding),
      root_(std::move(root)),
      record_(std::move(record)),
      key_(std::move(key)) {}

XmlRecordFilter::~XmlRecordFilter() {
  if (doc_ != nullptr) xmlFreeDoc(doc_);
}

void XmlRecordFilter::GiveUp(xmlParserCtxtPtr parser) {
  unsupported_ = true;
  xmlStopParser(parser);
}

void XmlRecordFilter::StartElement(void* context, const xmlChar* name, const xmlChar* prefix,
                                   const xmlChar* uri, int namespace_count,
                                   const xmlChar** namespaces, int attribute_count, int defaulted,
                                   const xmlChar** attributes) {
  auto* parser = static_cast<xmlParserCtxtPtr>(context);
  XmlRecordFilter* self = FilterOf(context);
  // Names are compared and written without prefixes, as they stand.
  bool plain = prefix == nullptr && namespace_count == 0;
  for (int i = 0; plain && i < attribute_count; ++i) plain = attributes[5 * i + 1] == nullptr;
  if (!plain || (self->depth_ == 0 && self->root_ != Chars(name))) return self->GiveUp(parser);
  xmlSAX2StartElementNs(context, name, prefix, uri, namespace_count, namespaces, attribute_count,
                        defaulted, attributes);
  ++self->depth_;
}

void XmlRecordFilter::EndElement(void* context, const xmlChar* name, const xmlChar* prefix,
                                 const xmlChar* uri) {
  auto* parser = static_cast<xmlParserCtxtPtr>(context);
  XmlRecordFilter* self = FilterOf(context);
  xmlSAX2EndElementNs(context, name, prefix, uri);
  // A child of the root has ended (everything before it in the root is complete), or the
  // root itself.
  if (--self->depth_ <= 1 && parser->myDoc != nullptr) {
    if (xmlNodePtr root = xmlDocGetRootElement(parser->myDoc)) self->Flush(root);
  }
}

void XmlRecordFilter::InternalSubset(void* context, const xmlChar*, const xmlChar*,
                                     const xmlChar*) {
  FilterOf(context)->GiveUp(static_cast<xmlParserCtxtPtr>(context));
}

int XmlRecordFilter::Append(void* into, const char* bytes, int length) {
  static_cast<std::string*>(into)->append(bytes, static_cast<size_t>(length));
  return length;
}

bool XmlRecordFilter::Removes(xmlNodePtr child) const {
  if (child->type != XML_ELEMENT_NODE || record_ != Chars(child->name)) return false;
  std::u16string key;
  for (xmlAttrPtr attr = child->properties; attr != nullptr; attr = attr->next) {
    if (key_ != Chars(attr->name)) continue;
    xmlChar* value = xmlNodeListGetString(child->doc, attr->children, 1);
    key = value != nullptr ? FromUtf8(Chars(value)) : u"";
    xmlFree(value);
    break;
  }
  return (*remove_)(key);
}

void XmlRecordFilter::Dump(xmlSaveCtxtPtr save, xmlNodePtr node) {
  const xmlChar* declared = node->doc->encoding;
  node->doc->encoding = reinterpret_cast<const xmlChar*>(encoding_);
  xmlSaveTree(save, node);
  node->doc->encoding = declared;
}

void XmlRecordFilter::Flush(xmlNodePtr root) {
  XmlSaveForm::DropBlankText(root);
  for (xmlNodePtr child = root->children; child != nullptr;) {
    xmlNodePtr next = child->next;
    if (Removes(child)) {
      ++removed_;
    } else {
      Dump(save_, child);
    }
    xmlUnlinkNode(child);
    xmlFreeNode(child);
    child = next;
  }
  xmlSaveFlush(save_);
}

bool XmlRecordFilter::Read(std::u16string_view path, const Remove& remove) {
  xmlInitParser();
  XmlErrorTrap trap;
  remove_ = &remove;
  xmlSAXHandler sax{};
  xmlSAXVersion(&sax, 2);
  XmlParsePolicy::RefuseEntities(&sax);
  sax.internalSubset = &InternalSubset;
  sax.startElementNs = &StartElement;
  sax.endElementNs = &EndElement;
  xmlParserCtxtPtr parser = xmlCreatePushParserCtxt(&sax, nullptr, nullptr, 0, nullptr);
  if (parser == nullptr) return false;
  parser->_private = this;
  xmlCtxtUseOptions(parser, XmlParsePolicy::kOptions | XML_PARSE_IGNORE_ENC);
  xmlCharEncodingHandlerPtr handler = xmlFindCharEncodingHandler(encoding_);
  save_ = xmlSaveToIO(&Append, nullptr, &body_, encoding_, XML_SAVE_NO_DECL);
  // What stays is about as long as the file: room for it at once, and for the root's start
  // tag that Save puts before it, spares the copies of a growing buffer and the twice-as-large
  // blocks it would leave.
  std::error_code ec;
  const uintmax_t size = std::filesystem::file_size(PathToNative(path), ec);
  if (!ec && size <= static_cast<uintmax_t>(INT_MAX)) body_.reserve(size + kHeadRoom);
  size_t read = 0;
  bool ok =
      handler != nullptr && save_ != nullptr && xmlSwitchToEncoding(parser, handler) == 0 &&
      ReadFileInChunks(
          path,
          [&](std::string_view chunk) {
            if (read == 0) {
              // The declaration must lie whole in the first chunk.
              declared_ = XmlSaveForm::DeclaredEncoding(chunk);
              if (chunk.starts_with("<?xml") && chunk.find("?>") == std::string_view::npos) {
                return false;
              }
            }
            // The tree reads no more than this either.
            read += chunk.size();
            return read <= static_cast<size_t>(INT_MAX) &&
                   xmlParseChunk(parser, chunk.data(), static_cast<int>(chunk.size()), 0) == 0;
          }) &&
      xmlParseChunk(parser, nullptr, 0, 1) == 0 && parser->wellFormed != 0 && !unsupported_ &&
      !XmlParsePolicy::Refused(parser);
  doc_ = parser->myDoc;
  parser->myDoc = nullptr;
  xmlFreeParserCtxt(parser);
  if (save_ != nullptr) ok = xmlSaveClose(save_) >= 0 && ok;
  save_ = nullptr;
  // Only the root, alone in the document, with nothing reported on the way.
  xmlNodePtr root = doc_ != nullptr ? xmlDocGetRootElement(doc_) : nullptr;
  return ok && root != nullptr && doc_->children == root && root->next == nullptr &&
         doc_->intSubset == nullptr && depth_ == 0 && !trap.HasError();
}

std::optional<std::string> XmlRecordFilter::Save(const std::string& name,
                                                 const std::string& value) {
  XmlErrorTrap trap;
  xmlNodePtr root = xmlDocGetRootElement(doc_);
  xmlAttrPtr existing = nullptr;
  for (xmlAttrPtr attr = root->properties; attr != nullptr && existing == nullptr;
       attr = attr->next) {
    if (name == Chars(attr->name)) existing = attr;
  }
  xmlAttrPtr set = existing != nullptr ? xmlSetNsProp(root, existing->ns, existing->name, X(value))
                                       : xmlSetProp(root, X(name), X(value));
  // The root alone, its children gone: "<root .../>", opened instead when children stay.
  std::string start;
  xmlSaveCtxtPtr save = xmlSaveToIO(&Append, nullptr, &start, encoding_, XML_SAVE_NO_DECL);
  if (save == nullptr) return std::nullopt;
  Dump(save, root);
  if (xmlSaveClose(save) < 0 || set == nullptr || trap.HasError() || !start.ends_with("/>")) {
    return std::nullopt;
  }
  std::string head = XmlSaveForm::Declaration(doc_, declared_);
  if (body_.empty()) return head + start + '\n';
  head.append(start, 0, start.size() - 2);
  head += '>';
  // The children written so far become the document in place: no second copy of the file.
  std::string bytes = std::move(body_);
  body_.clear();
  bytes.insert(0, head);
  bytes += "</" + root_ + ">\n";
  return bytes;
}

}  // namespace vk
