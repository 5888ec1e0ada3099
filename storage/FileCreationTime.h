// Creation times of data files, which the stores' 30-day expiry measures from.
//
// Linux cannot set a file's creation (birth) time, and every save replaces the file by an
// atomic rename, which would also drop an extended attribute of the old file. So the time is
// kept beside the file, as decimal seconds since 1970 in "<file>.created": it survives the
// rewrites, the store can restart the period, and a test can backdate it. A file without a
// record reports the birth time its file system gives (statx), else its last modification.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vk {

std::u16string CreationRecordPath(std::u16string_view path);
// Seconds since 1970; none when the file does not exist.
std::optional<int64_t> GetFileCreationTime(std::u16string_view path);
// Sets the creation time of an existing file; false when it is missing or the record cannot
// be written.
bool SetFileCreationTime(std::u16string_view path, int64_t seconds);
bool HasCreationRecord(std::u16string_view path);

// The current time in seconds since 1970, from a clock that tests can replace. An empty
// clock restores the system clock; the previous clock is returned.
using UnixClock = std::function<int64_t()>;
int64_t CurrentUnixTime();
UnixClock SetUnixClock(UnixClock clock);

}  // namespace vk
