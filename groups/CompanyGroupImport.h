// Replaces the company tree of a group database from the server's group document, through a
// second connection to the live file, in one transaction: the `global` and `groups` tables
// are emptied and refilled, the `members` table is not touched.
#pragma once

#include <sqlite3.h>

#include <string>

#include "storage/DomNode.h"

namespace vk {

class CompanyGroupImport {
 public:
  // False only when the second connection cannot be opened. A document that does not load
  // or has no "Groups" root leaves an empty tree; an error inside the import rolls the
  // transaction back and still counts as done.
  static bool Run(const std::u16string& database, const std::u16string& xml_path);

 private:
  explicit CompanyGroupImport(sqlite3* db) : db_(db) {}
  ~CompanyGroupImport();
  void Import(const std::u16string& xml_path);
  void InsertGlobal(const char16_t* key, const char16_t* value);
  // Writes the element and, depth first, every element child up to the first child node
  // that is not an element, whatever the children's tag names.
  void InsertGroupTree(const DomNode& element, const char16_t* parent_id);

  sqlite3* db_;
  sqlite3_stmt* insert_global_ = nullptr;
  sqlite3_stmt* insert_group_ = nullptr;
};

}  // namespace vk
