#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "client/ClientRoot.h"
#include "client/ModuleSite.h"
#include "messages/LocalOffMsgStore.h"
#include "platform/Compression.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "samples/OffMsgSamples.h"
#include "tests/support/HangGuard.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MakeStore.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {
namespace {

using samples::OffMsgRecord;

constexpr LONG kIm = VK_OFFMSG_CHANNEL_IM;
constexpr LONG kDisc = VK_OFFMSG_CHANNEL_DISCUSSION;

struct Item {
  std::u16string msg_id, actor, title, xml, identifier, sender, receivers, type;
  LONG count = 0, create_time = 0;
};

OffMsgRecord Rec(std::u16string id, LONG time, std::u16string body = u"<m/>") {
  OffMsgRecord r;
  r.msg_id = std::move(id);
  r.create_time = time;
  r.sender = u"snd";
  r.receivers = u"rcv" + FromUtf8(std::to_string(time));
  r.type = u"T";
  r.title = u"标题";
  r.session_desc = u"desc";
  r.body = std::move(body);
  return r;
}

// A client root that can run out of data items, as a client short of memory would.
class LimitedRoot : public ClientRoot {
 public:
  HRESULT CreateDataItem(IDataItem** item) override {
    if (items_left == 0) {
      *item = nullptr;
      return E_OUTOFMEMORY;
    }
    if (items_left > 0) --items_left;
    return ClientRoot::CreateDataItem(item);
  }
  int items_left = -1;  // no limit
};

class LocalOffMsgStoreTest : public ::testing::Test {
 protected:
  LocalOffMsgStoreTest() {
    root_->SetDataFolder(data_.Path());
    root_->SetAccount(u"bob");
    EXPECT_EQ(store_->Init(site_.get()), S_OK);
    EXPECT_EQ(store_->OpenAccount(), S_OK);
  }

  std::string Rel(LONG channel, const char* ext) const {
    return std::string("Accounts/bob/OffMsgFiles/") + (channel == kIm ? "IM" : "DisGroup") +
           "/bob." + ext;
  }
  void Write(LONG channel, const std::vector<OffMsgRecord>& records,
             std::optional<LONG> sum = std::nullopt) {
    ASSERT_TRUE(samples::WriteOffMsgChannel(data_.Path(), u"bob", channel,
                                            samples::BuildOffMsgChannel(records, sum)));
  }
  std::string Index(LONG channel) const {
    return data_.ReadBytes(Rel(channel, "xml")).value_or("");
  }

  // Runs a listing operation and reads back every item (the variant untouched: none).
  template <typename Call>
  static std::vector<Item> Items(Call&& call, HRESULT expected) {
    VARIANT v;
    VariantInit(&v);
    EXPECT_EQ(call(&v), expected);
    std::vector<Item> items;
    LONG count = 0;
    auto* list = v.vt == VT_DISPATCH ? static_cast<IDataList*>(v.u.pdispVal) : nullptr;
    if (list != nullptr) list->get_Count(&count);
    for (LONG i = 1; i <= count; ++i) {
      IDataItem* data = nullptr;
      list->Item(i, &data);
      Item item;
      std::u16string* texts[] = {&item.msg_id,     &item.actor,  &item.title,     &item.xml,
                                 &item.identifier, &item.sender, &item.receivers, &item.type};
      const char16_t* names[] = {u"MsgID",      u"Actor",  u"Title",     u"Xml",
                                 u"Identifier", u"Sender", u"Recievers", u"Type"};
      for (size_t n = 0; n < 8; ++n) {
        BSTR value = nullptr;
        data->GetTextAttr(names[n], &value);
        *texts[n] = value;
        SysFreeString(value);
      }
      data->GetIntAttr(u"Count", &item.count);
      data->GetIntAttr(u"CreateTime", &item.create_time);
      data->Release();
      items.push_back(item);
    }
    VariantClear(&v);
    return items;
  }
  std::vector<Item> Indexes(HRESULT expected = S_OK) {
    return Items([&](VARIANT* v) { return store_->GetIndexes(v); }, expected);
  }
  std::vector<Item> Message(const char16_t* id, HRESULT expected = S_OK) {
    return Items([&](VARIANT* v) { return store_->GetOffMsgByID(id, v); }, expected);
  }
  LONG Total() {
    LONG count = 99;
    EXPECT_EQ(store_->GetTotalCount(&count), S_OK);
    return count;
  }

