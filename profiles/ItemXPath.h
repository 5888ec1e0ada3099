// The item store's lookup expressions. Names and ids go between double quotes as they are,
// so a quote in one makes an expression the DOM refuses. Most lookups build their expression
// in a buffer of 128 characters with at most 127 written: a longer expression is cut and
// finds nothing.
#pragma once

#include <string>
#include <string_view>

#include "storage/DomNode.h"

namespace vk {

inline constexpr size_t kItemXPathLimit = 127;

// "./Item[@Name = "name"]"
std::u16string ItemXPath(std::u16string_view name);
// "./Item[@Name = "name"]//Field[@id = "id"]"
std::u16string FieldXPath(std::u16string_view name, std::u16string_view id);
// "./Item[@Name="name"]//Field": every field of the items of that name.
std::u16string ItemFieldsXPath(std::u16string_view name);

// The first match of an expression that went through the 128-character buffer; null when it
// was cut.
DomNode SelectThroughBuffer(const DomNode& context, const std::u16string& xpath);
// The number of matches of such an expression; 0 when it was cut.
long CountThroughBuffer(const DomNode& context, const std::u16string& xpath);

}  // namespace vk
