// Files and folders as the stores know them. Paths are UTF-16; kSep joins folders wherever
// the stored formats join them with a backslash.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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
// Reading never waits on a FIFO or device in a file's place: anything but a regular file is
// unreadable (see ReadableFile).
std::optional<std::string> ReadWholeFile(std::u16string_view path);
// Hands the file to `consume` in chunks of kReadChunk bytes or fewer, without holding it
// whole; false when it cannot be read or `consume` answers false.
inline constexpr size_t kReadChunk = 64 * 1024;
bool ReadFileInChunks(std::u16string_view path,
                      const std::function<bool(std::string_view)>& consume);
// Up to `length` bytes from `offset` on; fewer where the file ends first, none for an offset
// outside the file. Empty when the file cannot be opened.
std::optional<std::string> ReadFileRange(std::u16string_view path, int64_t offset, size_t length);

// Whether something exists at a path; kUnknown when the check itself fails for another reason
// (no permission, a file where a folder is expected).
enum class PathPresence { kPresent, kMissing, kUnknown };
PathPresence ProbePath(std::u16string_view path);
bool IsFolder(std::u16string_view path);

struct FolderEntry {
  std::u16string name;
  bool is_folder = false;
  bool is_hidden = false;  // the name starts with a dot
};
// The entries of a folder without "." and ".."; empty when it cannot be read.
std::vector<FolderEntry> ListFolder(std::u16string_view path);

// Every function below that changes a file goes through FileSystem (atomic, fault
// injectable) and, when it fails, leaves "<path>: <reason>" in the thread's error object.

// Writes a temporary file in the same folder, flushes it and renames it over the target.
bool WriteFileAtomically(std::u16string_view path, std::string_view bytes);
// Puts a copy of `source` in place of `target` the same way; false when the source cannot be
// read or the copy cannot be completed, the target then being left as it was.
bool ReplaceFileWithCopy(std::u16string_view source, std::u16string_view target);
// Renames a file; without `replace` an existing `to` is never overwritten.
bool RenameFile(std::u16string_view from, std::u16string_view to, bool replace);
// Deletes a file; one that is not there counts as deleted.
bool RemoveFile(std::u16string_view path);
// For a writer that fills a file itself (a database engine): creates a new, empty file that
// only its owner may read and write, and flushes its folder. False when something is there
// already (errno EEXIST) or the file cannot be made.
bool CreatePrivateFile(std::u16string_view path);
// The same for a temporary file beside `target`, named as the temporary files of the target's
// saves are and cleaned up as they are; answers its name, empty when it cannot be made. It
// counts as being written by this process until EndTemporaryFile, once it is renamed or
// removed.
std::u16string CreatePrivateTemporary(std::u16string_view target);
void EndTemporaryFile(std::u16string_view temp);
// Before a store replaces an unreadable file by its empty template, keeps a copy of the old
// bytes as "<file>.damaged-<YYYYMMDDHHMMSS>" in the same folder (the last three per file) and
// says so on the debug channel. Missing or empty files are not kept.
void KeepDamagedCopy(std::u16string_view path);

}  // namespace vk

// The client's data root: the folder the client set with VkSetDataRoot (vkcom.h, exported
// by the runtime, which the client and the component share), else $VAULTKIT_DATA_ROOT, else
// $XDG_DATA_HOME/vaultkit, else ~/.local/share/vaultkit; always ends with kSep.
std::u16string GetFileListPath();
// True when `name` is one plain file or folder name: not empty, not "." or "..", without a
// separator (either slash) or NUL. A name from the client or from a file becomes part of a
// path under the data root only after this check, so that no path leaves its folder.
bool IsPlainName(std::u16string_view name);
// Normalises a path before a search (separators, repeated separators).
std::u16string LimitFileFind(std::u16string_view path);
// True if a file or folder exists at the path.
bool IsFileExist(std::u16string_view path);