  TempDataRoot data_;
  ComPtr<LimitedRoot> root_{new LimitedRoot()};
  ComPtr<ModuleSite> site_{new ModuleSite(root_.get())};
  ComPtr<CLocalOffMsgStore> store_{new CLocalOffMsgStore()};
};

TEST_F(LocalOffMsgStoreTest, OpeningNeedsASiteARootAndCreatableFolders) {
  EXPECT_TRUE(IsFolder(data_.File(u"Accounts/bob/OffMsgFiles/IM")));
  EXPECT_TRUE(IsFolder(data_.File(u"Accounts/bob/OffMsgFiles/DisGroup")));
  EXPECT_FALSE(data_.ReadBytes(Rel(kIm, "xml")));  // nothing is created but the folders

  auto fresh = MakeStore<CLocalOffMsgStore>();
  EXPECT_EQ(fresh->Init(nullptr), E_INVALIDARG);
  EXPECT_EQ(fresh->OpenAccount(), E_FAIL);
  {
    LogCapture log;
    EXPECT_EQ(fresh->Init(static_cast<IClientRoot*>(root_.get())), E_FAIL);  // the root is no site
    EXPECT_TRUE(log.HasDebugLineContaining("exception (_com_error)"));
  }
  EXPECT_EQ(fresh->Init(site_.get()), S_OK);
  root_->SetDataFolder(u"");
  EXPECT_EQ(fresh->OpenAccount(), E_FAIL);
  // A file where a folder level should be.
  root_->SetDataFolder(data_.Path());
  root_->SetAccount(u"carol");
  data_.WriteBytes("Accounts/carol", "a file");
  EXPECT_EQ(fresh->OpenAccount(), E_FAIL);
  root_->SetAccount(u"dave");
  EXPECT_EQ(fresh->OpenAccount(), S_OK);
  EXPECT_TRUE(IsFolder(data_.File(u"Accounts/dave/OffMsgFiles/DisGroup")));
  // An account that would leave Accounts is refused: nothing is made outside, and clearing
  // afterwards deletes nothing, not even the channels of the account opened before.
  data_.WriteBytes("Accounts/dave/OffMsgFiles/IM/dave.xml", "kept");
  for (const char16_t* bad : {u"../../victim", u"..", u".", u"a/b", u"a\\b", u""}) {
    root_->SetAccount(bad);
    LogCapture log;
    EXPECT_EQ(fresh->OpenAccount(), E_FAIL) << ToUtf8(bad);
    EXPECT_EQ(fresh->ClearChannel(kIm), S_OK);
    EXPECT_TRUE(log.HasDebugLineContaining("refused the account name"));
  }
  EXPECT_FALSE(IsFolder(data_.File(u"victim")));
  EXPECT_FALSE(IsFolder(data_.File(u"../victim")));
  EXPECT_FALSE(IsFolder(data_.File(u"Accounts/OffMsgFiles")));
  EXPECT_EQ(data_.ReadBytes("Accounts/dave/OffMsgFiles/IM/dave.xml"), "kept");
}

TEST_F(LocalOffMsgStoreTest, IndexesGroupConversationsAcrossBothChannels) {
  EXPECT_TRUE(Indexes().empty());  // no index files: an empty list
  Write(kIm, {Rec(u"a", 1), Rec(u"b", 2), Rec(u"A", 3), Rec(u"c", 4)});
  OffMsgRecord escaped = Rec(u"d", 6);
  escaped.title = u"a&b<\"c\" 标题";
  Write(kDisc, {Rec(u"B", 5), escaped});
  std::vector<Item> items = Indexes();
  // A conversation that gets another record moves to the end and keeps its first record.
  struct Expected {
    const char16_t* id;
    LONG count, time;
  } expected[] = {{u"a", 2, 1}, {u"c", 1, 4}, {u"b", 2, 2}, {u"d", 1, 6}};
  ASSERT_EQ(items.size(), 4u);
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(items[i].msg_id, expected[i].id) << i;
    EXPECT_EQ(items[i].count, expected[i].count) << i;
    EXPECT_EQ(items[i].create_time, expected[i].time) << i;
    EXPECT_EQ(items[i].actor, u"rcv" + FromUtf8(std::to_string(expected[i].time))) << i;
    EXPECT_EQ(items[i].title, i == 3 ? u"a&b<\"c\" 标题" : u"标题") << i;
  }

