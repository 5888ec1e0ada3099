/* The fixed-size records that cross the store interfaces. Every text field is a fixed array
 * of UTF-16 units: a store copies at most its size less one unit into it and writes no
 * terminator when the text is that long, so callers pass zero-filled records. Arrays of
 * records are laid end to end and sized by the caller from the matching count operation.
 * The layouts are part of the binary interface: the assertions below pin every size and
 * offset, identically in C and C++. */
#ifndef VAULTKIT_RECORDS_H
#define VAULTKIT_RECORDS_H

#include <stddef.h>

#include "vaultkit/vkcom.h"

/* A member of a department in the user list. */
typedef struct UserListEntry {
  OLECHAR nick[32]; /* nickname, lower case */
  ULONG uin;
  ULONG reserved; /* neither read nor written by the component */
} UserListEntry;

/* One group of a contact-group tree. */
typedef struct GroupInfo {
  LONG parentId; /* 0 for a root */
  LONG id;       /* 0 in AddGroup asks for a new id */
  OLECHAR name[32];
  LONG groupType; /* 1 or 0 */
} GroupInfo;

/* The details of one user in the profile store. */
typedef struct ProfileInfo {
  LONG uin;
  OLECHAR nick[32]; /* the key of the record */
  OLECHAR name[32];
  BYTE gender;
  int16_t face;
  OLECHAR mobile[32];
  OLECHAR email[64];
  OLECHAR phone[32];
  LONG uright;
  LONG version;
} ProfileInfo;

/* One named field of a buddy in the buddy profile store. */
typedef struct BuddyField {
  OLECHAR name[256];
  OLECHAR value[256];
} BuddyField;

/* One field of an item in the item store; GetItemNames gives id "Name" and the item's name. */
typedef struct ItemField {
  OLECHAR id[256];
  OLECHAR value[256];
} ItemField;

/* One entry of the mobile profile. */
typedef struct MobileProfileItem {
  OLECHAR Name[32];
  LONG GID;
  OLECHAR Number[16];
  OLECHAR ZPNO[32];
  OLECHAR INFO[128];
} MobileProfileItem;

/* One dialog waiting for a reply. SessionID holds at most 70 units, the others 31; the last
 * unit of every field is never written. */
typedef struct RevertDialogInfo {
  OLECHAR SessionID[71];
  OLECHAR Parameter[32];
  OLECHAR Mode[32];
  OLECHAR Time[32];
  OLECHAR Receiver[32];
} RevertDialogInfo;

VK_STATIC_ASSERT(sizeof(OLECHAR) == 2, "OLECHAR is one UTF-16 unit");

VK_STATIC_ASSERT(sizeof(UserListEntry) == 72, "UserListEntry size");
VK_STATIC_ASSERT(offsetof(UserListEntry, nick) == 0, "UserListEntry.nick");
VK_STATIC_ASSERT(offsetof(UserListEntry, uin) == 64, "UserListEntry.uin");
VK_STATIC_ASSERT(offsetof(UserListEntry, reserved) == 68, "UserListEntry.reserved");

VK_STATIC_ASSERT(sizeof(GroupInfo) == 76, "GroupInfo size");
VK_STATIC_ASSERT(offsetof(GroupInfo, parentId) == 0, "GroupInfo.parentId");
VK_STATIC_ASSERT(offsetof(GroupInfo, id) == 4, "GroupInfo.id");
VK_STATIC_ASSERT(offsetof(GroupInfo, name) == 8, "GroupInfo.name");
VK_STATIC_ASSERT(offsetof(GroupInfo, groupType) == 72, "GroupInfo.groupType");

/* Natural alignment: one padding byte between gender and face. */
VK_STATIC_ASSERT(sizeof(ProfileInfo) == 400, "ProfileInfo size");
VK_STATIC_ASSERT(offsetof(ProfileInfo, uin) == 0, "ProfileInfo.uin");
VK_STATIC_ASSERT(offsetof(ProfileInfo, nick) == 4, "ProfileInfo.nick");
VK_STATIC_ASSERT(offsetof(ProfileInfo, name) == 68, "ProfileInfo.name");
VK_STATIC_ASSERT(offsetof(ProfileInfo, gender) == 132, "ProfileInfo.gender");
VK_STATIC_ASSERT(offsetof(ProfileInfo, face) == 134, "ProfileInfo.face");
VK_STATIC_ASSERT(offsetof(ProfileInfo, mobile) == 136, "ProfileInfo.mobile");
VK_STATIC_ASSERT(offsetof(ProfileInfo, email) == 200, "ProfileInfo.email");
VK_STATIC_ASSERT(offsetof(ProfileInfo, phone) == 328, "ProfileInfo.phone");
VK_STATIC_ASSERT(offsetof(ProfileInfo, uright) == 392, "ProfileInfo.uright");
VK_STATIC_ASSERT(offsetof(ProfileInfo, version) == 396, "ProfileInfo.version");

VK_STATIC_ASSERT(sizeof(BuddyField) == 1024, "BuddyField size");
VK_STATIC_ASSERT(offsetof(BuddyField, name) == 0, "BuddyField.name");
VK_STATIC_ASSERT(offsetof(BuddyField, value) == 512, "BuddyField.value");

VK_STATIC_ASSERT(sizeof(ItemField) == 1024, "ItemField size");
VK_STATIC_ASSERT(offsetof(ItemField, id) == 0, "ItemField.id");
VK_STATIC_ASSERT(offsetof(ItemField, value) == 512, "ItemField.value");

VK_STATIC_ASSERT(sizeof(MobileProfileItem) == 420, "MobileProfileItem size");
VK_STATIC_ASSERT(offsetof(MobileProfileItem, Name) == 0, "MobileProfileItem.Name");
VK_STATIC_ASSERT(offsetof(MobileProfileItem, GID) == 64, "MobileProfileItem.GID");
VK_STATIC_ASSERT(offsetof(MobileProfileItem, Number) == 68, "MobileProfileItem.Number");
VK_STATIC_ASSERT(offsetof(MobileProfileItem, ZPNO) == 100, "MobileProfileItem.ZPNO");
VK_STATIC_ASSERT(offsetof(MobileProfileItem, INFO) == 164, "MobileProfileItem.INFO");

VK_STATIC_ASSERT(sizeof(RevertDialogInfo) == 398, "RevertDialogInfo size");
VK_STATIC_ASSERT(offsetof(RevertDialogInfo, SessionID) == 0, "RevertDialogInfo.SessionID");
VK_STATIC_ASSERT(offsetof(RevertDialogInfo, Parameter) == 142, "RevertDialogInfo.Parameter");
VK_STATIC_ASSERT(offsetof(RevertDialogInfo, Mode) == 206, "RevertDialogInfo.Mode");
VK_STATIC_ASSERT(offsetof(RevertDialogInfo, Time) == 270, "RevertDialogInfo.Time");
VK_STATIC_ASSERT(offsetof(RevertDialogInfo, Receiver) == 334, "RevertDialogInfo.Receiver");

#endif
