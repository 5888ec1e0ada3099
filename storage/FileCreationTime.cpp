#include "storage/FileCreationTime.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <charconv>
#include <ctime>
#include <mutex>

#include "platform/Files.h"

namespace vk {
namespace {

std::mutex& ClockMutex() {
  static std::mutex mutex;
  return mutex;
}

UnixClock& Clock() {
  static UnixClock clock;
  return clock;
}

std::optional<int64_t> ReadRecord(std::u16string_view path) {
  std::optional<std::string> text = ReadWholeFile(CreationRecordPath(path));
  if (!text) return std::nullopt;
  int64_t seconds = 0;
  const char* end = text->data() + text->size();
  auto [ptr, error] = std::from_chars(text->data(), end, seconds);
  if (error != std::errc() || (ptr != end && *ptr != '\n')) return std::nullopt;
  return seconds;
}

}  // namespace

std::u16string CreationRecordPath(std::u16string_view path) {
  return std::u16string(path) + u".created";
}

bool HasCreationRecord(std::u16string_view path) {
  return ReadRecord(path).has_value();
}

std::optional<int64_t> GetFileCreationTime(std::u16string_view path) {
  std::string native = PathToNative(path);
  struct statx info {};
  if (::statx(AT_FDCWD, native.c_str(), 0, STATX_BTIME | STATX_MTIME, &info) != 0) {
    return std::nullopt;
  }
  if (std::optional<int64_t> recorded = ReadRecord(path)) return recorded;
  if (info.stx_mask & STATX_BTIME) return info.stx_btime.tv_sec;
  return info.stx_mtime.tv_sec;
}

bool SetFileCreationTime(std::u16string_view path, int64_t seconds) {
  if (!IsFileExist(path)) return false;
  return WriteFileAtomically(CreationRecordPath(path), std::to_string(seconds) + "\n");
}

int64_t CurrentUnixTime() {
  {
    std::lock_guard<std::mutex> lock(ClockMutex());
    if (Clock()) return Clock()();
  }
  return static_cast<int64_t>(std::time(nullptr));
}

UnixClock SetUnixClock(UnixClock clock) {
  std::lock_guard<std::mutex> lock(ClockMutex());
  std::swap(Clock(), clock);
  return clock;
}

}  // namespace vk
