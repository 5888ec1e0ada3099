#include "org/UserListImport.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <stdio.h>

#include <cstring>
#include <memory>
#include <optional>

#include "org/DecimalText.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "storage/SqlCall.h"
#include "storage/XmlErrorTrap.h"

// The organisation file of a large company holds a hundred thousand members. It is walked
// here on libxml2's own tree rather than through the DOM layer: the selections the import
// makes ("UserList" from the document, "Dept" from the document element, every element
// child of a department) are plain child walks, and skipping a wrapper object and an XPath
// node set per member keeps the import close to the cost of the parse itself.

namespace vk {
namespace {

struct DocFree {
  void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using DocPtr = std::unique_ptr<xmlDoc, DocFree>;

bool NameIs(const xmlNode* node, const char* name) {
  return std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0;
}

// The encoding to force for a file whose declaration names GB2312: the client's platform
// reads that name as code page 936, a superset that libxml2's iconv GB2312 rejects.
const char* ForcedEncoding(const std::string& native_path) {
  FILE* file = fopen(native_path.c_str(), "rb");
  if (file == nullptr) return nullptr;
  char head[256] = {};
  const size_t got = fread(head, 1, sizeof head - 1, file);
  fclose(file);
  std::string declaration(head, got);
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
  DocPtr doc;
  {
    XmlErrorTrap quiet;
    const std::string native = PathToNative(xml_path);
    doc.reset(xmlReadFile(native.c_str(), ForcedEncoding(native), XML_PARSE_NONET));
  }
  xmlNode* root = doc ? xmlDocGetRootElement(doc.get()) : nullptr;
  if (root == nullptr || root->ns != nullptr || !NameIs(root, "UserList")) return false;

  // A rebuild file left by an earlier import is never reused: if it cannot be removed the
  // import fails rather than mixing old rows into the new directory.
  const std::string native_rebuild = PathToNative(rebuild_path);
  if (IsFileExist(rebuild_path) && ::remove(native_rebuild.c_str()) != 0) return false;
  ::remove((native_rebuild + "-journal").c_str());

  sqlite3* db = nullptr;
  if (sqlite3_open16(rebuild_path.c_str(), &db) != SQLITE_OK) {
    if (db != nullptr) sqlite3_close(db);
    return false;
  }
  bool written = false;
  try {
    written = Write(root, db);
  } catch (...) {
    written = false;
  }
  sqlite3_close(db);
  // A rebuild that could not be written completely must not be put online later.
  if (!written) ::remove(native_rebuild.c_str());
  return written;
}

bool UserListImport::Write(xmlNode* root, sqlite3* db) {
  schema_owner_.CreateSchema(db);
  std::u16string error;
  const bool in_transaction = SqlStore::Exec(db, "BEGIN IMMEDIATE", &error) == SQLITE_OK;
  if (!in_transaction) OutputDebugStringW(error.c_str());

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

  sqlite3_stmt* dept_statement = nullptr;
  Finalizer finalize{dept_statement};
  if (sqlite3_prepare16(db, u"INSERT INTO [department] VALUES (?, ?)", -1, &dept_statement,
                        nullptr) == SQLITE_OK) {
    for (xmlNode* node = root->children; node != nullptr; node = node->next) {
      if (node->type == XML_ELEMENT_NODE && node->ns == nullptr && NameIs(node, "Dept")) {
        ImportDepartment(node, db, dept_statement);
      }
    }
  }
  sqlite3_finalize(dept_statement);
  dept_statement = nullptr;
  const bool committed = SqlStore::Exec(db, "COMMIT") == SQLITE_OK;
  return committed || !in_transaction;
}

void UserListImport::ImportDepartment(xmlNode* dept, sqlite3* db, sqlite3_stmt* dept_statement) {
  const int64_t id = NumberAttribute(dept, "id");
  const int64_t version = NumberAttribute(dept, "Ver");
  {
    SqlCall call(dept_statement);
    call.BindInt64(1, id).BindInt64(2, version);
    if (call.Step() != SQLITE_DONE) return;  // its members are not imported
  }
  sqlite3_stmt* member_statement = nullptr;
  Finalizer finalize{member_statement};
  if (sqlite3_prepare16(db, u"INSERT INTO [member] VALUES (?, ?, ?, ?, ?)", -1, &member_statement,
                        nullptr) != SQLITE_OK) {
    return;
  }
  for (xmlNode* child = dept->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) ImportMember(child, id, member_statement);
  }
}

void UserListImport::ImportMember(xmlNode* member, int64_t dept_id,
                                  sqlite3_stmt* member_statement) {
  std::u16string nick = AttributeOrEmpty(member, "NICK");
  std::u16string name = AttributeOrEmpty(member, "NAME");
  const int64_t uin = NumberAttribute(member, "UIN");
  const int64_t gender = NumberAttribute(member, "GENDER");
  lists_.Add(nick, name, speller_);  // lower-cases both, as they are stored
  SqlCall call(member_statement);
  call.BindInt64(1, uin)
      .BindText(2, nick.c_str())
      .BindText(3, name.c_str())
      .BindInt64(4, dept_id)
      .BindInt64(5, gender);
  call.Step();  // a later row for the same uin in the same department replaces this one
}

}  // namespace vk