  // An item the client cannot make ends the list as the pass that would have made it fails:
  // in the discussion pass (d), the items so far with the failure; in the IM pass (b, whose
  // first record is an IM one), the failure alone.
  for (int left : {3, 2}) {
    root_->items_left = left;
    LogCapture log;
    VARIANT v;
    VariantInit(&v);
    EXPECT_EQ(store_->GetIndexes(&v), E_FAIL) << left;
    EXPECT_EQ(v.vt, left == 3 ? VT_DISPATCH : VT_EMPTY) << left;
    LONG count = 0;
    if (v.vt == VT_DISPATCH) static_cast<IDataList*>(v.u.pdispVal)->get_Count(&count);
    EXPECT_EQ(count, left == 3 ? 3 : 0);
    VariantClear(&v);
    EXPECT_TRUE(log.HasDebugLineContaining(
        "GetIndexesFromXML Processing Elements error -- FileName=" + ToUtf8(data_.Path()) +
        Rel(left == 3 ? kDisc : kIm, "xml") + " \n"))
        << left;
  }
  root_->items_left = -1;

  // A broken discussion index: the IM items with its failure. A broken IM index: the failure
  // alone, and the caller's variant untouched.
  data_.WriteBytes(Rel(kDisc, "xml"), "<OffMsgIndexData");
  EXPECT_EQ(Indexes(E_FAIL).size(), 3u);
  data_.WriteBytes(Rel(kIm, "xml"), "<Other DataSum=\"1\"/>");
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_I4;
  EXPECT_EQ(store_->GetIndexes(&v), E_FAIL);
  EXPECT_EQ(v.vt, VT_I4);
}

