/* Every field of every fixed record, so that the C and the C++ translation units measure
 * the same list. X(record, field) */
#ifndef VAULTKIT_TESTS_RECORD_FIELDS_H
#define VAULTKIT_TESTS_RECORD_FIELDS_H

#define VK_TEST_RECORD_FIELDS(X) \
  X(UserListEntry, nick)         \
  X(UserListEntry, uin)          \
  X(UserListEntry, reserved)     \
  X(GroupInfo, parentId)         \
  X(GroupInfo, id)               \
  X(GroupInfo, name)             \
  X(GroupInfo, groupType)        \
  X(ProfileInfo, uin)            \
  X(ProfileInfo, nick)           \
  X(ProfileInfo, name)           \
  X(ProfileInfo, gender)         \
  X(ProfileInfo, face)           \
  X(ProfileInfo, mobile)         \
  X(ProfileInfo, email)          \
  X(ProfileInfo, phone)          \
  X(ProfileInfo, uright)         \
  X(ProfileInfo, version)        \
  X(BuddyField, name)            \
  X(BuddyField, value)           \
  X(ItemField, id)               \
  X(ItemField, value)            \
  X(MobileProfileItem, Name)     \
  X(MobileProfileItem, GID)      \
  X(MobileProfileItem, Number)   \
  X(MobileProfileItem, ZPNO)     \
  X(MobileProfileItem, INFO)     \
  X(RevertDialogInfo, SessionID) \
  X(RevertDialogInfo, Parameter) \
  X(RevertDialogInfo, Mode)      \
  X(RevertDialogInfo, Time)      \
  X(RevertDialogInfo, Receiver)

#define VK_TEST_RECORDS(X) \
  X(UserListEntry)         \
  X(GroupInfo)             \
  X(ProfileInfo)           \
  X(BuddyField)            \
  X(ItemField)             \
  X(MobileProfileItem)     \
  X(RevertDialogInfo)

#endif
