#include "storage/GroupSchema.h"

namespace vk {

SqlSchema GroupSchema() {
  SqlSchema schema;
  schema.begin = "BEGIN";
  schema.report_begin_error = true;
  schema.script = {
      "CREATE TABLE IF NOT EXISTS global (key TEXT PRIMARY KEY ON CONFLICT REPLACE, value TEXT)",
      "CREATE TABLE IF NOT EXISTS groups (id TEXT PRIMARY KEY ON CONFLICT REPLACE, parentId TEXT, "
      "name TEXT, groupType TEXT)",
      "CREATE TABLE IF NOT EXISTS members (nickname TEXT, parentGroupId TEXT, PRIMARY KEY "
      "(nickname, parentGroupId) ON CONFLICT REPLACE)",
      "CREATE INDEX IF NOT EXISTS index_groups_id ON groups(id)",
      "CREATE INDEX IF NOT EXISTS index_groups_parentId ON groups(parentId)",
  };
  schema.statements = {
      u"SELECT value FROM [global] WHERE key=?",
      kInsertGlobalSql,
      kInsertGroupSql,
      u"DELETE FROM [groups] WHERE id=?",
      u"SELECT COUNT(*) FROM [groups] WHERE parentId=?",
      u"SELECT * FROM [groups] WHERE parentId=?",
      u"UPDATE [groups] SET name=? WHERE id=?",
      u"SELECT * FROM [groups] WHERE id=?",
      u"SELECT MAX(CAST(id AS INTEGER)) FROM [groups] WHERE NOT parentId='0'",
      u"SELECT COUNT(*) FROM [groups]",
      u"INSERT INTO [members] VALUES (?, ?)",
      u"DELETE FROM [members] WHERE nickname=? AND parentGroupId=?",
      u"SELECT nickname FROM [members] WHERE parentGroupId=?",
      u"SELECT COUNT(*) FROM [members] WHERE parentGroupId=?",
      u"DELETE FROM [members] WHERE parentGroupId=?",
  };
  // The store holds the group statements first, then the two on `global`, then the member
  // statements; it finalises them in that order.
  schema.close_order = {kInsertGroup,   kDeleteGroup,  kCountSubGroups,    kSelectSubGroups,
                        kRenameGroup,   kSelectGroup,  kSelectMaxGroupId,  kCountGroups,
                        kSelectVersion, kInsertGlobal, kInsertMember,      kDeleteMember,
                        kSelectMembers, kCountMembers, kDeleteGroupMembers};
  return schema;
}

}  // namespace vk