TEST_F(LocalOffMsgStoreTest, MessagesAreReadDecompressedAndDamagedBodiesSkipped) {
  const std::u16string text = u"<Msg>你好, bob</Msg>";
  std::vector<OffMsgRecord> good = {Rec(u"other", 1, u"<x/>"), Rec(u"ID", 7, text)};
  Write(kIm, good);
  LogCapture log;
  std::vector<Item> items = Message(u"id");
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].xml, text);
  EXPECT_EQ(items[0].identifier, u"id");  // as the caller asked
  EXPECT_EQ(items[0].sender, u"snd");
  EXPECT_EQ(items[0].receivers, u"rcv7");
  EXPECT_EQ(items[0].type, u"T");
  EXPECT_EQ(items[0].create_time, 7);
  EXPECT_TRUE(log.HasDebugLineContaining(
      "CLocalOffMsgStore::GetOffMsgByID XML Content:" + ToUtf8(text) + "\n"));
  EXPECT_TRUE(Message(u"nobody").empty());

  // Each case: a damaged first record, then a good one with the same id that still
  // delivers; the trace line the damage leaves.
  const std::string data_size = std::to_string(samples::BuildOffMsgChannel(good).data.size());
  auto with = [](LONG addr, LONG len) {
    OffMsgRecord r = Rec(u"id", 1);
    r.addr = addr;
    r.len = len;
    return r;
  };
  struct Case {
    const char* name;
    OffMsgRecord damaged;
    const char* line;  // null: the record still delivers
  } cases[] = {
      {"beyond the file", with(1 << 30, 20), "GetOffMsgByID UnCompress Error -- FileName="},
      {"negative address", with(-5, 20), "GetOffMsgByID UnCompress Error"},
      {"not zlib", with(3, 10), "GetOffMsgByID UnCompress Error"},
      {"negative length", with(0, -1), "GetOneOffMsg New Array Error -- FileName="},
      {"empty body", Rec(u"id", 1, u""), "GetOffMsgByID ulDestLen Error -- FileName="},
      {"3600 bytes", Rec(u"id", 1, std::u16string(1800, u'x')), "GetOffMsgByID ulDestLen Error"},
      {"more than 3600", Rec(u"id", 1, std::u16string(1801, u'x')),
       "GetOffMsgByID UnCompress Error"},
      // What follows the stream in the file is ignored, however long the record says it is.
      {"huge length", with(0, 0x7FFFFFFF), nullptr},
  };
  for (const Case& c : cases) {
    Write(kIm, {c.damaged, Rec(u"ID", 9, text)});
    log.Clear();
    items = Message(u"id");
    ASSERT_EQ(items.size(), 1u) << c.name;
    EXPECT_EQ(items[0].create_time, c.line != nullptr ? 9 : 1) << c.name;
    if (c.line != nullptr) {
      EXPECT_TRUE(log.HasDebugLineContaining(std::string("CLocalOffMsgStore::") + c.line))
          << c.name;
    }
  }
  // Bytes just below the bound, and an odd length whose last byte ends the text.
  Write(kIm, {Rec(u"id", 1, std::u16string(1799, u'y'))});
  EXPECT_EQ(Message(u"id")[0].xml, std::u16string(1799, u'y'));
  samples::OffMsgChannelFiles odd = samples::BuildOffMsgChannel({Rec(u"id", 1)});
  odd.data = Compress(std::string("a\0b\0c", 5));
  ASSERT_TRUE(samples::WriteOffMsgChannel(data_.Path(), u"bob", kIm, odd));
  EXPECT_EQ(Message(u"id")[0].xml, u"abc");

  // No data file: the record is skipped after the trace line.
  ASSERT_TRUE(RemoveFile(data_.File(u"Accounts/bob/OffMsgFiles/IM/bob.txt")));
  log.Clear();
  EXPECT_TRUE(Message(u"id").empty());
  EXPECT_TRUE(log.HasDebugLineContaining("CLocalOffMsgStore::GetOneOffMsg infile.rdstate() Error"));
  EXPECT_TRUE(log.HasDebugLineContaining("CLocalOffMsgStore::GetOffMsgByID GetOneOffMsg Error"));
}

TEST_F(LocalOffMsgStoreTest, BothChannelsDeliverAndOnlyTheImFailureCounts) {
  Write(kIm, {Rec(u"x", 1, u"<im/>")});
  Write(kDisc, {Rec(u"x", 2, u"<dg/>")});
  std::vector<Item> items = Message(u"X");
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].xml, u"<im/>");
  EXPECT_EQ(items[1].xml, u"<dg/>");
  data_.WriteBytes(Rel(kDisc, "xml"), "not xml");
  EXPECT_EQ(Message(u"x").size(), 1u);
  data_.WriteBytes(Rel(kIm, "xml"), "not xml");
  EXPECT_TRUE(Message(u"x", E_FAIL).empty());
}

TEST_F(LocalOffMsgStoreTest, DeletingRemovesEveryMatchAndKeepsTheRestAsWritten) {
  Write(kIm, {Rec(u"a", 1), Rec(u"gone", 2), Rec(u"b", 3), Rec(u"GONE", 4)});
  Write(kDisc, {Rec(u"gone", 5)}, 0);
  const std::string before = Index(kIm);
  LogCapture log;
  EXPECT_EQ(store_->DeleteOffMsgIndexByID(u"Gone"), S_OK);
  // The other records keep their attributes, order and ANSI text; DataSum drops by two.
  std::string expected = before;
  for (const char* id : {"gone", "GONE"}) {
    size_t at = expected.find(std::string("<OffMsgRec MsgID=\"") + id);
    expected.erase(at, expected.find("/>", at) + 4 - at);
  }
  expected.replace(expected.find("DataSum=\"4\""), 11, "DataSum=\"2\"");
  std::string after = Index(kIm);
  // Line breaks between records are not kept.
  std::erase(expected, '\r');
  std::erase(expected, '\n');
  std::erase(after, '\r');
  std::erase(after, '\n');
  EXPECT_EQ(after, expected);
  EXPECT_NE(after.find("Title=\"\xB1\xEA\xCC\xE2\""), std::string::npos);  // GBK
  EXPECT_EQ(Index(kDisc).find("gone"), std::string::npos);
  EXPECT_NE(Index(kDisc).find("DataSum=\"0\""), std::string::npos);  // clamped at 0
  for (const char* line : {"DeleteOffMsgIndexByID Get in\n", "SetSumToXML Get in\n"}) {
    EXPECT_TRUE(log.HasDebugLineContaining(std::string("CLocalOffMsgStore::") + line)) << line;
  }
  EXPECT_EQ(Total(), 2);

  // No IM index: nothing to do there, the discussion index still goes.
  ASSERT_TRUE(RemoveFile(data_.File(u"Accounts/bob/OffMsgFiles/IM/bob.xml")));
  Write(kDisc, {Rec(u"z", 1), Rec(u"y", 2)});
  EXPECT_EQ(store_->DeleteOffMsgIndexByID(u"z"), S_OK);
  EXPECT_EQ(Total(), 1);
  // An IM index that cannot be read counts as none: the discussion index still goes.
  data_.WriteBytes(Rel(kIm, "xml"), "<OffMsgIndexData DataSum=\"3\">");
  EXPECT_EQ(store_->DeleteOffMsgIndexByID(u"y"), S_OK);
  EXPECT_EQ(Total(), 0);
}

