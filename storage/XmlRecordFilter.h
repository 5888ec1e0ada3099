// Rewrites a document whose root holds a list of records, leaving some records out, without
// building the whole tree: each child of the root is shaped and serialised as soon as it is
// complete and then freed, so a rewrite holds about the size of the file instead of a tree
// many times larger. The bytes are those DomDocument writes for the same document loaded with
// LoadBytesIn, the records removed, the attribute set and saved with SaveToBytesIn.
#pragma once

#include <libxml/parser.h>
#include <libxml/xmlsave.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vk {

class XmlRecordFilter {
 public:
  // Answers whether a record goes, given its key attribute (empty when absent).
  using Remove = std::function<bool(std::u16string_view key)>;

  // Records are the `record` children of a `root` document element; files are read and
  // written in `encoding` whatever their declaration names.
  XmlRecordFilter(const char* encoding, std::string root, std::string record, std::string key);
  ~XmlRecordFilter();
  XmlRecordFilter(const XmlRecordFilter&) = delete;
  XmlRecordFilter& operator=(const XmlRecordFilter&) = delete;

  // Reads the file through, leaving out the records `remove` accepts. False when the file
  // cannot be read, is not well-formed, has another root, or holds what this pass does not
  // rewrite the way the tree does (a document type declaration, namespaces, nodes beside the
  // root, a reported problem): the caller then rewrites through the tree.
  bool Read(std::u16string_view path, const Remove& remove);
  int Removed() const { return removed_; }
  // The document as read without the removed records and with the root's attribute `name`
  // set to `value`; none when it cannot be written. Only after Read answered true.
  std::optional<std::string> Save(const std::string& name, const std::string& value);

 private:
  static void StartElement(void* context, const xmlChar* name, const xmlChar* prefix,
                           const xmlChar* uri, int namespace_count, const xmlChar** namespaces,
                           int attribute_count, int defaulted, const xmlChar** attributes);
  static void EndElement(void* context, const xmlChar* name, const xmlChar* prefix,
                         const xmlChar* uri);
  static void InternalSubset(void* context, const xmlChar*, const xmlChar*, const xmlChar*);
  static int Append(void* into, const char* bytes, int length);
  void GiveUp(xmlParserCtxtPtr parser);
  // Serialises the complete children of the root that stay, and frees them all.
  void Flush(xmlNodePtr root);
  bool Removes(xmlNodePtr child) const;
  // Serialises with the document naming the output encoding, as a whole-document save does.
  void Dump(xmlSaveCtxtPtr save, xmlNodePtr node);

  const char* encoding_;
  std::string root_, record_, key_;
  const Remove* remove_ = nullptr;
  xmlDocPtr doc_ = nullptr;
  xmlSaveCtxtPtr save_ = nullptr;
  std::optional<std::string> declared_;
  std::string body_;  // the serialised children of the root that stay
  int depth_ = 0;
  int removed_ = 0;
  bool unsupported_ = false;
};

}  // namespace vk
