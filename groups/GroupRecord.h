// The fixed GroupInfo record: names copied in and out of its 32-unit field, and a record read
// from a "SELECT * FROM [groups]" row.
#pragma once

#include <string>
#include <string_view>

#include "storage/SqlCall.h"
#include "vaultkit/records.h"

namespace vk {

// The record's name up to its terminator; all 32 units when it has none.
std::u16string GroupNameOf(const GroupInfo& group);
// At most 31 units of `name`, the rest of those 31 zeroed: a name of 31 units or more leaves
// the field without a terminator unless the caller zeroed the record.
void CopyGroupName(GroupInfo& group, std::u16string_view name);
GroupInfo MakeGroupInfo(LONG parent_id, LONG id, std::u16string_view name);
// id and parent id parsed as 32-bit decimals, the name copied, groupType 1 only for "1".
void ReadGroupRow(const SqlCall& row, GroupInfo& group);

}  // namespace vk
