// The module constructed last in the process, as the company group store reaches it for the
// user list. The record is never cleared, but Alive() tells whether that module still exists,
// so a store opened after it is gone finds no module instead of a freed one.
#pragma once

#include <memory>

#include "vaultkit/client.h"

namespace vk {

class ModuleInstance {
 public:
  // `alive` expires when the module is destroyed.
  static void Record(IWEZStore* module, std::weak_ptr<const void> alive);
  // The module recorded last while it exists; null before any and after it is destroyed.
  static IWEZStore* Alive();
};

}  // namespace vk
