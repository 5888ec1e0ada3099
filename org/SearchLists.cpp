#include "org/SearchLists.h"

#include <unordered_set>

#include "platform/Py.h"
#include "platform/Text.h"

namespace vk {

SearchLists::Row SearchLists::BeginRow(std::u16string_view name, const CPy& speller) {
  Row row{text_.size(), 0, 0, 0};
  code_.clear();
  // The code comes lower case: syllables are, and every other unit is lowered as it is kept.
  speller.AppendSpellCode(name, CPy::kFullSpell, code_);
  text_ += code_;
  row.spell = static_cast<uint32_t>(text_.size() - row.start);
  return row;
}

void SearchLists::EndRow(Row row, std::u16string_view nick, std::u16string_view name) {
  row.nick = static_cast<uint32_t>(nick.size());
  row.name = static_cast<uint32_t>(name.size());
  text_ += nick;
  if (!name.empty()) {
    text_ += u'(';
    text_ += name;
    text_ += u')';
  }
  rows_.push_back(row);
}

void SearchLists::Add(std::u16string& nick, std::u16string& name, const CPy& speller) {
  const Row row = BeginRow(name, speller);
  LowerInPlace(nick.data(), nick.data() + nick.size());
  LowerInPlace(name.data(), name.data() + name.size());
  EndRow(row, nick, name);
}

void SearchLists::AddRow(std::u16string_view nick, std::u16string_view name, const CPy& speller) {
  const Row row = BeginRow(name, speller);
  // Lowered where they land, without a copy of their own.
  const size_t nick_at = text_.size();
  EndRow(row, nick, name);
  char16_t* display = text_.data() + nick_at;
  LowerInPlace(display, text_.data() + text_.size());
}

void SearchLists::AppendRow(const SearchLists& other, size_t i) {
  Row row = other.rows_[i];
  const size_t units = row.spell + row.nick + (row.name != 0 ? row.name + 2 : 0);
  text_.append(other.text_, row.start, units);
  row.start = text_.size() - units;
  rows_.push_back(row);
}

void SearchLists::Reserve(size_t rows, size_t units) {
  rows_.reserve(rows);
  text_.reserve(units);
}

std::u16string_view SearchLists::Display(size_t i) const {
  const Row& row = rows_[i];
  return std::u16string_view(text_).substr(row.start + row.spell,
                                           row.nick + (row.name != 0 ? row.name + 2 : 0));
}

std::u16string_view SearchLists::Name(size_t i) const {
  const Row& row = rows_[i];
  if (row.name == 0) return {};
  return std::u16string_view(text_).substr(row.start + row.spell + row.nick + 1, row.name);
}

std::u16string_view SearchLists::Spell(size_t i) const {
  const Row& row = rows_[i];
  return std::u16string_view(text_).substr(row.start, row.spell);
}

std::u16string SearchLists::Search(std::u16string_view prefix) const {
  auto begins = [prefix](std::u16string_view text) {
    return text.size() >= prefix.size() && text.substr(0, prefix.size()) == prefix;
  };
  std::unordered_set<std::u16string_view> seen;
  std::u16string result;
  for (size_t i = 0; i < rows_.size() && seen.size() < kMaxMatches; ++i) {
    const std::u16string_view display = Display(i);
    if (!begins(display) && !begins(Name(i)) && !begins(Spell(i))) continue;
    if (seen.insert(display).second) {
      result += display;
      result += u';';
    }
  }
  return result;
}

}  // namespace vk
