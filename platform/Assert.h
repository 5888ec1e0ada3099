// Assertion reports and the operation guards shared by the module and every store.
#pragma once

#include <string>
#include <string_view>

#include "platform/ComError.h"
#include "vaultkit/vkcom.h"

namespace vk {

// Writes "ASSERT HAPPENS!\nfile: <file>\nline: <line>\n" (at most 511 characters) to the
// client log with level "important", empty source and function.
void ReportAssert(const char* file, int line);

// Runs body() and turns whatever it throws into the trace line of its kind (through the
// debug channel) and E_FAIL; `reporting` guards also write the assertion report.
template <typename Body>
HRESULT Guarded(const char* file, unsigned line, bool reporting, Body&& body);

// The trace line a guard writes for the exception in flight (std::current_exception).
std::string GuardTraceLine(const char* file, unsigned line);
// What a guard does with the exception in flight: the trace line, the thread's error object
// (its description says what went wrong), the assertion report when `reporting`; E_FAIL.
HRESULT GuardFailed(const char* file, unsigned line, bool reporting);

// Leaves a description of a failure in the calling thread's error object, where the client
// reads it (GetErrorInfo) after the failed call. Statuses are unchanged by it.
void SetErrorDescription(std::u16string_view description);

}  // namespace vk

#define VK_REPORT_ASSERT() ::vk::ReportAssert(__FILE__, __LINE__)
// Quiet guard: trace line only. Reporting guard: trace line and assertion report.
#define VK_QUIET_GUARD(...) ::vk::Guarded(__FILE__, __LINE__, false, [&]() -> HRESULT __VA_ARGS__)
#define VK_REPORTING_GUARD(...) \
  ::vk::Guarded(__FILE__, __LINE__, true, [&]() -> HRESULT __VA_ARGS__)

#include "platform/AssertImpl.h"
