#include "messages/OffMsgIndex.h"

#include "platform/ComError.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace vk {

bool OffMsgIndex::Load(std::u16string_view path) {
  std::optional<std::string> bytes = ReadWholeFile(path);
  return bytes && doc_.LoadBytesIn(*bytes, kCodePage);
}

DomNode OffMsgIndex::Root() const {
  DomNode root = doc_.DocumentElement();
  return root && root.NodeName() == u"OffMsgIndexData" ? root : DomNode();
}

std::vector<DomNode> OffMsgIndex::Records() const {
  std::vector<DomNode> records;
  DomNode root = Root();
  if (root.IsNull()) return records;
  for (DomNode node = root.FirstChild(); node; node = node.NextSibling()) {
    if (node.IsElement() && node.NodeName() == u"OffMsgRec") records.push_back(node);
  }
  return records;
}

std::optional<std::string> OffMsgIndex::Bytes() const {
  try {
    return doc_.SaveToBytesIn(kCodePage);
  } catch (const ComError&) {
    return std::nullopt;
  }
}

bool OffMsgIndex::Save(std::u16string_view path) const {
  std::optional<std::string> bytes = Bytes();
  return bytes && WriteFileAtomically(path, *bytes);
}

std::u16string TextAttribute(const DomNode& element, std::u16string_view name) {
  return element.GetAttribute(name).value_or(std::u16string());
}

}  // namespace vk