TEST_F(LocalOffMsgStoreTest, CountsLatestAndWriteTimes) {
  LogCapture log;
  EXPECT_EQ(Total(), -1);
  EXPECT_EQ(log.DebugLines(),
            (std::vector<std::string>{"CLocalOffMsgStore::GetSumFromXML Get in\n",
                                      "CLocalOffMsgStore::GetSumFromXML Get in\n"}));
  Write(kDisc, {Rec(u"a", 1)}, 5);
  EXPECT_EQ(Total(), 5);
  Write(kIm, {}, 3);
  EXPECT_EQ(Total(), 8);
  // What was read from an index serves only the same file: rewritten in place with the same
  // size and another time, or with another size and the same time, it is read again.
  const std::string im_file = data_.NativeFile(Rel(kIm, "xml"));
  auto rewrite = [&](const char* from, const char* to, time_t seconds) {
    std::string bytes = Index(kIm);
    bytes.replace(bytes.find(from), std::strlen(from), to);
    std::ofstream(im_file, std::ios::binary | std::ios::trunc) << bytes;
    const timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, im_file.c_str(), times, 0), 0);
  };
  rewrite("DataSum=\"3\"", "DataSum=\"3\"", 1600000000);
  EXPECT_EQ(Total(), 8);
  rewrite("DataSum=\"3\"", "DataSum=\"4\"", 1600000001);
  EXPECT_EQ(Total(), 9);
  rewrite("DataSum=\"4\"", "DataSum=\"40\"", 1600000001);
  EXPECT_EQ(Total(), 45);
  Write(kIm, {}, 3);

  LONG t[4] = {9, 9, 9, 9};
  EXPECT_EQ(store_->GetLatest(&t[0], &t[1], &t[2], &t[3]), S_OK);
  EXPECT_EQ(std::vector<LONG>(t, t + 4), (std::vector<LONG>{0, 0, 1, 0}));
  // Ties go to the later record.
  std::vector<OffMsgRecord> im = {Rec(u"a", 5), Rec(u"b", 9), Rec(u"c", 9), Rec(u"d", 2)};
  Write(kIm, im);
  EXPECT_EQ(store_->GetLatest(&t[0], &t[1], &t[2], &t[3]), S_OK);
  samples::OffMsgChannelFiles files = samples::BuildOffMsgChannel(im);
  size_t third = files.index.find("MsgID=\"c\"");
  size_t addr = files.index.find("Addr=\"", third) + 6;
  EXPECT_EQ(t[0], 9);
  EXPECT_EQ(t[1], std::stol(files.index.substr(addr)));

  BSTR text = nullptr;
  std::u16string im_index = data_.File(u"Accounts\\bob\\OffMsgFiles\\IM\\bob.xml");
  EXPECT_EQ(store_->SetFileLastWriteTime(kIm, u"20261123"), S_OK);
  EXPECT_EQ(store_->GetFileLastWriteTime(im_index.c_str(), &text), S_OK);
  EXPECT_EQ(std::u16string(text), u"20261123");
  SysFreeString(text);
  EXPECT_EQ(store_->GetFileLastWriteTime(u"/nowhere.xml", &text), S_OK);
  EXPECT_EQ(std::u16string(text), u"");
  SysFreeString(text);
  EXPECT_EQ(store_->SetFileLastWriteTime(1, u"x"), E_FAIL);
  data_.WriteBytes(Rel(kDisc, "xml"), "<Other/>");
  EXPECT_EQ(store_->SetFileLastWriteTime(kDisc, u"x"), E_FAIL);
  EXPECT_EQ(Index(kDisc), "<Other/>");
}

