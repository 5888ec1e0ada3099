#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <utility>
#include <vector>

#include "platform/Text.h"
#include "profiles/WEZItemStore.h"
#include "tests/support/Answer.h"
#include "tests/support/ErrorDescription.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MakeStore.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {
namespace {

using Pairs = std::vector<std::pair<std::u16string, std::u16string>>;
const std::string kDecl = "<?xml version=\"1.0\" encoding=\"GB2312\"?>\n";
const std::string kFile = kDecl + ToAnsi(u"<?WEZ 用户详细资料 ?>") + "\n";

std::string Utf8AndFree(BSTR text) {
  std::string utf8 = ToUtf8(text != nullptr ? text : u"");
  SysFreeString(text);
  return utf8;
}

ItemField Record(std::u16string_view id, std::u16string_view value = u"") {
  ItemField record{};
  id.copy(record.id, std::min<size_t>(id.size(), 256));
  value.copy(record.value, std::min<size_t>(value.size(), 256));
  return record;
}

class ItemStoreTest : public testing::Test {
 protected:
  void SetUp() override { Open(); }
  void Open(const char16_t* name = u"WEZExtBuddy.xml", HRESULT expected = S_OK) {
    store_ = MakeStore<CWEZItemStore>();
    BSTR path = SysAllocString(root_.File(name).c_str());
    EXPECT_EQ(store_->Initialize(path), expected) << ToUtf8(name);
    SysFreeString(path);
  }
  std::string File(const char* name = "WEZExtBuddy.xml") const {
    return root_.ReadBytes(name).value_or("<missing>");
  }
  void Set(const char16_t* item, std::vector<ItemField> records) {
    EXPECT_EQ(store_->SetItemFields(item, records.data(), static_cast<LONG>(records.size())), S_OK);
  }
  // The fields as a caller reads them: the array sized from GetItemFieldCount.
  Pairs Fields(const char16_t* item) const {
    LONG count = -1, written = -1;
    EXPECT_EQ(store_->GetItemFieldCount(item, &count), S_OK);
    std::vector<ItemField> records(static_cast<size_t>(count) + 1, Record(u"sentinel"));
    EXPECT_EQ(store_->GetItemFields(item, records.data(), &written), S_OK);
    EXPECT_EQ(std::u16string(records[static_cast<size_t>(count)].id), u"sentinel");
    Pairs out;
    for (LONG i = 0; i < written; ++i) out.emplace_back(records[i].id, records[i].value);
    return out;
  }
  LONG Count() const {
    LONG count = -1;
    EXPECT_EQ(store_->GetItemCount(&count), S_OK);
    return count;
  }

  TempDataRoot root_;
  LogCapture log_;
  ComPtr<CWEZItemStore> store_;
};

TEST_F(ItemStoreTest, OpeningWritesTheTemplateAndItsLogLineOnlyWhenTheFileCannotBeRead) {
  EXPECT_EQ(File(), kFile + "<Root/>\n");
  auto records = log_.Records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].level, u"important");
  EXPECT_EQ(records[0].text.rfind(u"vorlik:initialize itemstore\nfile: ", 0), 0u);
  for (const char* bytes : {"", "<Root><Item", "\xff\xfe<\0", "<Root><Item Name=\"a\"/></Root>"}) {
    root_.WriteBytes("WEZExtBuddy.xml", bytes);
    log_.Clear();
    Open();
    bool readable = std::string(bytes).find("</Root>") != std::string::npos;
    EXPECT_EQ(log_.Records().size(), readable ? 0u : 1u) << bytes;
    EXPECT_EQ(Count(), readable ? 1 : 0) << bytes;
  }
  // A file that cannot be written: the template serves in memory; a failed save is reported.
  Open(u"no/folder/WEZExtBuddy.xml", E_FAIL);
  Set(u"a", {});
  EXPECT_EQ(Count(), 1);
  log_.Clear();
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(log_.CountLevel(u"important"), 1u);
  // Without a path the store works in memory and never writes.
  store_ = MakeStore<CWEZItemStore>();
  EXPECT_EQ(store_->Initialize(nullptr), S_OK);
  Set(u"a", {Record(u"x", u"1")});
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(Fields(u"a"), (Pairs{{u"x", u"1"}}));
}

