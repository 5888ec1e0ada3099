// Reads a database the way a test checks it: through a connection of its own.
#pragma once

#include <string>

namespace vk::test {

// The rows of a query, columns joined with "|" and each row ended by ";"; NULL reads "NULL".
// An empty string when the database or the query cannot be used.
std::string SqlRows(const std::u16string& db_path, const char* sql);
// Runs statements on the database; false when one fails.
bool SqlExec(const std::u16string& db_path, const char* sql);

}  // namespace vk::test
