#include "org/SearchLists.h"

#include <algorithm>
#include <unordered_set>

#include "platform/Py.h"
#include "platform/Text.h"

namespace vk {

void SearchLists::Add(std::u16string& nick, std::u16string& name, const CPy& speller) {
  std::u16string spell = speller.MakeSpellCode(name, CPy::kFullSpell);
  nick = WideToLower(nick);
  name = WideToLower(name);
  spell = WideToLower(spell);
  std::u16string display = nick;
  if (!name.empty()) {
    display.reserve(nick.size() + name.size() + 2);
    display += u'(';
    display += name;
    display += u')';
  }
  display_.push_back(std::move(display));
  name_.push_back(name);
  spell_.push_back(std::move(spell));
}

std::u16string SearchLists::Search(std::u16string_view prefix) const {
  auto begins = [prefix](const std::u16string& text) {
    return text.size() >= prefix.size() &&
           std::u16string_view(text).substr(0, prefix.size()) == prefix;
  };
  std::unordered_set<std::u16string_view> seen;
  std::u16string result;
  const size_t rows = std::min({display_.size(), name_.size(), spell_.size()});
  for (size_t i = 0; i < rows && seen.size() < kMaxMatches; ++i) {
    if (!begins(display_[i]) && !begins(name_[i]) && !begins(spell_[i])) continue;
    if (seen.insert(display_[i]).second) {
      result += display_[i];
      result += u';';
    }
  }
  return result;
}

}  // namespace vk
