#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "storage/SqlCall.h"
#include "storage/SqlStore.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SqlRows.h"
#include "tests/support/TempDataRoot.h"

namespace {

namespace fs = std::filesystem;

enum { kInsert, kSelectById, kSelectAll, kBroken };

vk::SqlSchema TestSchema() {
  vk::SqlSchema schema;
  schema.begin = "BEGIN IMMEDIATE";
  schema.script = {
      "CREATE TABLE IF NOT EXISTS item (id INTEGER PRIMARY KEY ON CONFLICT REPLACE, "
      "label TEXT, weight INTEGER)",
      "CREATE INDEX IF NOT EXISTS index_item_label ON item(label)",
  };
  schema.statements = {
      u"INSERT INTO [item] VALUES (?, ?, ?)",
      u"SELECT label, weight FROM [item] WHERE id=?",
      u"SELECT COUNT(*) FROM [item]",
      u"SELECT nothing FROM [missing_table]",
  };
  return schema;
}

class SqlStoreTest : public ::testing::Test {
 protected:
  // Reads through a connection of the test's own, not the helper's.
  std::string Query(const char* sql) const { return vk::test::SqlRows(path_, sql); }

  // A store on the test's file, opened.
  std::unique_ptr<vk::SqlStore> Opened(vk::SqlSchema schema = TestSchema()) {
    auto store = std::make_unique<vk::SqlStore>(std::move(schema));
    store->SetPath(path_);
    store->OpenDb();
    return store;
  }

  static int Insert(vk::SqlStore& store, int64_t id, const char16_t* label, int weight) {
    vk::SqlCall call(store.Statement(kInsert));
    call.BindInt64(1, id).BindText(2, std::u16string(label)).BindInt(3, weight);
    return call.Step();
  }

