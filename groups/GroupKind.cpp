#include "groups/GroupKind.h"

namespace vk {
namespace {

// The store is handed its file's full path: the account's file names live in the module's
// store catalogue. The floors of the mobile and external trees differ from their root ids; clients
// depend on the ids they produce, so they stay as they are.
constexpr GroupKind kKinds[] = {
    {1, 10000001, u"WEZCompanyRoot", 10000001, nullptr},
    {2, 20000001, u"WEZFrequentContact", 20000001, u"FriendGroup.xml"},
    {3, 40000001, u"WEZRecentContact", 40000001, nullptr},
    {4, 60000001, u"WEZUserDefine", 60000001, u"UserDefinedGroup.xml"},
    {5, 19999004, u"WEZMobile", 90000001, nullptr},
    {6, 100000001, u"WEZExtBuddy", 6, u"WEZExtGroup.xml"},
};

}  // namespace

const GroupKind* FindGroupKind(LONG kind) {
  for (const GroupKind& entry : kKinds) {
    if (entry.kind == kind) return &entry;
  }
  return nullptr;
}

}  // namespace vk