TEST_F(LocalOffMsgStoreTest, ClearingRemovesPlainFilesOfChannelsThatAreEmptyOrHalf) {
  const std::u16string im_folder = data_.File(u"Accounts/bob/OffMsgFiles/IM/");
  auto files_in = [](const std::u16string& folder) {
    std::vector<std::u16string> names;
    for (const FolderEntry& e : ListFolder(folder)) names.push_back(e.name);
    std::sort(names.begin(), names.end());
    return names;
  };
  // Empty IM channel (DataSum 0) with a hidden file and a subfolder; a full discussion channel.
  Write(kIm, {}, 0);
  data_.WriteBytes("Accounts/bob/OffMsgFiles/IM/.keep", "");
  data_.WriteBytes("Accounts/bob/OffMsgFiles/IM/extra.dat", "");
  ASSERT_TRUE(CreateFolder(im_folder + u"sub"));
  Write(kDisc, {Rec(u"a", 1)});
  EXPECT_EQ(store_->ClearEmptyChannels(), S_OK);
  EXPECT_EQ(files_in(im_folder), (std::vector<std::u16string>{u".keep", u"sub"}));
  EXPECT_EQ(files_in(data_.File(u"Accounts/bob/OffMsgFiles/DisGroup/")).size(), 2u);

  LONG consistent = 5;
  EXPECT_EQ(store_->CheckFiles(&consistent), S_OK);
  EXPECT_EQ(consistent, 1);  // IM has neither file, the discussion channel both
  ASSERT_TRUE(RemoveFile(data_.File(u"Accounts/bob/OffMsgFiles/DisGroup/bob.txt")));
  EXPECT_EQ(store_->CheckFiles(&consistent), S_OK);
  EXPECT_EQ(consistent, 0);
  EXPECT_TRUE(files_in(data_.File(u"Accounts/bob/OffMsgFiles/DisGroup/")).empty());

  EXPECT_EQ(store_->ClearChannel(1), S_OK);  // unknown channel: nothing
  Write(kDisc, {Rec(u"a", 1)});
  EXPECT_EQ(store_->ClearChannel(kDisc), S_OK);
  EXPECT_TRUE(files_in(data_.File(u"Accounts/bob/OffMsgFiles/DisGroup/")).empty());
}

TEST_F(LocalOffMsgStoreTest, UnreadableIndexesCountAsNoneAndAreNeverCleared) {
  const std::string kept = Rel(kIm, "xml");
  struct Case {
    std::string bytes;
    LONG total;  // the IM channel's DataSum is 7, the discussion channel's 0
  };
  const Case cases[] = {
      {"<OffMsgIndexData DataSum=\"7\">", 0},                            // cut short after the root
      {"<OffMsgIndexData DataSum=\"7\"><OffMsgRec MsgID=\"a\" Cre", 0},  // inside a record
      {"<!DOCTYPE OffMsgIndexData [<!ENTITY e \"x\">]><OffMsgIndexData DataSum=\"7\"/>", 0},
      {"", 0},  // a FIFO in the index's place, which nobody writes to
      // Damaged inside but closed: the count comes from the root; listing and clearing read
      // the records and refuse them.
      {"<OffMsgIndexData DataSum=\"7\"><OffMsgRec MsgID=\"a\" <</OffMsgIndexData >\r\n", 7},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.bytes);
    Write(kIm, {Rec(u"a", 1)});
    Write(kDisc, {}, 0);
    if (c.bytes.empty()) {
      ASSERT_TRUE(MakeFifo(data_.NativeFile(kept)));
    } else {
      data_.WriteBytes(kept, c.bytes);
    }
    LogCapture log;
    HangGuard guard;
    EXPECT_EQ(Total(), c.total);
    Indexes(E_FAIL);
    EXPECT_EQ(store_->ClearEmptyChannels(), S_OK);
    // The unreadable IM channel keeps both files; the empty discussion channel goes.
    EXPECT_TRUE(IsFileExist(data_.File(FromUtf8(kept))));
    EXPECT_TRUE(IsFileExist(data_.File(FromUtf8(Rel(kIm, "txt")))));
    EXPECT_FALSE(IsFileExist(data_.File(FromUtf8(Rel(kDisc, "xml")))));
    EXPECT_EQ(log.CountDebugLinesContaining("ClearEmptyChannels unreadable index kept"), 1u);
    ::unlink(data_.NativeFile(kept).c_str());
  }
}