  vk::test::TempDataRoot root_;
  std::u16string path_ = root_.File(u"store.dat");
};

TEST_F(SqlStoreTest, OpeningCreatesTheSchemaAndReopeningKeepsTheData) {
  {
    vk::SqlStore store(TestSchema());
    store.SetPath(path_);
    EXPECT_FALSE(store.IsOpen());
    store.OpenDb();
    ASSERT_TRUE(store.IsOpen());
    EXPECT_TRUE(fs::exists(fs::path(path_)));
    EXPECT_EQ(fs::status(fs::path(path_)).permissions(),
              fs::perms::owner_read | fs::perms::owner_write)
        << "created private whatever the umask";
    for (int i : {kInsert, kSelectById, kSelectAll}) EXPECT_NE(store.Statement(i), nullptr) << i;
    // A statement that does not prepare stays null without disturbing the others.
    EXPECT_EQ(store.Statement(kBroken), nullptr);
    EXPECT_EQ(Insert(store, 1, u"one", 10), SQLITE_DONE);
    // A second OpenDb on an open store does nothing.
    sqlite3* before = store.Connection();
    store.OpenDb();
    EXPECT_EQ(store.Connection(), before);
  }
  EXPECT_EQ(Query("SELECT name FROM sqlite_master ORDER BY name"), "index_item_label;item;");
  auto again = Opened();
  ASSERT_TRUE(again->IsOpen());
  again->CloseDb();
  EXPECT_EQ(Query("SELECT id || ':' || label || ':' || weight FROM item"), "1:one:10;");
}

TEST_F(SqlStoreTest, InsertWithAnExistingKeyReplacesTheRow) {
  auto store = Opened();
  EXPECT_EQ(Insert(*store, 7, u"first", 1), SQLITE_DONE);
  EXPECT_EQ(Insert(*store, 7, u"second", 2), SQLITE_DONE);
  {
    // 32-bit identifiers are widened without sign.
    vk::SqlCall call(store->Statement(kInsert));
    call.BindU32(1, 0xFFFFFFFFu).BindText(2, u"max").BindInt(3, 0);
    EXPECT_EQ(call.Step(), SQLITE_DONE);
  }
  store->CloseDb();
  EXPECT_EQ(Query("SELECT id || ':' || label FROM item ORDER BY id"), "7:second;4294967295:max;");
}

TEST_F(SqlStoreTest, ClosedOrNeverOpenedStoreHasNoStatementsAndFailsItsBinds) {
  vk::SqlStore store(TestSchema());
  store.SetPath(path_);
  EXPECT_EQ(store.Statement(kInsert), nullptr);
  {
    vk::SqlCall call(store.Statement(kInsert));
    call.BindInt64(1, 1).BindText(2, u"x");
    EXPECT_FALSE(call.Bound());
    EXPECT_EQ(call.Step(), vk::SqlCall::kNotStepped);
  }
  EXPECT_FALSE(fs::exists(fs::path(path_)));  // the engine was never asked to open it
  store.OpenDb();
  store.CloseDb();
  EXPECT_FALSE(store.IsOpen());
  EXPECT_EQ(store.Statement(kInsert), nullptr);
  store.CloseDb();  // closing twice is harmless
  EXPECT_FALSE(store.IsOpen());
  // Out-of-range indexes are not statements either.
  EXPECT_EQ(store.Statement(99), nullptr);
  // A failed open leaves the store closed.
  vk::SqlStore elsewhere(TestSchema());
  elsewhere.SetPath(root_.File(u"no-such-folder/store.dat"));
  elsewhere.OpenDb();
  EXPECT_FALSE(elsewhere.IsOpen());
  EXPECT_EQ(elsewhere.Statement(kSelectAll), nullptr);
}

TEST_F(SqlStoreTest, BindingRules) {
  auto store = Opened();
  ASSERT_EQ(Insert(*store, 1, u"one", 42), SQLITE_DONE);
  {
    // Parameter 9 does not exist: the pass stops there and nothing is written.
    vk::SqlCall call(store->Statement(kInsert));
    call.BindInt64(1, 2).BindInt(9, 0).BindText(2, u"never");
    EXPECT_FALSE(call.Bound());
    EXPECT_EQ(call.Step(), vk::SqlCall::kNotStepped);
  }
  try {
    // A query left mid-cursor by an exception is reset by the call's end.
    vk::SqlCall call(store->Statement(kSelectAll));
    ASSERT_EQ(call.Step(), SQLITE_ROW);
    throw std::runtime_error("between step and reset");
  } catch (const std::runtime_error&) {
  }
  {
    vk::SqlCall count(store->Statement(kSelectAll));
    ASSERT_EQ(count.Step(), SQLITE_ROW);
    EXPECT_EQ(count.ColumnInt64(0), 1);
  }
  // Parameters left unbound keep the previous use's values: the weight stays 42.
  {
    vk::SqlCall call(store->Statement(kInsert));
    call.BindInt64(1, 2).BindText(2, u"two");
    EXPECT_EQ(call.Step(), SQLITE_DONE);
  }
  {
    vk::SqlCall read(store->Statement(kSelectById));
    read.BindInt64(1, 2);
    ASSERT_EQ(read.Step(), SQLITE_ROW);
    EXPECT_EQ(read.ColumnString(0), u"two");
    EXPECT_EQ(read.ColumnInt(1), 42);
  }
  // On a fresh statement a parameter never bound reads as null.
  auto fresh = Opened();
  {
    vk::SqlCall call(fresh->Statement(kInsert));
    call.BindInt64(1, 5).BindInt(3, 1);
    EXPECT_EQ(call.Step(), SQLITE_DONE);
  }
  vk::SqlCall read(fresh->Statement(kSelectById));
  read.BindInt64(1, 5);
  ASSERT_EQ(read.Step(), SQLITE_ROW);
  EXPECT_EQ(read.ColumnText(0), nullptr);
  EXPECT_EQ(read.ColumnString(0), u"");
}

TEST_F(SqlStoreTest, ExecHandsBackAndReleasesTheEnginesMessage) {
  auto store = Opened();
  std::u16string error;
  EXPECT_NE(vk::SqlStore::Exec(store->Connection(), "SELEC nonsense", &error), SQLITE_OK);
  EXPECT_NE(error.find(u"syntax error"), std::u16string::npos);
  error.clear();
  EXPECT_EQ(vk::SqlStore::Exec(store->Connection(), "SELECT 1", &error), SQLITE_OK);
  EXPECT_TRUE(error.empty());
}

TEST_F(SqlStoreTest, TablesAndIndexesCanBeCreatedApartInTheCallersTransaction) {
  vk::SqlStore store(TestSchema());
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open16(path_.c_str(), &db), SQLITE_OK);
  ASSERT_EQ(vk::SqlStore::Exec(db, "BEGIN"), SQLITE_OK);
  store.CreateTables(db);
  ASSERT_EQ(vk::SqlStore::Exec(db, "INSERT INTO item VALUES (1, 'a', 2)"), SQLITE_OK);
  std::string before;
  auto keep = [](void* out, int, char** values, char**) {
    *static_cast<std::string*>(out) = values[0] != nullptr ? values[0] : "NULL";
    return 0;
  };
  sqlite3_exec(db, "SELECT group_concat(name) FROM sqlite_master", keep, &before, nullptr);
  EXPECT_EQ(before, "item");  // no index yet
  store.CreateIndexes(db);
  ASSERT_EQ(vk::SqlStore::Exec(db, "COMMIT"), SQLITE_OK);  // both ran inside the transaction
  sqlite3_close(db);
  EXPECT_EQ(Query("SELECT name FROM sqlite_master ORDER BY rowid"), "item;index_item_label;");
  EXPECT_EQ(Query("SELECT label FROM item INDEXED BY index_item_label WHERE label > ''"), "a;");
}

TEST_F(SqlStoreTest, FailedBeginIsReportedOnlyWhenTheStoreAsksForIt) {
  vk::test::LogCapture log;
  vk::SqlSchema quiet = TestSchema();
  quiet.begin = "BEGIN NONSENSE";
  Opened(quiet)->CloseDb();
  EXPECT_TRUE(log.DebugLines().empty());

  vk::SqlSchema loud = quiet;
  loud.report_begin_error = true;
  auto store = Opened(loud);
  ASSERT_EQ(log.DebugLines().size(), 1u);
  EXPECT_TRUE(log.HasDebugLineContaining("syntax error"));
  // The script still ran statement by statement without the transaction.
  EXPECT_NE(store->Statement(kInsert), nullptr);
}

TEST_F(SqlStoreTest, LockedRunsUnderTheLockAndReleasesItWhenTheBodyThrows) {
  vk::SqlStore store(TestSchema());
  bool reported = false;
  bool held_inside = false;
  HRESULT hr = store.Locked(
      [&](HRESULT& result) {
        held_inside = store.Lock().IsHeld();
        result = S_FALSE;
        throw 7;
      },
      [&] { reported = true; });
  EXPECT_TRUE(held_inside);
  EXPECT_TRUE(reported);
  EXPECT_EQ(hr, S_FALSE);  // the result so far
  bool other_thread_entered = false;
  std::thread other([&] {
    other_thread_entered = store.Lock().TryEnter();
    if (other_thread_entered) store.Lock().Leave();
  });
  other.join();
  EXPECT_TRUE(other_thread_entered);
  EXPECT_EQ(store.Locked([](HRESULT&) {}, [] {}), E_FAIL);
}

}  // namespace