TEST_F(ItemStoreTest, FieldsAreAddedReplacedAndRemoved) {
  Set(u"A", {Record(u"x", u"1"), Record(u"y", u"2")});
  Set(u"A", {Record(u"x", u"3"), Record(u"", u"skipped"), Record(u"z", u"<&\"'>")});
  Set(u"B", {});
  EXPECT_EQ(Fields(u"A"), (Pairs{{u"x", u"3"}, {u"y", u"2"}, {u"z", u"<&\"'>"}}));
  EXPECT_EQ(Count(), 2);
  ItemField names[3] = {Record(u"?"), Record(u"?"), Record(u"sentinel")};
  EXPECT_EQ(store_->GetItemNames(names), S_OK);
  EXPECT_EQ(
      std::u16string(names[0].id) + names[0].value + names[1].id + names[1].value + names[2].id,
      u"NameANameBsentinel");

  ItemField gone[] = {Record(u"y"), Record(u"missing")};
  EXPECT_EQ(store_->DeleteItemFields(u"A", gone, 2), S_OK);
  EXPECT_EQ(store_->DeleteItem(u"B"), S_OK);
  EXPECT_EQ(store_->DeleteItem(u"nobody"), S_OK);
  EXPECT_EQ(store_->DeleteItemFields(u"nobody", gone, 2), S_OK);
  EXPECT_EQ(File(), kFile + "<Root/>\n");  // kept in memory until Close
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_EQ(File(), kFile +
                        "<Root><Item Name=\"A\"><Field id=\"x\">3</Field>"
                        "<Field id=\"z\">&lt;&amp;\"'&gt;</Field></Item></Root>\n");
}

TEST_F(ItemStoreTest, EveryChangeMarksTheStoreDirtyEvenWhenItChangesNothing) {
  const std::string outside = kFile + "<Root><Item Name=\"other\"/></Root>\n";
  auto changes = std::vector<std::function<void()>>{
      [&] { Set(u"new", {}); }, [&] { store_->DeleteItem(u"nobody"); },
      [&] { store_->DeleteItemFields(u"nobody", nullptr, 0); }};
  for (auto& change : changes) {
    Open();
    root_.WriteBytes("WEZExtBuddy.xml", outside);
    EXPECT_EQ(store_->Close(), S_OK);
    EXPECT_EQ(File(), outside);  // nothing pending: not written
    change();
    store_.reset();  // released without Close
    EXPECT_NE(File(), outside);
  }
}

TEST_F(ItemStoreTest, ExpressionsLongerThan127CharactersFindNothing) {
  struct Case {
    size_t name_length, id_length;
    LONG items, fields;  // after two identical SetItemFields calls
  };
  const Case cases[] = {
      {91, 1, 1, 1},                   // every expression fits
      {92, 1, 1, 2},  {104, 1, 1, 2},  // the field lookup is cut: a further field each call
      {105, 1, 1, 0},                  // the field count is cut: no records handed out
      {110, 1, 2, 0},                  // the item lookup is cut: a further empty item each call
      {127, 1, 2, 0}, {128, 1, 2, 0}, {10000, 1, 2, 0},
      {1, 91, 1, 1},  {1, 92, 1, 2},  {1, 256, 1, 2},
  };
  for (const Case& c : cases) {
    Open((u"items" + FromUtf8(std::to_string(c.name_length + 1000 * c.id_length))).c_str());
    std::u16string name(c.name_length, u'n'), id(c.id_length, u'i');
    Set(name.c_str(), {Record(id, u"v")});
    Set(name.c_str(), {Record(id, u"v")});
    EXPECT_EQ(Count(), c.items) << c.name_length << "/" << c.id_length;
    EXPECT_EQ(Fields(name.c_str()).size(), static_cast<size_t>(c.fields)) << c.name_length;
    EXPECT_EQ(store_->DeleteItem(name.c_str()), S_OK);
    EXPECT_EQ(Count(), c.name_length <= 109 ? 0 : 2);
  }
  // Two fields of one id: the unbounded removal takes the first.
  Open(u"long.xml");
  std::u16string name(109, u'n'), id(17, u'i');
  Set(name.c_str(), {Record(id, u"1")});
  Set(name.c_str(), {Record(id, u"2")});
  ItemField gone = Record(id);
  EXPECT_EQ(store_->DeleteItemFields(name.c_str(), &gone, 1), S_OK);
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_NE(File("long.xml").find(">2</Field></Item>"), std::string::npos);
  EXPECT_EQ(File("long.xml").find(">1</Field>"), std::string::npos);
}

