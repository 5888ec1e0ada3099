// The body of the operation guard; included by platform/Assert.h.
#pragma once

#include "platform/Log.h"

namespace vk {

template <typename Body>
HRESULT Guarded(const char* file, unsigned line, bool reporting, Body&& body) {
  try {
    return body();
  } catch (...) {
    // The trace line goes to the debug channel, which is silent unless it is enabled.
    OutputDebugStringA(GuardTraceLine(file, line).c_str());
    if (reporting) ReportAssert(file, static_cast<int>(line));
    return E_FAIL;
  }
}

}  // namespace vk
