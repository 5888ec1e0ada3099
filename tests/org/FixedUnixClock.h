// Pins the stores' "now" (seconds since 1970) for as long as the object lives.
#pragma once

#include <cstdint>

#include "storage/FileCreationTime.h"

namespace vk::test {

class FixedUnixClock {
 public:
  explicit FixedUnixClock(int64_t now) : now_(now) {
    previous_ = SetUnixClock([this] { return now_; });
  }
  ~FixedUnixClock() { SetUnixClock(std::move(previous_)); }
  FixedUnixClock(const FixedUnixClock&) = delete;
  FixedUnixClock& operator=(const FixedUnixClock&) = delete;
  int64_t Now() const { return now_; }

 private:
  int64_t now_;
  UnixClock previous_;
};

}  // namespace vk::test
