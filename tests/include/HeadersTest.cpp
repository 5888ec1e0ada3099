// The public headers seen from C++ and from the plain C translation unit: same record
// layouts, same vtable order, same argument passing.
#include <gtest/gtest.h>

#include <concepts>
#include <string>
#include <tuple>
#include <vector>

#include "CDriver.h"
#include "RecordFields.h"
#include "runtime/ComObject.h"
#include "vaultkit/vaultkit.h"

namespace {

std::string Narrow(const OLECHAR* text) {
  if (text == nullptr) return "(null)";
  std::string out;
  for (; *text != 0; ++text) out += static_cast<char>(*text);
  return out;
}

TEST(Records, LayoutIsTheSameInCAndCpp) {
  std::vector<std::pair<std::string, VkTestLayout>> cpp;  // each record's, then each field's
#define VK_RECORD(type) cpp.push_back({#type, {{sizeof(type), alignof(type)}}});
#define VK_FIELD(type, field) \
  cpp.push_back(              \
      {#type "." #field, {{offsetof(type, field), sizeof(static_cast<type*>(nullptr)->field)}}});
  VK_TEST_RECORDS(VK_RECORD)
  VK_TEST_RECORD_FIELDS(VK_FIELD)
#undef VK_RECORD
#undef VK_FIELD
  std::vector<VkTestLayout> c(cpp.size() + 1);
  ASSERT_EQ(VkTestRecordLayoutsInC(c.data(), c.size()), cpp.size());
  for (size_t i = 0; i < cpp.size(); ++i) {
    EXPECT_EQ(c[i].value[0], cpp[i].second.value[0]) << cpp[i].first;
    EXPECT_EQ(c[i].value[1], cpp[i].second.value[1]) << cpp[i].first;
  }
  // Arrays of records are laid end to end with no gap between elements.
  EXPECT_EQ(sizeof(RevertDialogInfo[3]), 3 * 398u);
  EXPECT_EQ(sizeof(ProfileInfo[2]), 800u);
}

// Answers every operation with its number in the interface table and logs its arguments:
// numbers and texts as they are, an entry as nick/uin, an out-pointer as "out" or "null".
class LoggingUserList : public vk::ComObject<IUserList> {
 public:
  std::vector<std::string> log;

  HRESULT Initialize(LPCOLESTR path, IUnknown* client) override {
    return Log(1, path, client == this ? "self" : "other");
  }
  HRESULT AddUser(ULONG dept, const UserListEntry* e) override { return Log(2, dept, e); }
  HRESULT AddUserEx(ULONG dept, const UserListEntry* e, ULONG gender) override {
    return Log(3, dept, e, gender);
  }
  HRESULT DeleteUser(ULONG dept, LPCOLESTR nick) override { return Log(4, dept, nick); }
  HRESULT GetDeptUsers(ULONG dept, UserListEntry* entries, LONG* count) override {
    entries[0].uin = 1001;
    entries[0].nick[0] = u'z';
    entries[1].uin = 1002;
    entries[1].nick[0] = u'l';
    *count = 2;
    return Log(5, dept);
  }
  HRESULT GetDeptUserNicks(ULONG dept, BSTR* nicks, LONG* count) override {
    *count = 0;
    return Log(6, dept, nicks);
  }
  HRESULT GetUserCount(ULONG dept, LONG* count) override {
    *count = 12;
    return Log(7, dept);
  }
  HRESULT GetDeptCount(LONG* count) override { return Log(8, count); }
  HRESULT GetDeptIds(ULONG* ids, LONG* count) override {
    ids[0] = 5;
    ids[1] = 6;
    *count = 2;
    return Log(9);
  }
  HRESULT GetDeptVersion(ULONG dept, ULONG* version) override { return Log(10, dept, version); }
  HRESULT DeleteDept(ULONG dept) override { return Log(11, dept); }
  HRESULT SetDeptVersion(ULONG dept, ULONG version) override { return Log(12, dept, version); }
  HRESULT Save() override { return Log(13); }
  HRESULT GetUinByNick(LPCOLESTR nick, ULONG* uin) override {
    *uin = 42;
    return Log(14, nick);
  }
  HRESULT GetNickByUin(ULONG uin, BSTR* nick) override { return Log(15, uin, nick); }
  HRESULT GetGenderByNick(LPCOLESTR nick, LONG* gender) override { return Log(16, nick, gender); }
  HRESULT GetMaxDeptVersion(ULONG* version) override { return Log(17, version); }
  HRESULT GetDeptVer(ULONG* value) override { return Log(18, value); }
  HRESULT SetDeptVer(LONG value) override { return Log(19, value); }
  HRESULT GetProVer(ULONG* value) override { return Log(20, value); }
  HRESULT SetProVer(LONG value) override { return Log(21, value); }
  HRESULT UpdateNick(ULONG uin, LPCOLESTR nick) override { return Log(22, uin, nick); }
  HRESULT GetDeptIdsByNick(LPCOLESTR nick, ULONG* ids, LONG* count) override {
    return Log(23, nick, ids, count);
  }
  HRESULT IsNickExist(LPCOLESTR nick, BOOL* exists) override {
    *exists = TRUE;
    return Log(24, nick);
  }
  HRESULT GetVersionInfo(BSTR* dir_version, BSTR* root_dept_version) override {
    return Log(25, dir_version, root_dept_version,
               dir_version != root_dept_version ? "distinct" : "same");
  }
  HRESULT LoadDataFromXml(LPCOLESTR path) override { return Log(26, path); }
  HRESULT GetChangedDeptCount(LPCOLESTR since, LONG* count) override {
    return Log(27, since, count);
  }
  HRESULT GetChangedDeptIds(LPCOLESTR since, ULONG* ids, LONG* count) override {
    return Log(28, since, ids, count);
  }
  HRESULT SearchUsers(LPCOLESTR prefix, BSTR* matches, BSTR* reserved) override {
    *matches = SysAllocString(u"zhangsan(zhang san);");
    *reserved = SysAllocString(u"");
    return Log(29, prefix);
  }
  HRESULT GetNameByNick(LPCOLESTR nick, BSTR* name) override { return Log(30, nick, name); }

 private:
  template <typename... Args>
  HRESULT Log(int op, const Args&... args) {
    std::string line;
    ((line += " " + Str(args)), ...);
    log.push_back(std::to_string(op) + ":" + line.substr(line.empty() ? 0 : 1));
    return op;
  }
  static std::string Str(const char* text) { return text; }
  static std::string Str(LPCOLESTR text) { return Narrow(text); }
  static std::string Str(const UserListEntry* e) { return Narrow(e->nick) + "/" + Str(e->uin); }
  template <typename T>
  static std::string Str(T* out) {
    return out != nullptr ? "out" : "null";
  }
  template <std::integral T>
  static std::string Str(T value) {
    return std::to_string(value);
  }
};

TEST(Vtable, UserListCalledFromCReachesEachOperationInTableOrder) {
  auto* list = new LoggingUserList();
  VkTestUserListRun run{};
  VkTestDriveUserListInC(list, &run);

  EXPECT_EQ(run.refs_after_add_ref, 2u);
  EXPECT_EQ(run.refs_after_release, 1u);
  for (int i = 0; i < 30; ++i) EXPECT_EQ(run.results[i], i + 1) << "operation " << i + 1;

  std::string calls;  // each operation's number and the arguments it received
  for (const std::string& call : list->log) calls += call + ";";
  EXPECT_EQ(calls,
            "1:/data/userList5.dat self;2:7 ab/42;3:7 ab/42 2;4:7 ab;5:7;6:7 out;7:7;8:out;9:;"
            "10:7 out;11:8;12:7 9;13:;14:ab;15:42 out;16:ab out;17:out;18:out;19:-5;20:out;21:6;"
            "22:42 cd;23:ab out out;24:ab;25:out out distinct;26:org.xml;27:3 out;28:3 null out;"
            "29:zh;30:ab out;");

  // Results written by C++ are read back by C through the same records and out-pointers.
  const auto& e = run.entries;
  EXPECT_EQ(std::make_tuple(run.entry_count, e[0].uin, e[0].nick[0], e[1].uin, e[1].nick[0]),
            std::make_tuple(2, 1001u, u'z', 1002u, u'l'));
  EXPECT_EQ(std::make_tuple(run.user_count, run.uin, run.exists), std::make_tuple(12, 42u, TRUE));
  EXPECT_EQ(std::make_tuple(run.dept_id_count, run.dept_ids[0], run.dept_ids[1]),
            std::make_tuple(2, 5u, 6u));
  EXPECT_EQ(Narrow(run.matches) + "|" + Narrow(run.reserved), "zhangsan(zhang san);|");
  SysFreeString(run.matches);
  SysFreeString(run.reserved);

  EXPECT_EQ(list->Release(), 0u);
}

// Keeps one field value, to check that a variant passed by value crosses from C intact.
class OneFieldBuddyStore : public vk::ComObject<IWEZProfileProStore> {
 public:
  std::string account;
  std::string name;
  VARTYPE vt = VT_EMPTY;
  std::string value;

  HRESULT Initialize(BSTR) override { return 1; }
  HRESULT SetBuddyFields(LPCOLESTR, const BuddyField*, LONG) override { return 2; }
  HRESULT DeleteBuddy(LPCOLESTR) override { return 3; }
  HRESULT GetBuddyFieldCount(LPCOLESTR, LONG*) override { return 4; }
  HRESULT GetBuddyFields(LPCOLESTR, BuddyField*) override { return 5; }
  HRESULT GetBuddyField(LPCOLESTR, LPCOLESTR, VARIANT* out) override {
    VariantInit(out);
    out->vt = VT_BSTR;
    std::u16string wide(value.begin(), value.end());
    out->u.bstrVal = SysAllocString(wide.c_str());
    return 6;
  }
  HRESULT SetBuddyField(LPCOLESTR account_in, LPCOLESTR name_in, VARIANT in) override {
    account = Narrow(account_in);
    name = Narrow(name_in);
    vt = in.vt;
    if (in.vt == VT_BSTR) value = Narrow(in.u.bstrVal);
    return 7;
  }
  HRESULT Close() override { return 8; }
};

TEST(Vtable, VariantPassedByValueFromCArrivesIntact) {
  auto* store = new OneFieldBuddyStore();
  HRESULT results[2] = {0, 0};
  VARIANT read_back;
  VariantInit(&read_back);
  VkTestBuddyFieldInC(store, u"+86 10 1234", results, &read_back);

  EXPECT_EQ(results[0], 7);
  EXPECT_EQ(results[1], 6);
  EXPECT_EQ(store->account + "." + store->name + "=" + store->value, "bob.Phone=+86 10 1234");
  EXPECT_EQ(store->vt, VT_BSTR);
  ASSERT_EQ(read_back.vt, VT_BSTR);
  EXPECT_EQ(Narrow(read_back.u.bstrVal), "+86 10 1234");
  VariantClear(&read_back);
  store->Release();
}

template <typename I>
bool MapsTo(const IID& iid) {
  const IID& mapped = vk::InterfaceId<I>::Get();
  return IsEqualGUID(&mapped, &iid) != 0;
}

TEST(InterfaceIds, EachStoreInterfaceMapsToItsOwnIdentifier) {
  EXPECT_TRUE(MapsTo<IUserList>(IID_IUserList));
  EXPECT_TRUE(MapsTo<IWEZGroupStore>(IID_IWEZGroupStore));
  EXPECT_TRUE(MapsTo<IWEZProfileStore>(IID_IWEZProfileStore));
  EXPECT_TRUE(MapsTo<IWEZProfileProStore>(IID_IWEZProfileProStore));
  EXPECT_TRUE(MapsTo<IWEZItemStore>(IID_IWEZItemStore));
  EXPECT_TRUE(MapsTo<IMobileProfileStore>(IID_IMobileProfileStore));
  EXPECT_TRUE(MapsTo<ILocalOffMsgStore>(IID_ILocalOffMsgStore));
  EXPECT_TRUE(MapsTo<IRevertDialogStore>(IID_IRevertDialogStore));

  // An object answers its interface by that identifier and refuses a sibling's.
  auto* list = new LoggingUserList();
  void* found = nullptr;
  EXPECT_EQ(list->QueryInterface(IID_IUserList, &found), S_OK);
  EXPECT_EQ(found, static_cast<IUserList*>(list));
  list->Release();
  EXPECT_EQ(list->QueryInterface(IID_IWEZGroupStore, &found), E_NOINTERFACE);
  EXPECT_EQ(found, nullptr);
  list->Release();
}

}  // namespace
