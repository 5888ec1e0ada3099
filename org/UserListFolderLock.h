// The inter-process lock on the folder that holds the user list database. An import holds it
// while it puts its rebuild in the rebuild file's place, and the swap while it copies the
// rebuild online, so that two processes importing into one account never read or replace a
// file the other is changing.
#pragma once

#include <chrono>
#include <string>

#include "platform/FileLock.h"

namespace vk {

class UserListFolderLock {
 public:
  // How long a process waits for another to let go of the folder.
  static constexpr std::chrono::seconds kWait{5};

  // Takes the lock on the folder of `database_path`. False when it is not had within kWait,
  // with a line on the debug channel that ends in `consequence`.
  bool Take(const std::u16string& database_path, const char16_t* consequence);

 private:
  FileLock lock_;
};

}  // namespace vk
