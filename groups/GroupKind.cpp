#include "groups/GroupKind.h"

namespace vk {
namespace {

// The floors of the mobile and external trees differ from their root ids; clients depend on
// the ids they produce, so they stay as they are.
constexpr GroupKind kKinds[] = {
    {1, u"Group.dat", 10000001, u"WEZCompanyRoot", 10000001, nullptr},
    {2, u"FriendGroup.dat", 20000001, u"WEZFrequentContact", 20000001, u"FriendGroup.xml"},
    {3, u"RecentGroup.dat", 40000001, u"WEZRecentContact", 40000001, nullptr},
    {4, u"UserDefinedGroup.dat", 60000001, u"WEZUserDefine", 60000001, u"UserDefinedGroup.xml"},
    {5, u"MobileGroup.dat", 19999004, u"WEZMobile", 90000001, nullptr},
    {6, u"WEZExtGroup.dat", 100000001, u"WEZExtBuddy", 6, u"WEZExtGroup.xml"},
};

}  // namespace

const GroupKind* FindGroupKind(LONG kind) {
  for (const GroupKind& entry : kKinds) {
    if (entry.kind == kind) return &entry;
  }
  return nullptr;
}

}  // namespace vk
