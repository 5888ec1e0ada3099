// The body of the operation guard; included by platform/Assert.h.
#pragma once

namespace vk {

template <typename Body>
HRESULT Guarded(const char* file, unsigned line, bool reporting, Body&& body) {
  try {
    return body();
  } catch (...) {
    return GuardFailed(file, line, reporting);
  }
}

}  // namespace vk
