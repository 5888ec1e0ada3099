// Builds a complete user list database from the server's organisation XML on a connection
// and a scratch file of its own, inside one transaction, puts it in the rebuild file's place
// (the live path followed by ".bak"), and fills a fresh generation of search lists from the
// same rows. The file is read as a stream, on a thread of its own while the rows are written.
#pragma once

#include <libxml/tree.h>
#include <libxml/xmlreader.h>

#include <cstdint>
#include <optional>
#include <string>

#include "org/ImportBatchQueue.h"
#include "org/SearchLists.h"
#include "storage/SqlStore.h"

class CPy;

namespace vk {

class UserListImport {
 public:
  UserListImport(const SqlStore& schema_owner, const CPy& speller, SearchLists& lists)
      : schema_owner_(schema_owner), speller_(speller), lists_(lists) {}

  // True when the rebuild file was built. False, with the search lists left empty, when the
  // document has no UserList element or does not parse (also part-way: a rebuild file that
  // waits for its swap is then kept), when the scratch file cannot be made or written, when
  // the rebuild file cannot be removed or replaced, or when another process holds the folder
  // lock for longer than its wait.
  bool Build(const std::u16string& xml_path, const std::u16string& rebuild_path);

 private:
  bool Stream(const std::u16string& xml_path, const std::u16string& rebuild_path);
  // Puts the complete scratch file in the rebuild file's place; under the folder lock.
  static bool Install(const std::u16string& scratch, const std::u16string& rebuild_path);
  bool Write(xmlTextReader* reader, xmlNode* root, sqlite3* db);
  // The parser thread's half: every department and member the file holds, in document
  // order, in batches. True when the file was read to its end without an error.
  static bool Parse(xmlTextReader* reader, const CPy& speller, ImportBatchQueue& queue);
  // The importing half: the rows of every batch; true unless the file turned out malformed.
  bool WriteRows(ImportBatchQueue& queue, sqlite3* db);
  // True when the department's row was written.
  static bool ImportDepartment(int64_t id, int64_t version, sqlite3_stmt* dept_statement);
  void ImportMember(const SearchLists& texts, size_t index, const ImportBatch::Entry& entry,
                    int64_t dept_id, sqlite3_stmt* member_statement);

  const SqlStore& schema_owner_;
  const CPy& speller_;
  SearchLists& lists_;
};

}  // namespace vk
