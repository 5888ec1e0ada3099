#include "org/UserListImport.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlreader.h>

#include <cstring>
#include <memory>
#include <optional>
#include <thread>

#include "org/DecimalText.h"
#include "org/UserListFolderLock.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/ReadableFile.h"
#include "platform/Text.h"
#include "storage/SqlCall.h"
#include "storage/XmlErrorTrap.h"
#include "storage/XmlParsePolicy.h"

// The organisation file of a large company holds a hundred thousand members. It is streamed
// with libxml2's reader rather than loaded as a whole document: the selections the import
// makes ("UserList" from the document, "Dept" from the document element, every element
// child of a department) are plain child walks in document order, so each element is
// imported as the reader reaches it and freed behind it. The import then needs a fraction of
// the memory of the parsed document and never pays for building and freeing the whole tree.
//
// A file that turns out to be malformed part-way must still change nothing, exactly as one
// that does not parse at all: the rebuild is therefore written to a scratch file and takes
// the place of the rebuild file (and of a rebuild that may still wait for its swap) only
// once the whole file has been read and committed.

namespace vk {
namespace {

struct ReaderFree {
  void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
};
using ReaderPtr = std::unique_ptr<xmlTextReader, ReaderFree>;

// Depths of the elements the import reads, counted from the document element.
constexpr int kDepartmentDepth = 1;
constexpr int kMemberDepth = 2;
// Entries the parser hands over at a time.
constexpr size_t kBatchEntries = 1024;

// Advances to the next element start. False at the end of the file or on a parse error
// (`failed` tells which).
bool NextElement(xmlTextReader* reader, bool& failed) {
  int rc;
  while ((rc = xmlTextReaderRead(reader)) == 1) {
    if (xmlTextReaderNodeType(reader) == XML_READER_TYPE_ELEMENT) return true;
  }
  failed = rc != 0;
  return false;
}

void RemoveDatabaseFile(const std::u16string& path) {
  RemoveFile(path);
  RemoveFile(path + u"-journal");
}

bool NameIs(const xmlNode* node, const char* name) {
  return std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0;
}

// The encoding to force for a file whose declaration names GB2312: the client's platform
// reads that name as code page 936, a superset that libxml2's iconv GB2312 rejects.
const char* ForcedEncoding(ReadableFile& file) {
  char head[256] = {};
  const ssize_t got = file.ReadAt(head, sizeof head - 1, 0);
  std::string declaration(head, got > 0 ? static_cast<size_t>(got) : 0);
  const size_t end = declaration.find("?>");
  if (declaration.rfind("<?xml", 0) != 0 || end == std::string::npos) return nullptr;
  declaration.resize(end);
  for (char& c : declaration) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  return declaration.find("gb2312") != std::string::npos ? "GBK" : nullptr;
}

// An attribute without a namespace, or nothing when the element has none of that name.
std::optional<std::u16string> Attribute(const xmlNode* element, const char* name) {
  for (const xmlAttr* attr = element->properties; attr != nullptr; attr = attr->next) {
    if (attr->ns != nullptr || std::strcmp(reinterpret_cast<const char*>(attr->name), name) != 0)
      continue;
    const xmlNode* value = attr->children;
    if (value == nullptr) return std::u16string();
    if (value->next == nullptr && value->type == XML_TEXT_NODE && value->content != nullptr) {
      return FromUtf8(reinterpret_cast<const char*>(value->content));
    }
    xmlChar* joined = xmlNodeListGetString(element->doc, value, 1);
    std::u16string text = joined ? FromUtf8(reinterpret_cast<const char*>(joined)) : u"";
    xmlFree(joined);
    return text;
  }
  return std::nullopt;
}

std::u16string AttributeOrEmpty(const xmlNode* element, const char* name) {
  return Attribute(element, name).value_or(std::u16string());
}

// A department without `id` or `Ver` is taken as 0.
int64_t NumberAttribute(const xmlNode* element, const char* name) {
  return ParseDecimal64(AttributeOrEmpty(element, name));
}

struct Finalizer {
  sqlite3_stmt*& statement;
  ~Finalizer() {
    if (statement != nullptr) sqlite3_finalize(statement);
    statement = nullptr;
  }
};

}  // namespace

bool UserListImport::Build(const std::u16string& xml_path, const std::u16string& rebuild_path) {
  const bool built = Stream(xml_path, rebuild_path);
  // A failed import leaves no rows in the search lists either.
  if (!built) lists_ = SearchLists();
  return built;
}

bool UserListImport::Stream(const std::u16string& xml_path, const std::u16string& rebuild_path) {
  XmlErrorTrap quiet;  // the reader reports errors while it reads
  // Opened by the platform layer, which never waits on a FIFO in the file's place; the reader
  // streams from the descriptor (it outlives the reader, which does not close it).
  ReadableFile file(xml_path);
  if (!file.IsOpen()) return false;
  // The reader reads in chunks and would switch to the declared encoding when it reaches
  // the declaration: a forced encoding must be told to ignore it.
  const char* forced = ForcedEncoding(file);
  const int options = XmlParsePolicy::kOptions | (forced != nullptr ? XML_PARSE_IGNORE_ENC : 0);
  ReaderPtr reader(
      xmlReaderForFd(file.Descriptor(), PathToNative(xml_path).c_str(), forced, options));
  if (!reader) return false;
  bool failed = false;
  if (!NextElement(reader.get(), failed)) return false;
  xmlNode* root = xmlTextReaderCurrentNode(reader.get());
  if (root == nullptr || root->ns != nullptr || !NameIs(root, "UserList")) return false;
  // The declarations are complete when the document element starts; no entity is read.
  if (XmlParsePolicy::DeclaresEntities(root->doc)) return false;

  // The scratch file is this import's alone (it carries the process id and a counter), so
  // that imports into the same account, in this process or another, never write into each
  // other's file; one left by an import whose process is gone is removed here.
  const std::u16string scratch = CreatePrivateTemporary(rebuild_path);
  if (scratch.empty()) return false;
  bool written = false;
  if (sqlite3* db = SqlStore::Open(scratch)) {
    try {
      written = Write(reader.get(), root, db);
    } catch (...) {
      written = false;
    }
    sqlite3_close(db);
  }
  UserListFolderLock folder;
  written = written && folder.Take(rebuild_path, u"the import is abandoned") &&
            Install(scratch, rebuild_path);
  if (!written) RemoveDatabaseFile(scratch);
  EndTemporaryFile(scratch);
  return written;
}

bool UserListImport::Install(const std::u16string& scratch, const std::u16string& rebuild_path) {
  // The complete rebuild replaces a rebuild file left by an earlier import, which is never
  // reused: if that cannot be removed the import fails rather than mix old rows into the new
  // directory. An incomplete rebuild is never put online.
  bool installed = RemoveFile(rebuild_path);
  RemoveFile(rebuild_path + u"-journal");
  // The fixed scratch name of earlier versions, should one of their imports have been cut.
  RemoveDatabaseFile(rebuild_path + u".new");
  return installed && RenameFile(scratch, rebuild_path, true);
}

bool UserListImport::Write(xmlTextReader* reader, xmlNode* root, sqlite3* db) {
  // The rebuild is a scratch file that only this import uses until it is complete, and the
  // swap later copies it into place through a flushed temporary file renamed over the live
  // one. It therefore needs neither syncs nor a journal on disk: a crash part-way leaves a
  // scratch file that no swap ever takes and the next import deletes. The journal stays in
  // memory so that a rollback still works.
  SqlStore::Exec(db, "PRAGMA journal_mode=MEMORY");
  SqlStore::Exec(db, "PRAGMA synchronous=OFF");
  std::u16string error;
  const bool in_transaction = SqlStore::Exec(db, "BEGIN IMMEDIATE", &error) == SQLITE_OK;
  if (!in_transaction) OutputDebugStringW(error.c_str());
  // The tables first and their indexes after the rows, in the same transaction: building an
  // index from a hundred thousand sorted keys costs a fraction of keeping five b-trees in
  // order through as many scattered inserts. The file ends with the schema the live store
  // creates, entry for entry.
  schema_owner_.CreateTables(db);

  const std::optional<std::u16string> pro_ver = Attribute(root, "ProVer");
  const std::optional<std::u16string> dept_ver = Attribute(root, "DeptVer");
  // The three directory-wide rows also prove that the file is writable: an engine that fell
  // back to a read-only connection, or a file locked by someone else, fails here.
  bool globals_written = true;
  {
    sqlite3_stmt* statement = nullptr;
    Finalizer finalize{statement};
    sqlite3_prepare16(db, u"INSERT INTO [global] VALUES (?, ?)", -1, &statement, nullptr);
    const char16_t* values[] = {u"1", pro_ver ? pro_ver->c_str() : nullptr,
                                dept_ver ? dept_ver->c_str() : nullptr};
    for (int key = 1; key <= 3; ++key) {
      const char16_t* value = values[key - 1];  // a missing version is stored as NULL
      SqlCall call(statement);
      call.BindInt(1, key).BindText(2, value);
      globals_written = call.Step() == SQLITE_DONE && globals_written;
    }
  }
  if (!globals_written) {
    if (in_transaction) SqlStore::Exec(db, "ROLLBACK");
    return false;
  }

  ImportBatchQueue queue;
  bool parsed = false;
  std::thread parser([&] { parsed = Parse(reader, speller_, queue); });
  const bool failed =
      !queue.TakeWhileReading(parser, [&] { return WriteRows(queue, db); }) || !parsed;
  if (failed) {
    // Malformed part-way: nothing of this file may be used.
    if (in_transaction) SqlStore::Exec(db, "ROLLBACK");
    return false;
  }
  schema_owner_.CreateIndexes(db);
  const bool committed = SqlStore::Exec(db, "COMMIT") == SQLITE_OK;
  return committed || !in_transaction;
}

bool UserListImport::Parse(xmlTextReader* reader, const CPy& speller, ImportBatchQueue& queue) {
  XmlErrorTrap quiet;  // errors are reported on the thread that reads
  bool failed = false;
  try {
    auto batch = std::make_unique<ImportBatch>();
    bool in_department = false;  // inside a Dept element: its element children are members
    while (NextElement(reader, failed)) {
      const int depth = xmlTextReaderDepth(reader);
      xmlNode* node = xmlTextReaderCurrentNode(reader);
      if (node == nullptr) continue;
      if (depth == kDepartmentDepth) {
        in_department = node->ns == nullptr && NameIs(node, "Dept");
        if (in_department) {
          batch->entries.push_back({ImportBatch::Kind::kDepartment, NumberAttribute(node, "id"),
                                    NumberAttribute(node, "Ver")});
        } else {
          batch->entries.push_back({ImportBatch::Kind::kOtherElement, 0, 0});
        }
      } else if (depth == kMemberDepth && in_department) {
        std::u16string nick = AttributeOrEmpty(node, "NICK");
        std::u16string name = AttributeOrEmpty(node, "NAME");
        batch->members.Add(nick, name, speller);  // lower-cases both, as they are stored
        batch->entries.push_back({ImportBatch::Kind::kMember, NumberAttribute(node, "UIN"),
                                  NumberAttribute(node, "GENDER")});
      }
      if (batch->entries.size() >= kBatchEntries) {
        if (!queue.Push(std::move(batch))) return false;  // the importer gave up
        batch = std::make_unique<ImportBatch>();
      }
    }
    if (!batch->entries.empty() && !queue.Push(std::move(batch))) return false;
  } catch (...) {
    failed = true;  // out of memory: as malformed, nothing of the file is used
  }
  queue.Finish(failed);
  return !failed;
}

bool UserListImport::WriteRows(ImportBatchQueue& queue, sqlite3* db) {
  sqlite3_stmt* dept_statement = nullptr;
  Finalizer finalize_dept{dept_statement};
  sqlite3_stmt* member_statement = nullptr;
  Finalizer finalize_member{member_statement};
  // One member statement serves every department: every row binds all five parameters.
  // A statement that cannot be prepared leaves the departments without members.
  if (sqlite3_prepare16(db, u"INSERT INTO [department] VALUES (?, ?)", -1, &dept_statement,
                        nullptr) != SQLITE_OK) {
    dept_statement = nullptr;
  }
  if (sqlite3_prepare16(db, u"INSERT INTO [member] VALUES (?, ?, ?, ?, ?)", -1, &member_statement,
                        nullptr) != SQLITE_OK) {
    member_statement = nullptr;
  }
  // The department whose members are being read: set while inside a Dept element whose row
  // was written.
  bool in_department = false;
  int64_t department = 0;
  while (std::unique_ptr<ImportBatch> batch = queue.Pop()) {
    size_t member = 0;
    for (const ImportBatch::Entry& entry : batch->entries) {
      switch (entry.kind) {
        case ImportBatch::Kind::kDepartment:
          department = entry.first;
          in_department = dept_statement != nullptr &&
                          ImportDepartment(entry.first, entry.second, dept_statement);
          break;
        case ImportBatch::Kind::kOtherElement:
          in_department = false;
          break;
        case ImportBatch::Kind::kMember:
          if (in_department && member_statement != nullptr) {
            ImportMember(batch->members, member, entry, department, member_statement);
          }
          ++member;
          break;
      }
    }
  }
  return !queue.Failed();
}

bool UserListImport::ImportDepartment(int64_t id, int64_t version, sqlite3_stmt* dept_statement) {
  SqlCall call(dept_statement);
  call.BindInt64(1, id).BindInt64(2, version);
  return call.Step() == SQLITE_DONE;  // else its members are not imported
}

void UserListImport::ImportMember(const SearchLists& texts, size_t index,
                                  const ImportBatch::Entry& entry, int64_t dept_id,
                                  sqlite3_stmt* member_statement) {
  // An empty text is bound as an empty string, never as NULL.
  auto bind = [member_statement](int parameter, std::u16string_view text) {
    sqlite3_bind_text16(member_statement, parameter, text.empty() ? u"" : text.data(),
                        static_cast<int>(text.size() * sizeof(char16_t)), SQLITE_STATIC);
  };
  // Bound directly, once per member: the texts outlive the step, and the results are not
  // needed (a later row for the same uin in the same department replaces this one).
  sqlite3_bind_int64(member_statement, 1, entry.first);
  bind(2, texts.Nick(index));
  bind(3, texts.Name(index));
  sqlite3_bind_int64(member_statement, 4, dept_id);
  sqlite3_bind_int64(member_statement, 5, entry.second);
  sqlite3_step(member_statement);
  sqlite3_reset(member_statement);
  lists_.AppendRow(texts, index);
}

}  // namespace vk
