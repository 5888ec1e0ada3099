// The client's log (DoLog, LoginLog) and the debug-output channel, each with a sink that a
// client or a test can replace to capture every line.
#pragma once

#include <functional>
#include <string>

namespace vk {

struct LogRecord {
  std::u16string level, source, function, text;
  bool login = false;  // written through LoginLog
};
using LogSink = std::function<void(const LogRecord&)>;
using DebugSink = std::function<void(const std::string& utf8_line)>;

// Replaces the sink; an empty function restores the default (the UTF-8 file "vaultkit.log"
// at the data root for the log, stderr when $VAULTKIT_DEBUG is set for the debug channel).
// Returns the previous sink.
LogSink SetLogSink(LogSink sink);
DebugSink SetDebugSink(DebugSink sink);

// Whether anything receives the debug channel (a sink, or $VAULTKIT_DEBUG). A trace whose
// text is costly to build is built only then; what a listener sees is the same.
bool DebugOutputListened();

}  // namespace vk

void DoLog(const char16_t* level, const char16_t* source, const char16_t* function,
           const char16_t* text);
void LoginLog(const char16_t* text);
void OutputDebugStringW(const char16_t* text);
void OutputDebugStringA(const char* text);
