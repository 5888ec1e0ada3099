#include "platform/Py.h"

#include "platform/Text.h"

std::u16string CPy::MakeSpellCode(std::u16string name, unsigned flag) const {
  std::u16string code;
  code.reserve(name.size() * 4);
  AppendSpellCode(name, flag, code);
  return code;
}

void CPy::AppendSpellCode(std::u16string_view name, unsigned flag, std::u16string& code) const {
  for (size_t i = 0; i < name.size(); ++i) {
    const char16_t unit = name[i];
    char32_t code_point = unit;
    size_t units = 1;
    // A well-formed surrogate pair names a supplementary character (the extension blocks
    // hold many name characters); a lone surrogate is kept as it is.
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < name.size() && name[i + 1] >= 0xDC00 &&
        name[i + 1] <= 0xDFFF) {
      code_point = 0x10000 + ((char32_t(unit) - 0xD800) << 10) + (name[i + 1] - 0xDC00);
      units = 2;
    }
    if (const char* syllable = vk::PinyinSyllable(code_point)) {
      if (flag == kFullSpell) {
        for (const char* c = syllable; *c != '\0'; ++c) code.push_back(char16_t(*c));
      } else {
        code.push_back(char16_t(syllable[0]));
      }
    } else if (units == 2) {
      code.append(name.substr(i, 2));
    } else {
      code.push_back(vk::WideToLower(unit));
    }
    i += units - 1;
  }
}
