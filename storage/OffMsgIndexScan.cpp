#include "storage/OffMsgIndexScan.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "platform/ReadableFile.h"
#include "platform/Text.h"
#include "storage/GbkDecoder.h"
#include "storage/LeadingDigits.h"
#include "storage/XmlErrorTrap.h"
#include "storage/XmlParsePolicy.h"

namespace vk {
namespace {

struct ScanState {
  const OffMsgIndexScan::Visit* on_root;
  const OffMsgIndexScan::Visit* on_record;
  bool stop_at_root = false;
  int depth = 0;
  bool root_ok = false;
  bool stopped = false;
  bool well_formed_at_stop = false;
};

// What an index whose root is closed ends with: the end tag, white space allowed before its
// '>' and after it.
constexpr std::string_view kRootEndTag = "</OffMsgIndexData";
constexpr std::string_view kRootEndTagText = "</OffMsgIndexData>";
constexpr size_t kTailBytes = 256;

bool IsXmlSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool EndsWithRootEndTag(std::string_view tail) {
  auto trim = [&] {
    while (!tail.empty() && IsXmlSpace(tail.back())) tail.remove_suffix(1);
  };
  trim();
  if (!tail.ends_with('>')) return false;
  tail.remove_suffix(1);
  trim();
  return tail.ends_with(kRootEndTag);
}

bool Named(const xmlChar* name, const char* expected) {
  return std::strcmp(reinterpret_cast<const char*>(name), expected) == 0;
}

// The parser is its own user data (so the entity policy can stop it); the scan's state
// rides in its private pointer.
ScanState* StateOf(void* context) {
  return static_cast<ScanState*>(static_cast<xmlParserCtxtPtr>(context)->_private);
}

void StartElement(void* context, const xmlChar* name, const xmlChar*, const xmlChar*, int,
                  const xmlChar**, int attribute_count, int, const xmlChar** attributes) {
  ScanState* state = StateOf(context);
  int depth = state->depth++;
  if (depth == 0) {
    state->root_ok = Named(name, "OffMsgIndexData");
    if (state->root_ok) (*state->on_root)(OffMsgAttributes(attributes, attribute_count));
    if (state->stop_at_root) {
      auto* parser = static_cast<xmlParserCtxtPtr>(context);
      state->stopped = true;
      state->well_formed_at_stop = parser->wellFormed != 0;
      xmlStopParser(parser);
    }
  } else if (depth == 1 && state->root_ok && Named(name, "OffMsgRec")) {
    (*state->on_record)(OffMsgAttributes(attributes, attribute_count));
  }
}

void EndElement(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
  --StateOf(context)->depth;
}

}  // namespace

std::optional<std::string_view> OffMsgAttributes::Raw(std::string_view name) const {
  // Five entries per attribute: local name, prefix, namespace, value start, value end.
  for (int i = 0; i < count_; ++i) {
    const unsigned char** entry = attributes_ + 5 * i;
    if (name == reinterpret_cast<const char*>(entry[0]) && entry[1] == nullptr) {
      return std::string_view(reinterpret_cast<const char*>(entry[3]),
                              static_cast<size_t>(entry[4] - entry[3]));
    }
  }
  return std::nullopt;
}

std::optional<std::string> OffMsgAttributes::Utf8(std::string_view name) const {
  std::optional<std::string_view> raw = Raw(name);
  if (!raw) return std::nullopt;
  return Unescape(*raw);
}

std::string OffMsgAttributes::Unescape(std::string_view raw) {
  // The parser hands an escaped ampersand on as "&#38;" (every other reference comes
  // decoded), so that one is left to undo.
  if (raw.find('&') == std::string_view::npos) return std::string(raw);
  std::string value;
  value.reserve(raw.size());
  for (size_t at = 0; at < raw.size();) {
    bool ampersand = raw.substr(at).starts_with("&#38;");
    value += ampersand ? '&' : raw[at];
    at += ampersand ? 5 : 1;
  }
  return value;
}

std::optional<std::u16string> OffMsgAttributes::Get(std::string_view name) const {
  std::optional<std::string> value = Utf8(name);
  if (!value) return std::nullopt;
  return FromUtf8(*value);
}

int32_t OffMsgAttributes::Int(std::string_view name) const {
  // An escaped ampersand is not a digit, a sign or white space either way.
  return ParseLeadingDigits(Raw(name).value_or(std::string_view()));
}

namespace {

// Parses the part, or the part up to the root's start tag when the state asks to stop there;
// true when what was parsed is well-formed GBK XML under an OffMsgIndexData root.
bool Parse(ReadableFile& file, const OffMsgIndexScan::Part& part, ScanState& state) {
  xmlInitParser();
  XmlErrorTrap trap;
  xmlSAXHandler sax{};
  sax.initialized = XML_SAX2_MAGIC;
  sax.startElementNs = &StartElement;
  sax.endElementNs = &EndElement;
  XmlParsePolicy::RefuseEntities(&sax);
  xmlParserCtxtPtr parser = xmlCreatePushParserCtxt(&sax, nullptr, nullptr, 0, nullptr);
  if (parser == nullptr) return false;
  parser->_private = &state;
  // The files are in the ANSI code page whatever their declaration says.
  xmlCtxtUseOptions(parser, XmlParsePolicy::kOptions | XML_PARSE_IGNORE_ENC);
  xmlCharEncodingHandlerPtr gbk = GbkDecoder::Handler();
  auto feed = [&](const char* bytes, size_t size, bool last) {
    return xmlParseChunk(parser, bytes, static_cast<int>(size), last ? 1 : 0) == 0 || state.stopped;
  };
  // The file goes to the parser in chunks as it is read: handed over whole, an index of ten
  // million bytes or more (some 62,000 records) would exceed the parser's lookahead limit
  // and read as damaged.
  std::vector<char> chunk(64 * 1024);
  auto feed_file = [&](int64_t from, int64_t to) {
    for (int64_t at = from; !state.stopped && (to < 0 || at < to);) {
      const size_t want =
          to < 0 ? chunk.size() : static_cast<size_t>(std::min<int64_t>(to - at, chunk.size()));
      const ssize_t got = file.ReadAt(chunk.data(), want, at);
      // A bounded stretch that ends early is a file that shrank since it was measured.
      if (got < 0 || (got == 0 && to >= 0)) return false;
      if (got == 0) break;
      if (!feed(chunk.data(), static_cast<size_t>(got), false)) return false;
      at += got;
    }
    return true;
  };
  bool ok = gbk != nullptr && xmlSwitchToEncoding(parser, gbk) == 0 && feed_file(0, part.head) &&
            feed_file(part.from, part.to) &&
            (state.stopped || feed(part.tail.data(), part.tail.size(), true));
  ok = ok && (state.stopped ? state.well_formed_at_stop : parser->wellFormed != 0) && state.root_ok;
  // A document type declaration makes the parser build a document of its own to hold the
  // declared entities; the parser leaves freeing it to its caller.
  if (parser->myDoc != nullptr) xmlFreeDoc(parser->myDoc);
  xmlFreeParserCtxt(parser);
  return ok;
}

}  // namespace

OffMsgIndexScan::Part OffMsgIndexScan::Split::First() const {
  return {0, 0, at, kRootEndTagText};
}

bool OffMsgIndexScan::Scan(std::u16string_view path, const Visit& on_root, const Visit& on_record) {
  ReadableFile file(path);
  return file.IsOpen() && Scan(file, Part{}, on_root, on_record);
}

bool OffMsgIndexScan::Scan(ReadableFile& file, const Part& part, const Visit& on_root,
                           const Visit& on_record) {
  ScanState state{&on_root, &on_record};
  return Parse(file, part, state);
}

std::optional<OffMsgIndexScan::Split> OffMsgIndexScan::FindSplit(ReadableFile& file,
                                                                 double fraction) {
  // In GBK '<' and '>' are never the second byte of a character, and ASCII letters after a
  // '<' are letters: the tags can be found in the bytes.
  constexpr size_t kLook = 64 * 1024;
  auto bytes_at = [&](int64_t offset) {
    std::string bytes(kLook, '\0');
    const ssize_t got = file.ReadAt(bytes.data(), bytes.size(), offset);
    bytes.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return bytes;
  };
  const std::string head = bytes_at(0);
  const size_t root = head.find("<OffMsgIndexData");
  const size_t root_close = root == std::string::npos ? root : head.find('>', root);
  if (root_close == std::string::npos) return std::nullopt;
  Split split;
  split.root_end = static_cast<int64_t>(root_close + 1);
  // The head closed at once reads only when that '>' ends the root's start tag (and not a
  // comment or an attribute value before it).
  const Visit none = [](const OffMsgAttributes&) {};
  if (!Scan(file, {0, 0, split.root_end, kRootEndTagText}, none, none)) return std::nullopt;
  const int64_t from =
      std::max(split.root_end, static_cast<int64_t>(static_cast<double>(file.Size()) * fraction));
  const std::string window = bytes_at(from);
  constexpr std::string_view kRecord = "<OffMsgRec";
  for (size_t at = window.find(kRecord); at != std::string::npos;
       at = window.find(kRecord, at + 1)) {
    const size_t after = at + kRecord.size();
    if (after < window.size() &&
        (IsXmlSpace(window[after]) || window[after] == '/' || window[after] == '>')) {
      split.at = from + static_cast<int64_t>(at);
      return split;
    }
  }
  return std::nullopt;
}

bool OffMsgIndexScan::ScanRoot(std::u16string_view path, const Visit& on_root) {
  ReadableFile file(path);
  const Visit none = [](const OffMsgAttributes&) {};
  ScanState state{&on_root, &none, /*stop_at_root=*/true};
  if (!file.IsOpen() || !Parse(file, Part{}, state) || !state.stopped) return false;
  const int64_t size = file.Size();
  const int64_t from = std::max<int64_t>(0, size - static_cast<int64_t>(kTailBytes));
  std::string tail(static_cast<size_t>(size - from), '\0');
  const ssize_t got = file.ReadAt(tail.data(), tail.size(), from);
  return got == static_cast<ssize_t>(tail.size()) && EndsWithRootEndTag(tail);
}

}  // namespace vk
