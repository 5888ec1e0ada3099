/* Plain C: the public headers compile as C, and the records and vtables seen from C are the
 * ones the C++ side builds. */
#include <string.h>

#include "CDriver.h"
#include "RecordFields.h"
#include "vaultkit/vaultkit.h"

size_t VkTestRecordLayoutsInC(VkTestLayout* out, size_t capacity) {
  size_t n = 0;
#define VK_PUT(a, b)       \
  if (n < capacity) {      \
    out[n].value[0] = (a); \
    out[n].value[1] = (b); \
  }                        \
  ++n;
#define VK_RECORD(type) VK_PUT(sizeof(type), _Alignof(type))
#define VK_FIELD(type, field) VK_PUT(offsetof(type, field), sizeof(((type*)0)->field))
  VK_TEST_RECORDS(VK_RECORD)
  VK_TEST_RECORD_FIELDS(VK_FIELD)
#undef VK_PUT
#undef VK_RECORD
#undef VK_FIELD
  return n;
}

void VkTestDriveUserListInC(IUserList* list, VkTestUserListRun* run) {
  const IUserListVtbl* v = list->lpVtbl;
  HRESULT* r = run->results;
  UserListEntry entry;
  LONG count = -1;
  ULONG value = 0;
  LONG number = 0;
  BSTR text = NULL;
  BSTR second = NULL;
  BSTR nicks[1] = {NULL};

  memset(&entry, 0, sizeof entry);
  memcpy(entry.nick, u"ab", 3 * sizeof(OLECHAR));
  entry.uin = 42;

  run->refs_after_add_ref = v->AddRef(list);
  run->refs_after_release = v->Release(list);

  r[0] = v->Initialize(list, u"/data/userList5.dat", (IUnknown*)list);
  r[1] = v->AddUser(list, 7, &entry);
  r[2] = v->AddUserEx(list, 7, &entry, 2);
  r[3] = v->DeleteUser(list, 7, u"ab");
  r[4] = v->GetDeptUsers(list, 7, run->entries, &run->entry_count);
  r[5] = v->GetDeptUserNicks(list, 7, nicks, &count);
  r[6] = v->GetUserCount(list, 7, &run->user_count);
  r[7] = v->GetDeptCount(list, &count);
  r[8] = v->GetDeptIds(list, run->dept_ids, &run->dept_id_count);
  r[9] = v->GetDeptVersion(list, 7, &value);
  r[10] = v->DeleteDept(list, 8);
  r[11] = v->SetDeptVersion(list, 7, 9);
  r[12] = v->Save(list);
  r[13] = v->GetUinByNick(list, u"ab", &run->uin);
  r[14] = v->GetNickByUin(list, 42, &text);
  r[15] = v->GetGenderByNick(list, u"ab", &number);
  r[16] = v->GetMaxDeptVersion(list, &value);
  r[17] = v->GetDeptVer(list, &value);
  r[18] = v->SetDeptVer(list, -5);
  r[19] = v->GetProVer(list, &value);
  r[20] = v->SetProVer(list, 6);
  r[21] = v->UpdateNick(list, 42, u"cd");
  r[22] = v->GetDeptIdsByNick(list, u"ab", run->dept_ids, &count);
  r[23] = v->IsNickExist(list, u"ab", &run->exists);
  r[24] = v->GetVersionInfo(list, &text, &second);
  r[25] = v->LoadDataFromXml(list, u"org.xml");
  r[26] = v->GetChangedDeptCount(list, u"3", &count);
  r[27] = v->GetChangedDeptIds(list, u"3", NULL, &count);
  r[28] = v->SearchUsers(list, u"zh", &run->matches, &run->reserved);
  r[29] = v->GetNameByNick(list, u"ab", &text);
}

void VkTestBuddyFieldInC(IWEZProfileProStore* store, LPCOLESTR value, HRESULT results[2],
                         VARIANT* read_back) {
  VARIANT in;
  VariantInit(&in);
  in.vt = VT_BSTR;
  in.u.bstrVal = SysAllocString(value);
  results[0] = store->lpVtbl->SetBuddyField(store, u"bob", u"Phone", in);
  VariantClear(&in);
  results[1] = store->lpVtbl->GetBuddyField(store, u"bob", u"Phone", read_back);
}
