#include "groups/CompanyGroupImport.h"

#include <optional>

#include "platform/Assert.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "storage/DomDocument.h"
#include "storage/GroupSchema.h"
#include "storage/SqlCall.h"
#include "storage/SqlStore.h"

namespace vk {

bool CompanyGroupImport::Run(const std::u16string& database, const std::u16string& xml_path) {
  std::u16string error;
  sqlite3* db = SqlStore::Open(database, &error);
  if (db == nullptr) {
    SetErrorDescription(database + u": " + error);
    return false;
  }
  CompanyGroupImport import(db);
  try {
    import.Import(xml_path);
  } catch (...) {
    // Closing without COMMIT rolls the transaction back; the import still counts as done.
    OutputDebugStringA(GuardTraceLine(__FILE__, __LINE__).c_str());
  }
  return true;
}

CompanyGroupImport::~CompanyGroupImport() {
  // Finalised before the close, so that the connection really closes.
  sqlite3_finalize(insert_global_);
  sqlite3_finalize(insert_group_);
  sqlite3_close(db_);
}

void CompanyGroupImport::Import(const std::u16string& xml_path) {
  SqlStore::Exec(db_, "BEGIN IMMEDIATE");
  SqlStore::Exec(db_, "DELETE FROM global; DELETE FROM groups;");

  sqlite3_prepare16(db_, kInsertGlobalSql, -1, &insert_global_, nullptr);
  InsertGlobal(kDataFormatKey, u"1");

  DomDocument document;
  document.Load(xml_path);
  // Asked of the document itself: a document whose root is not "Groups" has neither a
  // version nor groups, and its import still empties the tree.
  const DomNode groups = document.DocumentNode().SelectSingleNode(u"Groups");
  if (groups) {
    const std::optional<std::u16string> version = groups.GetAttribute(u"Ver");
    InsertGlobal(kGroupsVersionKey, version ? version->c_str() : u"-1");
  }
  sqlite3_finalize(insert_global_);
  insert_global_ = nullptr;

  const DomNodeList top = document.DocumentNode().SelectNodes(u"Groups/Group");
  sqlite3_prepare16(db_, kInsertGroupSql, -1, &insert_group_, nullptr);
  for (long i = 0; i < top.Length(); ++i) InsertGroupTree(top.Item(i), u"0");

  std::u16string error;
  if (SqlStore::Exec(db_, "COMMIT", &error) != SQLITE_OK && !error.empty()) {
    OutputDebugStringW(error.c_str());
  }
}

void CompanyGroupImport::InsertGlobal(const char16_t* key, const char16_t* value) {
  SqlCall insert(insert_global_);
  insert.BindText(1, key).BindText(2, value);
  insert.Step();
}

void CompanyGroupImport::InsertGroupTree(const DomNode& element, const char16_t* parent_id) {
  if (element.IsNull()) return;
  // Bound exactly as they stand; an absent id or name is NULL.
  const std::optional<std::u16string> id = element.GetAttribute(u"id");
  const std::optional<std::u16string> name = element.GetAttribute(u"name");
  const std::optional<std::u16string> type = element.GetAttribute(u"type");
  {
    SqlCall insert(insert_group_);
    insert.BindText(1, id ? id->c_str() : nullptr)
        .BindText(2, parent_id)
        .BindText(3, name ? name->c_str() : nullptr)
        .BindText(4, type ? type->c_str() : u"0");
    insert.Step();
  }
  // The children of a group without an id get a NULL parent id.
  const char16_t* child_parent = id ? id->c_str() : nullptr;
  for (DomNode child = element.FirstChild(); child && child.IsElement();
       child = child.NextSibling()) {
    InsertGroupTree(child, child_parent);
  }
}

}  // namespace vk
