// Reads a group store's whole tree through its interface, as the client draws it: every
// level's groups, each group's record and members.
#pragma once

#include <vector>

#include "fuzz/FuzzSupport.h"
#include "vaultkit/IWEZGroupStore.h"

namespace vk::fuzz {

inline void WalkGroups(IWEZGroupStore* store, LONG parent, int depth, int& budget) {
  LONG count = 0;
  store->GetSubGroupCount(parent, &count);
  const size_t n = Capacity(count);
  if (n == 0 || depth > 8) return;
  std::vector<GroupInfo> groups(n);
  if (store->GetSubGroups(parent, groups.data(), &count) != S_OK) return;
  for (LONG i = 0; i < count && budget > 0; ++i, --budget) {
    GroupInfo info{};
    info.id = groups[i].id;
    store->GetGroupInfo(&info);
    LONG members = 0;
    store->GetMemberCount(info.id, &members);
    if (size_t m = Capacity(members)) {
      std::vector<BSTR> nicks(m, nullptr);
      LONG got = 0;
      store->GetMembers(info.id, nicks.data(), &got);
      for (BSTR nick : nicks) SysFreeString(nick);
    }
    // A group that names itself or an ancestor as parent must not walk forever.
    if (groups[i].id != parent) WalkGroups(store, groups[i].id, depth + 1, budget);
  }
}

inline void WalkGroups(IWEZGroupStore* store) {
  LONG count = 0;
  store->GetGroupCount(&count);
  OwnedBstr version;
  store->GetVersion(&version);
  int budget = 256;
  WalkGroups(store, 0, 0, budget);
}

}  // namespace vk::fuzz
