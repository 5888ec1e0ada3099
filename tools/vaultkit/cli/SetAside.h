// What a command deletes or replaces it copies first: "<name>.removed-<YYYYMMDDHHMMSS>" in a
// folder the store does not clear, so that a change the user did not mean can be undone by
// hand, as the stores keep the damaged files they replace.
#pragma once

#include <string>
#include <vector>

namespace vk::cli {

// Copies `file` into `folder` under `name` plus the mark and returns the copy's path. Throws
// Failure when the copy cannot be made complete: the caller then deletes nothing.
std::string SetAside(const std::string& file, const std::string& folder, const std::string& name);
// The regular files directly in `folder` (sorted paths); empty when there is no such folder.
std::vector<std::string> RegularFiles(const std::string& folder);
bool IsRegularFile(const std::string& path);

}  // namespace vk::cli
