// Replaces the message loop's clock for as long as the object lives, so a test advances
// time without sleeping.
#pragma once

#include <cstdint>

#include "vaultkit/vkcom.h"

namespace vk::test {

class FakeClock {
 public:
  FakeClock() : now_(VkGetTickCount()) { VkSetClock(&FakeClock::Read, this); }
  ~FakeClock() { VkSetClock(nullptr, nullptr); }
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;
  void Advance(uint64_t milliseconds) { now_ += milliseconds; }

 private:
  static uint64_t Read(void* self) { return static_cast<FakeClock*>(self)->now_; }
  uint64_t now_;
};

}  // namespace vk::test
