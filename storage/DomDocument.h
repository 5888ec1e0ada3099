// An XML document over libxml2 with the DOM semantics the stores rely on: text read from
// a string is Unicode and saved in the encoding its declaration names, files are read and
// written in the declared encoding (GB2312 and GBK through iconv), whitespace-only text is
// dropped on load, XPath 1.0 runs with the document element as the context node, and every
// failure is a thrown vk::ComError. One document is used by one thread at a time.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "storage/DomNode.h"
#include "storage/DomNodeList.h"

namespace vk {

class DomDocument {
 public:
  // An empty document: no declaration, no document element.
  DomDocument();
  ~DomDocument();
  DomDocument(const DomDocument&) = delete;
  DomDocument& operator=(const DomDocument&) = delete;

  // Loads a file in the encoding its declaration names. False, with an empty document and
  // ParseError() set, when the file is missing, unreadable or not well-formed.
  bool Load(std::u16string_view path);
  // Loads text that is already Unicode; the declared encoding is kept for saving.
  bool LoadXml(std::u16string_view text);
  // Loads bytes in `encoding` whatever their declaration names (files of a fixed code page);
  // the declaration is kept as written.
  bool LoadBytesIn(const std::string& bytes, const char* encoding);
  const std::u16string& ParseError() const { return parse_error_; }

  // The document's bytes in its declared encoding (UTF-8 when it names none), without
  // added formatting; processing instructions and attribute order are kept.
  std::string SaveToBytes() const;
  // The document's bytes in `encoding`, behind its declaration as written.
  std::string SaveToBytesIn(const char* encoding) const;
  // Writes SaveToBytes() atomically; throws when the file cannot be written.
  void Save(std::u16string_view path) const;
  // The serialised text; its declaration still names the declared encoding.
  std::u16string Xml() const;

  DomNode DocumentElement() const;
  // The document itself as a node: XPath from it has the document as the context node, so a
  // relative path names the document element first ("Root/Child").
  DomNode DocumentNode() const;
  // XPath 1.0 with the document element as the context node.
  DomNode SelectSingleNode(std::u16string_view xpath) const;
  DomNodeList SelectNodes(std::u16string_view xpath) const;
  // A new element outside the tree, to be appended.
  DomNode CreateElement(std::u16string_view name);

 private:
  DomNode ContextNode() const;
  bool Parse(const std::string& bytes, const char* url, const char* forced_encoding,
             std::optional<std::string> declared);
  std::string Serialize(const char* encoding, bool with_declaration) const;
  std::string Declaration() const;

  std::shared_ptr<DomDocumentState> state_;
  std::u16string parse_error_;
};

}  // namespace vk
