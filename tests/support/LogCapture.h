// Captures the client log and the debug channel for as long as the object lives: installs
// sinks that collect every record and line, and puts the previous sinks back afterwards.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/Log.h"

namespace vk::test {

class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogRecord> Records() const;
  std::vector<std::string> DebugLines() const;
  // Records of one level ("important" for assertion reports).
  size_t CountLevel(std::u16string_view level) const;
  size_t CountDebugLinesContaining(std::string_view text) const;
  bool HasDebugLineContaining(std::string_view text) const {
    return CountDebugLinesContaining(text) > 0;
  }
  void Clear();

 private:
  mutable std::mutex mutex_;
  std::vector<LogRecord> records_;
  std::vector<std::string> debug_lines_;
  LogSink previous_log_;
  DebugSink previous_debug_;
};

}  // namespace vk::test
