// The client's log and the debug-output channel. Each has one replaceable sink; calls are
// serialised so that a sink sees one line at a time from any thread.
#include "platform/Log.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>

#include "platform/Files.h"
#include "platform/Text.h"

namespace vk {
namespace {

// Recursive: a sink that logs from inside itself must not deadlock its own thread.
std::recursive_mutex& LogMutex() {
  static std::recursive_mutex mutex;
  return mutex;
}
std::recursive_mutex& DebugMutex() {
  static std::recursive_mutex mutex;
  return mutex;
}
LogSink& CurrentLogSink() {
  static LogSink sink;
  return sink;
}
DebugSink& CurrentDebugSink() {
  static DebugSink sink;
  return sink;
}

// One field of a log line: line breaks, tabs (the field separator) and backslashes are
// escaped so that every call stays one line of the file.
std::string Field(const std::u16string& text) {
  std::string utf8 = ToUtf8(text);
  std::string out;
  out.reserve(utf8.size());
  for (char c : utf8) {
    switch (c) {
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string Timestamp() {
  auto now = std::chrono::system_clock::now();
  std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  auto millis =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local{};
  ::localtime_r(&seconds, &local);
  char date[32];
  std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &local);
  char text[48];
  std::snprintf(text, sizeof text, "%s.%03d", date, static_cast<int>(millis));
  return text;
}

// "time<TAB>level<TAB>source<TAB>function<TAB>text" appended to "vaultkit.log" at the data
// root; a LoginLog line carries the level "login". Logging never fails its caller: when the
// file cannot be written the line is dropped.
void WriteToLogFile(const LogRecord& record) {
  std::string line =
      Timestamp() + "\t" + (record.login ? std::string("login") : Field(record.level)) + "\t" +
      Field(record.source) + "\t" + Field(record.function) + "\t" + Field(record.text) + "\n";
  std::u16string root = GetFileListPath();
  std::string path = PathToNative(root + u"vaultkit.log");
  // The log names accounts and files: private like the data it describes. A FIFO in its
  // place is not waited for.
  const int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW;
  int fd = ::open(path.c_str(), flags, 0600);
  if (fd < 0 && CreateFolders(root)) fd = ::open(path.c_str(), flags, 0600);
  if (fd < 0) return;
  // One write per line, so lines of several processes do not interleave.
  [[maybe_unused]] ssize_t written = ::write(fd, line.data(), line.size());
  ::close(fd);
}

void WriteToStderr(const std::string& line) {
  const char* enabled = std::getenv("VAULTKIT_DEBUG");
  if (enabled == nullptr || *enabled == '\0') return;
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

void Log(LogRecord record) {
  std::lock_guard<std::recursive_mutex> hold(LogMutex());
  // A copy: the sink may replace itself while it runs.
  LogSink sink = CurrentLogSink();
  if (sink) {
    sink(record);
  } else {
    WriteToLogFile(record);
  }
}

std::u16string Text(const char16_t* text) {
  return text != nullptr ? text : u"";
}

}  // namespace

LogSink SetLogSink(LogSink sink) {
  std::lock_guard<std::recursive_mutex> hold(LogMutex());
  LogSink previous = std::move(CurrentLogSink());
  CurrentLogSink() = std::move(sink);
  return previous;
}

bool DebugOutputListened() {
  {
    std::lock_guard<std::recursive_mutex> hold(DebugMutex());
    if (CurrentDebugSink()) return true;
  }
  const char* enabled = std::getenv("VAULTKIT_DEBUG");
  return enabled != nullptr && *enabled != '\0';
}

DebugSink SetDebugSink(DebugSink sink) {
  std::lock_guard<std::recursive_mutex> hold(DebugMutex());
  DebugSink previous = std::move(CurrentDebugSink());
  CurrentDebugSink() = std::move(sink);
  return previous;
}

}  // namespace vk

void DoLog(const char16_t* level, const char16_t* source, const char16_t* function,
           const char16_t* text) {
  vk::LogRecord record;
  record.level = vk::Text(level);
  record.source = vk::Text(source);
  record.function = vk::Text(function);
  record.text = vk::Text(text);
  vk::Log(std::move(record));
}

void LoginLog(const char16_t* text) {
  vk::LogRecord record;
  record.text = vk::Text(text);
  record.login = true;
  vk::Log(std::move(record));
}

void OutputDebugStringA(const char* text) {
  std::string line = text != nullptr ? text : "";
  std::lock_guard<std::recursive_mutex> hold(vk::DebugMutex());
  vk::DebugSink sink = vk::CurrentDebugSink();
  if (sink) {
    sink(line);
  } else {
    vk::WriteToStderr(line);
  }
}

void OutputDebugStringW(const char16_t* text) {
  OutputDebugStringA(vk::ToUtf8(vk::Text(text)).c_str());
}
