#include "storage/UserListSchema.h"

namespace vk {

SqlSchema UserListSchema() {
  SqlSchema schema;
  schema.begin = "BEGIN IMMEDIATE";
  schema.script = {
      "CREATE TABLE IF NOT EXISTS department (id INTEGER PRIMARY KEY ON CONFLICT REPLACE, "
      "version INTEGER)",
      "CREATE TABLE IF NOT EXISTS member (uin INTEGER, nickname TEXT, name TEXT, departmentId "
      "INTEGER, gender INTEGER, PRIMARY KEY (uin, departmentId) ON CONFLICT REPLACE)",
      "CREATE TABLE IF NOT EXISTS global (id INTEGER PRIMARY KEY ON CONFLICT REPLACE, value "
      "TEXT)",
      "CREATE INDEX IF NOT EXISTS index_member_uin ON member(uin)",
      "CREATE INDEX IF NOT EXISTS index_member_nickname ON member(nickname)",
      "CREATE INDEX IF NOT EXISTS index_member_name ON member(name)",
      "CREATE INDEX IF NOT EXISTS index_member_departmentId ON member(departmentId)",
      "CREATE INDEX IF NOT EXISTS index_department_id ON department(id)",
  };
  schema.statements = {
      u"INSERT INTO [global] VALUES (?, ?)",
      u"INSERT INTO [department] VALUES (?, ?)",
      u"INSERT INTO [member] VALUES (?, ?, ?, ?, ?)",
      u"DELETE FROM [member] WHERE nickname=? AND departmentId=?",
      u"DELETE FROM [department] WHERE id=?",
      u"DELETE FROM [member] WHERE departmentId=?",
      u"UPDATE [member] SET nickname=? WHERE uin=?",
      u"SELECT value FROM [global] WHERE id=?",
      u"SELECT MAX(version) FROM [department]",
      u"SELECT COUNT(DISTINCT(id)) FROM [department]",
      u"SELECT DISTINCT(id) FROM [department]",
      u"SELECT version FROM [department] WHERE id=?",
      u"SELECT DISTINCT(id) FROM [department] WHERE version > ?",
      u"SELECT COUNT(DISTINCT(id)) FROM [department] WHERE version > ?",
      u"SELECT * FROM [member] WHERE departmentId=?",
      u"SELECT COUNT(*) FROM [member] WHERE departmentId=?",
      u"SELECT * FROM [member] WHERE nickname=?",
      u"SELECT * FROM [member] WHERE uin=?",
      kSelectAllMembersSql,
  };
  return schema;
}

}  // namespace vk
