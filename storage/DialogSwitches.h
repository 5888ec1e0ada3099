// The five reply switches on a dialog file's Dialogroot element and the values each may
// take. The dialog store replaces a file with any other value when it opens it, and
// `vaultkit check` names the switch that makes it do so. Kept in the storage layer so the
// check shares the rule without linking the dialog store.
#pragma once

#include <string>

class CMarkup;

namespace vk {

// The first switch of the current element (Dialogroot) whose value is not one it may take;
// empty when every switch is valid.
std::u16string InvalidDialogSwitch(const CMarkup& xml);

}  // namespace vk
