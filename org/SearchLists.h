// One generation of the in-memory search lists: for each member row its display text
// (nickname, then the full name in parentheses when there is one), its full name and the
// spelling code of that name, all lower case. Searches never touch the database.
#pragma once

#include <string>
#include <string_view>
#include <vector>

class CPy;

namespace vk {

class SearchLists {
 public:
  static constexpr size_t kMaxMatches = 50;

  // The spelling-code steps for one member row: the code of the name, then the nickname,
  // the name and the code lower-cased in place (callers store the lowered texts), then the
  // display text; the three are appended.
  void Add(std::u16string& nick, std::u16string& name, const CPy& speller);

  // Up to kMaxMatches distinct display texts, in list order, each followed by ";", of the
  // rows whose display, name or spelling code begins with `prefix` (compared as given).
  std::u16string Search(std::u16string_view prefix) const;

  size_t Size() const { return display_.size(); }
  const std::u16string& Display(size_t i) const { return display_[i]; }
  const std::u16string& Name(size_t i) const { return name_[i]; }
  const std::u16string& Spell(size_t i) const { return spell_[i]; }

 private:
  std::vector<std::u16string> display_;
  std::vector<std::u16string> name_;
  std::vector<std::u16string> spell_;
};

}  // namespace vk