TEST_F(ItemStoreTest, BadInputAnswersAStatusAndNeverWritesPastTheRecords) {
  log_.Clear();
  ItemField quoted = Record(u"a\"b", u"v");
  ExpectEach(
      E_FAIL,
      {store_->SetItemFields(u"say \"hi\"", nullptr, 0), store_->SetItemFields(u"ok", &quoted, 1),
       store_->SetItemFields(u"bell\a", nullptr, 0), store_->SetItemFields(u"ok", nullptr, 2)});
  EXPECT_EQ(log_.CountLevel(u"important"), 4u);
  EXPECT_EQ(store_->GetItemCount(nullptr), E_INVALIDARG);
  EXPECT_EQ(store_->FindItemByFieldValue(u"x", nullptr), E_INVALIDARG);

  // Ids and values that fill their 256 units without a terminator come back cut to 255, and
  // the last unit of each field is left as the caller had it.
  std::u16string full(256, u'f');
  Set(u"ok", {Record(full, full)});
  ItemField out[2];
  std::fill_n(reinterpret_cast<char16_t*>(out), sizeof(out) / 2, u'#');
  LONG written = 0;
  EXPECT_EQ(store_->GetItemFields(u"ok", out, &written), S_OK);
  ASSERT_EQ(written, 1);
  EXPECT_EQ(std::u16string(out[0].id, 256), std::u16string(255, u'f') + u'#');
  EXPECT_EQ(std::u16string(out[0].value, 256), std::u16string(255, u'f') + u'#');
  EXPECT_EQ(out[1].id[0], u'#');
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_NE(File().find(ToAnsi(full) + "</Field>"), std::string::npos);

  // Before Initialize there is no document: every operation fails and nothing is written.
  store_ = MakeStore<CWEZItemStore>();
  BSTR name = nullptr;
  ExpectEach(E_FAIL,
             {store_->SetItemFields(u"a", out, 1), store_->GetItemFields(u"a", out, &written),
              store_->ExportToFile(root_.File(u"t.xml").c_str()),
              store_->FindItemByFieldValue(u"a", &name)});
  EXPECT_EQ(Utf8AndFree(name), "");
  EXPECT_EQ(store_->Close(), S_OK);
  EXPECT_FALSE(root_.ReadBytes("t.xml").has_value());
}

TEST_F(ItemStoreTest, ForeignElementsNeverGrowTheArraysPastTheirCounts) {
  root_.WriteBytes("WEZExtBuddy.xml", kDecl +
                                          "<Root><Item Name=\"a\"><Field id=\"x\">1</Field>"
                                          "<Note id=\"y\">2</Note></Item><Note Name=\"n\"/>"
                                          "<Group><Item Name=\"deep\"/></Group></Root>");
  Open();
  EXPECT_EQ(Count(), 2);  // Items at any depth
  ItemField names[3] = {Record(u"?"), Record(u"?"), Record(u"sentinel")};
  EXPECT_EQ(store_->GetItemNames(names), S_OK);
  EXPECT_EQ(std::u16string(names[1].value), u"n");  // any child with a name
  EXPECT_EQ(std::u16string(names[2].id), u"sentinel");
  EXPECT_EQ(Fields(u"a"), (Pairs{{u"x", u"1"}}));  // one Field counted: one record
}

TEST_F(ItemStoreTest, FindingAnItemComparesByOrderNotEquality) {
  Set(u"first", {Record(u"k", u"a")});
  Set(u"second", {Record(u"k", u"c"), Record(u"l", u"e")});
  const std::pair<const char16_t*, std::string> cases[] = {
      {u"b", "second"}, {u"d", "second"},   {u"f", ""},      {u"a", "first"},
      {u"", "first"},   {nullptr, "first"}, {u"Z", "first"}, {u"cc", "second"},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(Answer(store_, &CWEZItemStore::FindItemByFieldValue, text), "S_OK " + expected);
  }
}

