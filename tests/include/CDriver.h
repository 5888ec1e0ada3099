/* Entry points of the plain C translation unit: it measures the records and calls store
 * objects made in C++ through the C vtable structs. */
#ifndef VAULTKIT_TESTS_C_DRIVER_H
#define VAULTKIT_TESTS_C_DRIVER_H

#include "vaultkit/vaultkit.h"

VK_EXTERN_C_BEGIN

/* One entry per record (its size and alignment) and per field (offset and size). */
typedef struct VkTestLayout {
  size_t value[2];
} VkTestLayout;

/* Writes the records' layouts, then the fields', in list order; returns how many. */
size_t VkTestRecordLayoutsInC(VkTestLayout* out, size_t capacity);

/* What the C side saw while calling every IUserList operation in table order. */
typedef struct VkTestUserListRun {
  ULONG refs_after_add_ref;
  ULONG refs_after_release;
  HRESULT results[30];
  LONG user_count;
  ULONG uin;
  BOOL exists;
  ULONG dept_ids[2];
  LONG dept_id_count;
  UserListEntry entries[2];
  LONG entry_count;
  BSTR matches;
  BSTR reserved;
} VkTestUserListRun;

void VkTestDriveUserListInC(IUserList* list, VkTestUserListRun* run);

/* Calls SetBuddyField with a string variant passed by value, then GetBuddyField. */
void VkTestBuddyFieldInC(IWEZProfileProStore* store, LPCOLESTR value, HRESULT results[2],
                         VARIANT* read_back);

VK_EXTERN_C_END

#endif
