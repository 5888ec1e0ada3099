// One generation of the in-memory search lists: for each member row its display text
// (nickname, then the full name in parentheses when there is one), its full name and the
// spelling code of that name, all lower case. Searches never touch the database.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/HugePageAllocator.h"

class CPy;

namespace vk {

class SearchLists {
 public:
  static constexpr size_t kMaxMatches = 50;

  // The spelling-code steps for one member row: the code of the name, then the nickname,
  // the name and the code lower-cased in place (callers store the lowered texts), then the
  // display text; the three are appended.
  void Add(std::u16string& nick, std::u16string& name, const CPy& speller);
  // The same steps for texts the caller does not keep (the search-list reader's rows).
  void AddRow(std::u16string_view nick, std::u16string_view name, const CPy& speller);
  // Room for `rows` rows of `units` text units in all, so that a builder that knows its size
  // does not grow the lists step by step.
  void Reserve(size_t rows, size_t units);
  // Row i of `other`, as it is.
  void AppendRow(const SearchLists& other, size_t i);

  // Up to kMaxMatches distinct display texts, in list order, each followed by ";", of the
  // rows whose display, name or spelling code begins with `prefix` (compared as given).
  std::u16string Search(std::u16string_view prefix) const;

  size_t Size() const { return rows_.size(); }
  std::u16string_view Display(size_t i) const;
  std::u16string_view Nick(size_t i) const { return Display(i).substr(0, rows_[i].nick); }
  std::u16string_view Name(size_t i) const;
  std::u16string_view Spell(size_t i) const;

 private:
  // A row's texts lie end to end in text_: the spelling code, then the display text, whose
  // name part (between the parentheses) is the row's name.
  struct Row {
    size_t start;
    uint32_t spell;
    uint32_t nick;
    uint32_t name;
  };
  // Appends the lower-cased spelling code of `name` and returns the row that starts with it.
  Row BeginRow(std::u16string_view name, const CPy& speller);
  // Appends the display text of lower-case `nick` and `name` and records the row.
  void EndRow(Row row, std::u16string_view nick, std::u16string_view name);

  std::basic_string<char16_t, std::char_traits<char16_t>, HugePageAllocator<char16_t>>
      text_;  // one allocation for every text of the generation
  std::vector<Row, HugePageAllocator<Row>> rows_;
  std::u16string code_;  // the spelling code of the row being added
};

}  // namespace vk
