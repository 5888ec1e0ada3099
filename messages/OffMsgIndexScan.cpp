#include "messages/OffMsgIndexScan.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <climits>
#include <cstring>

#include "platform/Files.h"
#include "platform/Text.h"
#include "storage/LeadingDigits.h"
#include "storage/XmlErrorTrap.h"

namespace vk {
namespace {

struct ScanState {
  const OffMsgIndexScan::Visit* on_root;
  const OffMsgIndexScan::Visit* on_record;
  int depth = 0;
  bool root_ok = false;
};

bool Named(const xmlChar* name, const char* expected) {
  return std::strcmp(reinterpret_cast<const char*>(name), expected) == 0;
}

void StartElement(void* context, const xmlChar* name, const xmlChar*, const xmlChar*, int,
                  const xmlChar**, int attribute_count, int, const xmlChar** attributes) {
  auto* state = static_cast<ScanState*>(context);
  int depth = state->depth++;
  if (depth == 0) {
    state->root_ok = Named(name, "OffMsgIndexData");
    if (state->root_ok) (*state->on_root)(OffMsgAttributes(attributes, attribute_count));
  } else if (depth == 1 && state->root_ok && Named(name, "OffMsgRec")) {
    (*state->on_record)(OffMsgAttributes(attributes, attribute_count));
  }
}

void EndElement(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
  --static_cast<ScanState*>(context)->depth;
}

}  // namespace

std::optional<std::u16string> OffMsgAttributes::Get(std::string_view name) const {
  // Five entries per attribute: local name, prefix, namespace, value start, value end.
  for (int i = 0; i < count_; ++i) {
    const unsigned char** entry = attributes_ + 5 * i;
    if (name == reinterpret_cast<const char*>(entry[0]) && entry[1] == nullptr) {
      std::string_view raw(reinterpret_cast<const char*>(entry[3]),
                           static_cast<size_t>(entry[4] - entry[3]));
      // The parser hands an escaped ampersand on as "&#38;" (every other reference comes
      // decoded), so that one is left to undo.
      std::string value;
      value.reserve(raw.size());
      for (size_t at = 0; at < raw.size();) {
        bool ampersand = raw.substr(at).starts_with("&#38;");
        value += ampersand ? '&' : raw[at];
        at += ampersand ? 5 : 1;
      }
      return FromUtf8(value);
    }
  }
  return std::nullopt;
}

int32_t OffMsgAttributes::Int(std::string_view name) const {
  return ParseLeadingDigits(Get(name));
}

bool OffMsgIndexScan::Scan(std::u16string_view path, const Visit& on_root, const Visit& on_record) {
  std::optional<std::string> bytes = ReadWholeFile(path);
  if (!bytes || bytes->size() > static_cast<size_t>(INT_MAX)) return false;
  xmlInitParser();
  XmlErrorTrap trap;
  xmlSAXHandler sax{};
  sax.initialized = XML_SAX2_MAGIC;
  sax.startElementNs = &StartElement;
  sax.endElementNs = &EndElement;
  ScanState state{&on_root, &on_record};
  xmlParserCtxtPtr parser = xmlCreatePushParserCtxt(&sax, &state, nullptr, 0, nullptr);
  if (parser == nullptr) return false;
  // The files are in the ANSI code page whatever their declaration says.
  xmlCtxtUseOptions(parser, XML_PARSE_NONET | XML_PARSE_IGNORE_ENC);
  xmlCharEncodingHandlerPtr gbk = xmlFindCharEncodingHandler("GBK");
  bool ok = gbk != nullptr && xmlSwitchToEncoding(parser, gbk) == 0 &&
            xmlParseChunk(parser, bytes->data(), static_cast<int>(bytes->size()), 1) == 0 &&
            parser->wellFormed != 0 && state.root_ok;
  // A document type declaration makes the parser build a document of its own to hold the
  // declared entities; the parser leaves freeing it to its caller.
  if (parser->myDoc != nullptr) xmlFreeDoc(parser->myDoc);
  xmlFreeParserCtxt(parser);
  return ok;
}

}  // namespace vk
