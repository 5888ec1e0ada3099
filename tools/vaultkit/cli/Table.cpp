#include "tools/vaultkit/cli/Table.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdio>

namespace vk::cli {

Table::Table(std::vector<std::string> headers) : headers_(std::move(headers)) {}

void Table::Add(std::vector<std::string> row) {
  row.resize(headers_.size());
  rows_.push_back(std::move(row));
}

size_t Table::DisplayWidth(std::string_view utf8) {
  size_t width = 0;
  int32_t at = 0;
  const auto* bytes = reinterpret_cast<const uint8_t*>(utf8.data());
  const auto length = static_cast<int32_t>(utf8.size());
  while (at < length) {
    UChar32 c;
    U8_NEXT(bytes, at, length, c);
    if (c < 0) {
      ++width;  // an invalid byte shows as one replacement character
      continue;
    }
    int8_t category = static_cast<int8_t>(u_charType(c));
    if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK || c == 0x200B) continue;
    int ea = u_getIntPropertyValue(c, UCHAR_EAST_ASIAN_WIDTH);
    width += ea == U_EA_WIDE || ea == U_EA_FULLWIDTH ? 2 : 1;
  }
  return width;
}

void Table::Print() const {
  std::vector<size_t> widths(headers_.size());
  auto measure = [&](const std::vector<std::string>& row) {
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
  };
  measure(headers_);
  for (const auto& row : rows_) measure(row);
  auto print = [&](const std::vector<std::string>& row) {
    std::string line;
    for (size_t i = 0; i < row.size(); ++i) {
      line += row[i];
      if (i + 1 < row.size()) line.append(widths[i] - DisplayWidth(row[i]) + 2, ' ');
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    std::printf("%s\n", line.c_str());
  };
  print(headers_);
  for (const auto& row : rows_) print(row);
}

}  // namespace vk::cli