TEST_F(ItemStoreTest, FieldListIsAZeroBasedArrayOfValuesOrLeavesTheVariantAlone) {
  Set(u"A", {Record(u"x", u"1"), Record(u"y", std::u16string(300, u'v'))});
  VARIANT list;
  VariantInit(&list);
  ASSERT_EQ(store_->GetItemFieldList(u"A", &list), S_OK);
  ASSERT_EQ(list.vt, VT_ARRAY | VT_BSTR);
  LONG lower = -1, upper = -1;
  SafeArrayGetLBound(list.u.parray, 1, &lower);
  SafeArrayGetUBound(list.u.parray, 1, &upper);
  EXPECT_EQ(lower, 0);
  EXPECT_EQ(upper, 1);
  BSTR second = nullptr;
  EXPECT_EQ(SafeArrayGetElement(list.u.parray, &upper, &second), S_OK);
  EXPECT_EQ(Utf8AndFree(second), std::string(255, 'v'));
  VariantClear(&list);
  list.vt = VT_I4;
  list.u.lVal = 42;
  EXPECT_EQ(store_->GetItemFieldList(u"nobody", &list), S_OK);
  EXPECT_EQ(list.vt, VT_I4);
  EXPECT_EQ(list.u.lVal, 42);
}

TEST_F(ItemStoreTest, ExportAndMergeCopyMissingItemsAndFieldsOnly) {
  Set(u"A", {Record(u"x", u"mine"), Record(u"y", u"2")});
  std::u16string target = root_.File(u"target.xml");
  EXPECT_EQ(store_->MergeIntoFile(target.c_str()), E_FAIL);
  EXPECT_FALSE(root_.ReadBytes("target.xml").has_value());
  EXPECT_EQ(store_->ExportToFile(target.c_str()), S_OK);
  std::string exported = File("target.xml");
  EXPECT_EQ(exported, kFile +
                          "<Root><Item Name=\"A\"><Field id=\"x\">mine</Field>"
                          "<Field id=\"y\">2</Field></Item></Root>\n");
  EXPECT_EQ(store_->ExportToFile(target.c_str()), S_OK);
  EXPECT_EQ(File("target.xml"), exported);  // nothing added the second time

  root_.WriteBytes("other.xml", kDecl +
                                    "<UserGrid><Item Name=\"A\"><Field id=\"x\">theirs</Field>"
                                    "</Item><User Nick=\"u\"/></UserGrid>");
  EXPECT_EQ(store_->MergeIntoFile(root_.File(u"other.xml").c_str()), S_OK);
  EXPECT_EQ(File("other.xml"), kDecl +
                                   "<UserGrid><Item Name=\"A\"><Field id=\"x\">theirs</Field>"
                                   "<Field id=\"y\">2</Field></Item><User Nick=\"u\"/>"
                                   "</UserGrid>\n");
  std::filesystem::create_directory(root_.NativeFile("folder"));
  EXPECT_EQ(store_->ExportToFile(root_.File(u"folder").c_str()), E_FAIL);
  // A file that is not XML is left alone by a merge; an export replaces it, keeping its bytes.
  root_.WriteBytes("garbage", "not xml");
  EXPECT_EQ(store_->MergeIntoFile(root_.File(u"garbage").c_str()), E_FAIL);
  EXPECT_EQ(TakeErrorDescription(),
            root_.File(u"garbage") + u": not an item file that can be read");
  EXPECT_EQ(File("garbage"), "not xml");
  EXPECT_EQ(store_->ExportToFile(root_.File(u"garbage").c_str()), S_OK);
  EXPECT_EQ(File("garbage"), exported);
  bool kept = false;
  for (const auto& entry : std::filesystem::directory_iterator(root_.NativePath())) {
    kept |= entry.path().filename().string().starts_with("garbage.damaged-");
  }
  EXPECT_TRUE(kept);
  // The store's own document is not changed by either.
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Fields(u"A"), (Pairs{{u"x", u"mine"}, {u"y", u"2"}}));
}

}  // namespace
}  // namespace vk::test
