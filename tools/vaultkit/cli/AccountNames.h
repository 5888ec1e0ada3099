// The accounts a data root holds: the folders below its Accounts folder, by name, leaving out
// the default folder "0" the component opens before any account is known.
#pragma once

#include <string>
#include <vector>

namespace vk::cli {

// Sorted; empty when the data root has no Accounts folder.
std::vector<std::string> AccountNames(const std::string& data_root);
// "alice, bob", or "none yet".
std::string AccountList(const std::string& data_root);

}  // namespace vk::cli