TEST_F(LocalOffMsgStoreTest, ChannelOfAHundredThousandRecordsReadsBack) {
  // Some 15 MB of index: more than a parser takes in one piece.
  ASSERT_TRUE(samples::WriteOffMsgChannel(
      data_.Path(), u"bob", kIm,
      samples::BuildOffMsgChannel(samples::SampleOffMsgRecords(100000, 100))));
  ASSERT_GT(Index(kIm).size(), 10000000u);
  EXPECT_EQ(Total(), 100000);
  std::vector<Item> conversations = Indexes();
  ASSERT_EQ(conversations.size(), 100u);
  EXPECT_EQ(conversations.front().count, 1000);
  std::vector<Item> shown = Message(conversations.back().msg_id.c_str());
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_FALSE(shown.front().xml.empty());
  LONG t[4] = {};
  EXPECT_EQ(store_->GetLatest(&t[0], &t[1], &t[2], &t[3]), S_OK);
  EXPECT_GT(t[0], 0);
  EXPECT_EQ(store_->DeleteOffMsgIndexByID(conversations.front().msg_id.c_str()), S_OK);
  EXPECT_EQ(Total(), 99000);
  EXPECT_EQ(store_->ClearEmptyChannels(), S_OK);
  EXPECT_EQ(Total(), 99000);
}

TEST_F(LocalOffMsgStoreTest, LargeIndexReadInPartsListsWhatTheWholeFileHolds) {
  // Some 2 MB, read by two threads; what stands at the place where the file would be split
  // decides whether it is, never what is read.
  const std::string plain =
      samples::BuildOffMsgChannel(samples::SampleOffMsgRecords(12000, 100)).index;
  auto record_at = [&](double fraction) {
    return plain.find("<OffMsgRec", static_cast<size_t>(plain.size() * fraction));
  };
  auto records_in = [](std::string_view bytes) {
    size_t n = 0;
    for (size_t at = bytes.find("<OffMsgRec"); at != bytes.npos;
         at = bytes.find("<OffMsgRec", at + 1))
      ++n;
    return n;
  };
  struct Case {
    const char* name;
    double from, to;  // where `open` and `close` go
    const char *open, *close;
    HRESULT listed;
  };
  const Case cases[] = {
      {"records in a comment across the middle", 0.4, 0.6, "<!--", "-->", S_OK},
      {"damage in the second part", 0.8, 0.8, "<Broken", "", E_FAIL},
      {"damage in the first part", 0.2, 0.2, "<Broken", "", E_FAIL},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const size_t from = record_at(c.from), to = record_at(c.to);
    std::string bytes = plain;
    bytes.insert(to, c.close);
    bytes.insert(from, c.open);
    data_.WriteBytes(Rel(kIm, "xml"), bytes);
    std::vector<Item> items = Indexes(c.listed);
    LONG records = 0;
    for (const Item& item : items) records += item.count;
    const size_t hidden = records_in(std::string_view(plain).substr(from, to - from));
    EXPECT_EQ(static_cast<size_t>(records), c.listed == S_OK ? 12000 - hidden : 0);
  }
}

}  // namespace
}  // namespace vk::test
