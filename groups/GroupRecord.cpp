#include "groups/GroupRecord.h"

#include <algorithm>
#include <iterator>

#include "groups/GroupIdText.h"
#include "storage/GroupSchema.h"

namespace vk {

std::u16string GroupNameOf(const GroupInfo& group) {
  const auto end = std::find(std::begin(group.name), std::end(group.name), u'\0');
  return std::u16string(std::begin(group.name), end);
}

void CopyGroupName(GroupInfo& group, std::u16string_view name) {
  constexpr size_t kUnits = std::size(GroupInfo{}.name) - 1;
  size_t i = 0;
  for (; i < kUnits && i < name.size() && name[i] != u'\0'; ++i) group.name[i] = name[i];
  for (; i < kUnits; ++i) group.name[i] = u'\0';
}

GroupInfo MakeGroupInfo(LONG parent_id, LONG id, std::u16string_view name) {
  GroupInfo group{};
  group.parentId = parent_id;
  group.id = id;
  CopyGroupName(group, name);
  return group;
}

void ReadGroupRow(const SqlCall& row, GroupInfo& group) {
  group.id = ParseGroupId(row.ColumnText(kGroupId));
  group.parentId = ParseGroupId(row.ColumnText(kGroupParentId));
  const char16_t* name = row.ColumnText(kGroupName);
  CopyGroupName(group, name != nullptr ? std::u16string_view(name) : std::u16string_view());
  const char16_t* type = row.ColumnText(kGroupType);
  group.groupType = type != nullptr && std::u16string_view(type) == u"1" ? 1 : 0;
}

}  // namespace vk
