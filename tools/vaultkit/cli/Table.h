// A table for the terminal: columns padded by display width, so that rows holding Chinese
// (two columns a character) line up with rows holding Latin text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vk::cli {

class Table {
 public:
  explicit Table(std::vector<std::string> headers);
  void Add(std::vector<std::string> row);
  bool Empty() const { return rows_.empty(); }
  // Prints the header and the rows to stdout, columns two spaces apart.
  void Print() const;

  // Terminal columns that UTF-8 text takes: East Asian wide and full-width characters count
  // two, combining marks none.
  static size_t DisplayWidth(std::string_view utf8);

 private:
  std::vector<std::string> headers_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace vk::cli
