// Replaces the message loop's clock for as long as the object lives, so a test advances
// time without sleeping. It starts from 0, far behind the system clock: timers armed before
// it keep the time they still had to wait.
#pragma once

#include <cstdint>

#include "vaultkit/vkcom.h"

namespace vk::test {

class FakeClock {
 public:
  FakeClock() : now_(0) { VkSetClock(&FakeClock::Read, this); }
  ~FakeClock() { VkSetClock(nullptr, nullptr); }
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;
  void Advance(uint64_t milliseconds) { now_ += milliseconds; }

 private:
  static uint64_t Read(void* self) { return static_cast<FakeClock*>(self)->now_; }
  uint64_t now_;
};

}  // namespace vk::test
