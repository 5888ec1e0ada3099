#include "profiles/ItemXPath.h"

#include "storage/DomNodeList.h"

namespace vk {

std::u16string ItemXPath(std::u16string_view name) {
  return u"./Item[@Name = \"" + std::u16string(name) + u"\"]";
}

std::u16string FieldXPath(std::u16string_view name, std::u16string_view id) {
  return ItemXPath(name) + u"//Field[@id = \"" + std::u16string(id) + u"\"]";
}

std::u16string ItemFieldsXPath(std::u16string_view name) {
  return u"./Item[@Name=\"" + std::u16string(name) + u"\"]//Field";
}

DomNode SelectThroughBuffer(const DomNode& context, const std::u16string& xpath) {
  if (xpath.size() > kItemXPathLimit) return DomNode();
  return context.SelectSingleNode(xpath);
}

long CountThroughBuffer(const DomNode& context, const std::u16string& xpath) {
  if (xpath.size() > kItemXPathLimit) return 0;
  return context.SelectNodes(xpath).Length();
}

}  // namespace vk
