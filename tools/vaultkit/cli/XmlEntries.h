// Listings the stores' interfaces do not offer (every grid value, every leader), read from
// the file the store has open, through the same DOM layer the stores use.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vk::cli {

struct XmlEntry {
  std::vector<std::pair<std::string, std::string>> attributes;  // in document order
  std::vector<XmlEntry> children;                               // element children
  std::optional<std::string> Attribute(const std::string& name) const;
};

// The elements `xpath` selects in the file, in document order; throws Failure naming the
// file when it cannot be read.
std::vector<XmlEntry> ReadXmlEntries(const std::u16string& path, const std::u16string& xpath);
// The name of the file's document element; nothing when the file is not well-formed XML.
std::optional<std::string> XmlRootName(const std::u16string& path);

}  // namespace vk::cli
