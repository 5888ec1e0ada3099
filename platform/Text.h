// Text conversions: UTF-8, the ANSI code page (GBK, code page 936), and wide lower-casing
// by Unicode simple case mapping independent of the process locale.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace vk {

std::string ToUtf8(std::u16string_view text);
std::u16string FromUtf8(std::string_view text);
std::string ToAnsi(std::u16string_view text);     // GBK; unmappable characters become '?'
std::u16string FromAnsi(std::string_view bytes);  // GBK
char16_t WideToLower(char16_t c);
std::u16string WideToLower(std::u16string_view text);
// WideToLower of each unit of [begin, end), in place.
void LowerInPlace(char16_t* begin, char16_t* end);
// Joins the parts with one allocation. Product code joins wide texts with it rather than with
// operator+ chains, in which GCC 12 at -O3 sees a false overlap and warns (-Wrestrict).
std::u16string Concat(std::initializer_list<std::u16string_view> parts);
// Equal after WideToLower of each character.
bool EqualsIgnoringCase(std::u16string_view a, std::u16string_view b);
// printf-style formatting into a wide string ("%s" takes const char16_t*, "%S" const char*).
std::u16string FormatWide(const char16_t* format, ...);

}  // namespace vk
