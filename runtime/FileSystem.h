// The one seam between the process and the operating system's file calls. Every save, copy,
// rename and delete of the component and of the runtime's registry passes through here, so that
// a save is always atomic and a test can make any one of these calls fail or stop as a crash
// would; reads open their files here, so that none waits on a FIFO. It lives in the runtime,
// which the component and every client share, so a process has one seam and one fault hook.
// Paths are native (UTF-8). On failure errno tells why.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <string>
#include <string_view>

#include "vaultkit/vkcom.h"

namespace vk {

class VK_EXPORT FileSystem {
 public:
  static constexpr mode_t kPrivateFile = 0600;
  static constexpr mode_t kPrivateFolder = 0700;

  enum class Call { kCreate, kWrite, kSync, kRename, kRemove };
  // What a fault hook decides for one call.
  enum class Fault {
    kNone,   // the call runs
    kFail,   // the call fails with EIO and the caller cleans up as usual
    kCrash,  // the call and everything after it in the process stop happening: no further
             // change reaches the disk, as if the process had died here
  };
  using FaultHook = Fault (*)(Call call, const std::string& path, void* context);

  // Installs (or, with null, removes) the process-wide fault hook; for tests only.
  static void SetFaultHook(FaultHook hook, void* context);

  // Replaces `target` by `bytes`: a temporary file in the same folder is written, flushed to
  // disk and renamed over the target, then the folder is flushed. A replaced file keeps its
  // permissions, made writable by its owner; a new one gets exactly `mode`, whatever the
  // umask (an account's files are its owner's alone). On failure the target is as it was and no
  // temporary file remains. Temporary files of the target that a crash left are removed first.
  static bool ReplaceContents(const std::string& target, std::string_view bytes,
                              mode_t mode = kPrivateFile);
  // The same with the bytes of the file `source`, read in chunks.
  static bool ReplaceWithCopy(const std::string& source, const std::string& target,
                              mode_t mode = kPrivateFile);
  // A descriptor for reading the regular file at `path`, or -1. The open never waits: a FIFO,
  // device or socket in the file's place is refused (EINVAL) instead of blocking until a
  // writer comes. `info` receives the file's status.
  static int OpenRegularForReading(const std::string& path, struct stat& info);
  // Renames a file. Without `replace`, an existing `to` is never overwritten (EEXIST).
  static bool Rename(const std::string& from, const std::string& to, bool replace);
  // Deletes a file; a file that is not there counts as deleted.
  static bool Remove(const std::string& path);

  // For a writer that fills a file itself (a database engine), never through a replacement.
  // Creates a new, empty file with `mode` and flushes its folder. False, errno EEXIST, when
  // something is there already.
  static bool CreateEmpty(const std::string& path, mode_t mode);
  // Creates a new, empty file beside `target` with `mode`, named as the temporary files of the
  // target's replacements are, and answers its name (empty on failure). Until EndTemporary the
  // file counts as being written by this process; the temporary files of `target` that a
  // writer which is gone left are removed first.
  static std::string CreateTemporary(const std::string& target, mode_t mode);
  static void EndTemporary(const std::string& temp);
};

}  // namespace vk
