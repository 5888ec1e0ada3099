#include "tests/support/LogCapture.h"

namespace vk::test {

LogCapture::LogCapture() {
  previous_log_ = SetLogSink([this](const LogRecord& record) {
    std::lock_guard<std::mutex> hold(mutex_);
    records_.push_back(record);
  });
  previous_debug_ = SetDebugSink([this](const std::string& line) {
    std::lock_guard<std::mutex> hold(mutex_);
    debug_lines_.push_back(line);
  });
}

LogCapture::~LogCapture() {
  SetLogSink(std::move(previous_log_));
  SetDebugSink(std::move(previous_debug_));
}

std::vector<LogRecord> LogCapture::Records() const {
  std::lock_guard<std::mutex> hold(mutex_);
  return records_;
}

std::vector<std::string> LogCapture::DebugLines() const {
  std::lock_guard<std::mutex> hold(mutex_);
  return debug_lines_;
}

size_t LogCapture::CountLevel(std::u16string_view level) const {
  std::lock_guard<std::mutex> hold(mutex_);
  size_t count = 0;
  for (const LogRecord& record : records_) count += record.level == level ? 1 : 0;
  return count;
}

size_t LogCapture::CountDebugLinesContaining(std::string_view text) const {
  std::lock_guard<std::mutex> hold(mutex_);
  size_t count = 0;
  for (const std::string& line : debug_lines_) count += line.find(text) != std::string::npos;
  return count;
}

void LogCapture::Clear() {
  std::lock_guard<std::mutex> hold(mutex_);
  records_.clear();
  debug_lines_.clear();
}

}  // namespace vk::test
