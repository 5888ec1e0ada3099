// What the group kind decides: the tree's root group, the floor of new ids and the file an
// earlier client version kept the tree in, beside the database.
#pragma once

#include <cstdint>

#include "vaultkit/vkcom.h"

namespace vk {

struct GroupKind {
  LONG kind;
  LONG root_id;                 // seeded with parent 0 at every Initialize
  const char16_t* root_name;    // stored as it stands
  uint32_t id_floor;            // new ids are above it (compared unsigned)
  const char16_t* legacy_file;  // imported once and renamed; null: none
};

// Null for a kind outside 1 to 6.
const GroupKind* FindGroupKind(LONG kind);

// The external-buddy tree seeds two more groups below its root: the contact panel and,
// under it, a group named by a localised text. Their ids are kept as decimal text.
inline constexpr char16_t kContactPanelId[] = u"11000102";
inline constexpr char16_t kContactPanelName[] = u"WEZContactPanel";
inline constexpr char16_t kLocalisedGroupId[] = u"100000201";
inline constexpr char16_t kLocalisedGroupKey[] = u"C_ID_S_3";

}  // namespace vk
