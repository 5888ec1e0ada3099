#include "tools/vaultkit/cli/XmlEntries.h"

#include "platform/Text.h"
#include "storage/DomDocument.h"
#include "tools/vaultkit/cli/Command.h"

namespace vk::cli {
namespace {

XmlEntry EntryOf(const DomNode& element) {
  XmlEntry entry;
  for (xmlAttrPtr a = element.Raw()->properties; a != nullptr; a = a->next) {
    auto value = element.GetAttribute(FromUtf8(reinterpret_cast<const char*>(a->name)));
    entry.attributes.emplace_back(reinterpret_cast<const char*>(a->name),
                                  ToUtf8(value.value_or(u"")));
  }
  for (DomNode child = element.FirstChild(); child; child = child.NextSibling()) {
    if (child.IsElement()) entry.children.push_back(EntryOf(child));
  }
  return entry;
}

}  // namespace

std::optional<std::string> XmlEntry::Attribute(const std::string& name) const {
  for (const auto& [key, value] : attributes) {
    if (key == name) return value;
  }
  return std::nullopt;
}

std::vector<XmlEntry> ReadXmlEntries(const std::u16string& path, const std::u16string& xpath) {
  DomDocument document;
  if (!document.Load(path)) {
    throw Failure{"cannot read " + ToUtf8(path) + ": " + ToUtf8(document.ParseError())};
  }
  std::vector<XmlEntry> entries;
  DomNodeList nodes = document.SelectNodes(xpath);
  for (long i = 0; i < nodes.Length(); ++i) entries.push_back(EntryOf(nodes.Item(i)));
  return entries;
}

std::optional<std::string> XmlRootName(const std::u16string& path) {
  DomDocument document;
  if (!document.Load(path)) return std::nullopt;
  return ToUtf8(document.DocumentElement().NodeName());
}

}  // namespace vk::cli
