// Files and folders as the stores know them. Paths are UTF-16; kSep joins folders wherever
// the stored formats join them with a backslash.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vk {

inline constexpr char16_t kSep = u'/';

// Replaces each backslash of a path built from the stored formats with kSep.
std::u16string NormalizeSeparators(std::u16string_view path);
std::string PathToNative(std::u16string_view path);  // UTF-8 for the OS
std::u16string PathFromNative(std::string_view path);

// Creates one folder level; true if it exists afterwards.
bool CreateFolder(std::u16string_view path);
// Creates the folder and every missing parent.
bool CreateFolders(std::u16string_view path);
// Makes the file writable by its owner (the platform's "attributes normal").
void SetFileAttributesNormal(std::u16string_view path);
std::optional<std::string> ReadWholeFile(std::u16string_view path);
// Writes a temporary file in the same folder, flushes it and renames it over the target.
bool WriteFileAtomically(std::u16string_view path, std::string_view bytes);
// Renames a file or folder unless something already exists under the new name, which is
// then left as it was (the platform's MoveFile; a plain POSIX rename would replace it).
bool MoveFileNoReplace(std::u16string_view from, std::u16string_view to);

}  // namespace vk

// The client's data root: $VAULTKIT_DATA_ROOT, else $XDG_DATA_HOME/vaultkit, else
// ~/.local/share/vaultkit; always ends with kSep.
std::u16string GetFileListPath();
// Normalises a path before a search (separators, repeated separators).
std::u16string LimitFileFind(std::u16string_view path);
// True if a file or folder exists at the path.
bool IsFileExist(std::u16string_view path);
