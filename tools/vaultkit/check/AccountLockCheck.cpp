#include "tools/vaultkit/check/AccountLockCheck.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>

#include "platform/FileLock.h"

namespace vk::cli {

FileReport AccountLockCheck::Run(const std::filesystem::path& folder, const std::string&) const {
  FileReport report{kAccountLockFile, "account lock"};
  const std::string path = (folder / kAccountLockFile).string();
  const pid_t holder = FileLock::RecordedHolder(path);
  const std::string process = "process " + std::to_string(holder);
  switch (FileLock::Probe(path)) {
    case FileLock::State::kMissing:
      report.absent = true;
      report.Note("the module creates it when it changes to the account");
      break;
    case FileLock::State::kHeld:
      if (holder == ::getpid()) {  // the demo checks the account it is working on
        report.Note("this command owns the account while it runs");
        break;
      }
      report.Note("the account is in use by " + (holder > 0 ? process : "a process") +
                  ": a vaultkit command that writes waits for it, then is refused");
      break;
    case FileLock::State::kFree:
      if (holder > 0 && ::kill(holder, 0) != 0 && errno == ESRCH) {
        report.Note("it names " + process +
                    ", which no longer exists and holds nothing: that process ended without "
                    "leaving the account (a crash); the next process on the account takes it "
                    "over");
      }
      break;
    case FileLock::State::kUnknown:
      report.Problem(std::string(kAccountLockFile) +
                     " is not a lock file that can be taken (a folder, a link or another "
                     "kind of file): the module works on the account without owning it, and "
                     "a vaultkit command that writes is refused");
      break;
  }
  return report;
}

}  // namespace vk::cli
