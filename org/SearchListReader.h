// The search-list reader: a worker thread that, holding the DB lock for its whole run, reads
// every member row on a connection of its own, computes every spelling code and makes the
// result the current search lists.
#pragma once

#include <memory>
#include <string>

#include "org/UserListShared.h"

namespace vk {

class SearchListReader {
 public:
  // Starts a reader of the database at `path`. It keeps `shared` alive until it ends and is
  // not waited for by anyone but UserListShared::WaitForReaders.
  static void Start(std::shared_ptr<UserListShared> shared, std::u16string path);

 private:
  static void Run(UserListShared& shared, const std::u16string& path);
};

}  // namespace vk
