// How every XML parser of the component reads a document, so the rule lives in one place.
// No format of the component uses a DTD. A document type declaration is tolerated as long as
// it declares no entity; a document that declares one (general or parameter, internal or
// external) is refused as not well-formed, the path every store already takes for a file it
// cannot parse. Nothing is ever fetched (no network, no external DTD), and no entity
// reference is ever expanded: a small file that multiplies one entity by thousands of
// references cannot make reads slow or large.
#pragma once

#include <libxml/parser.h>

#include <string>

namespace vk {

class XmlParsePolicy {
 public:
  // The options every parse starts from.
  static constexpr int kOptions = XML_PARSE_NONET;

  // Makes a parser refuse entity declarations: the parse stops at the first one, as at a
  // fatal error. The handler's user data must be the parser context itself (libxml2's own
  // tree builder, or a SAX parser created with no user data of its own).
  static void RefuseEntities(xmlSAXHandler* sax);
  // Whether the parse was stopped for declaring an entity.
  static bool Refused(const xmlParserCtxt* ctxt);
  // For a streaming reader, whose handlers cannot be replaced: whether the document read so
  // far declares an entity. Asked when the document element starts, the internal subset is
  // complete and no content has been read yet.
  static bool DeclaresEntities(const xmlDoc* doc);
  // The parse error given for a refused document.
  static const char16_t* RefusalMessage();
};

}  // namespace vk
