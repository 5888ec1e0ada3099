// Group stores on a fresh data root, with the log captured, and readers of what they hold.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "groups/GroupKind.h"
#include "groups/WEZGroupStore.h"
#include "module/StoreCatalog.h"
#include "platform/Text.h"
#include "runtime/ComPtr.h"
#include "tests/support/Answer.h"
#include "tests/support/LogCapture.h"
#include "tests/support/SqlRows.h"
#include "tests/support/TempDataRoot.h"

namespace vk::test {

class GroupStoreFixture : public ::testing::Test {
 protected:
  // The database file the module gives the kind, in the temporary folder.
  std::u16string DbPath(LONG kind) const {
    const StoreRow* row = GroupRow(kind);
    return root_.File(row != nullptr ? FromUtf8(row->file) : u"Other.dat");
  }
  // A store the fixture releases, opened on `path` (default: the kind's file).
  CWEZGroupStore* Open(LONG kind, std::u16string path = {}) {
    CWEZGroupStore* store = stores_.emplace_back(new CWEZGroupStore()).get();
    if (path.empty()) path = DbPath(kind);
    EXPECT_EQ(store->Initialize(path.c_str(), kind), S_OK);
    return store;
  }
  std::string Rows(LONG kind, const char* sql) const { return SqlRows(DbPath(kind), sql); }

  static GroupInfo Group(LONG parent, LONG id, const std::u16string& name, LONG type = 0) {
    GroupInfo group{};
    group.parentId = parent;
    group.id = id;
    name.copy(group.name, std::min<size_t>(name.size(), 31));
    group.groupType = type;
    return group;
  }
  // The name up to its terminator; all 32 units when it has none.
  static std::u16string NameOf(const GroupInfo& group) {
    std::u16string_view name(group.name, 32);
    return std::u16string(name.substr(0, name.find(u'\0')));
  }
  // "id:parent:name:type;" for each child, as GetSubGroups answers; the status first.
  static std::string SubGroups(IWEZGroupStore* store, LONG parent) {
    std::vector<GroupInfo> groups(64);
    LONG count = -1;
    HRESULT hr = store->GetSubGroups(parent, groups.data(), &count);
    std::string out = hr == S_OK ? "" : "E:" + std::to_string(count);
    for (LONG i = 0; i < count; ++i) {
      const GroupInfo& g = groups[i];
      out += std::to_string(g.id) + ":" + std::to_string(g.parentId) + ":" + Utf8(NameOf(g)) + ":" +
             std::to_string(g.groupType) + ";";
    }
    return out;
  }
  // The nicknames GetMembers answers, joined with ";"; "E:<count>" when it fails.
  static std::string Members(IWEZGroupStore* store, LONG id) {
    std::vector<BSTR> nicks(64, nullptr);
    LONG count = -1;
    HRESULT hr = store->GetMembers(id, nicks.data(), &count);
    if (hr != S_OK) return "E:" + std::to_string(count);
    std::string out;
    for (LONG i = 0; i < count; ++i) {
      out += Utf8(nicks[i]) + ";";
      SysFreeString(nicks[i]);
    }
    return out;
  }
  static std::string Utf8(std::u16string_view text) { return ToUtf8(text); }
  size_t Assertions() const { return log_.CountLevel(u"important"); }

  TempDataRoot root_;
  LogCapture log_;

 private:
  std::vector<ComPtr<CWEZGroupStore>> stores_;
};

}  // namespace vk::test
