#include "storage/DialogSwitches.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "storage/Markup.h"

namespace vk {

std::u16string InvalidDialogSwitch(const CMarkup& xml) {
  struct Switch {
    const char16_t* name;
    std::initializer_list<std::u16string_view> valid;
  };
  static const Switch kSwitches[] = {{u"RevertOpenConfig", {u"0", u"1", u"2"}},
                                     {u"IsNeedtoRevert", {u"0", u"1"}},
                                     {u"Revertalready", {u"0", u"1"}},
                                     {u"RCARight", {u"0", u"1"}},
                                     {u"OfflineToOnline", {u"0", u"1"}}};
  for (const Switch& s : kSwitches) {
    std::u16string value = xml.GetAttrib(s.name);
    if (std::find(s.valid.begin(), s.valid.end(), value) == s.valid.end()) return s.name;
  }
  return u"";
}

}  // namespace vk
