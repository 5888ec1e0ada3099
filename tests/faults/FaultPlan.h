// Which file-changing call of a save goes wrong, and how. One plan at a time is armed; while
// it is, every call that would change a file, through the platform's file layer or through
// SQLite, asks it first. Calls are numbered from 0 in the order they come.
#pragma once

#include "platform/FileSystem.h"

namespace vk::test {

class FaultPlan {
 public:
  using Fault = FileSystem::Fault;

  // A plan that lets every call through and counts them.
  FaultPlan() = default;
  // A plan that fails call `at`, or stops there as a crash would.
  FaultPlan(long at, Fault fault) : at_(at), fault_(fault) {}
  ~FaultPlan() { Disarm(); }
  FaultPlan(const FaultPlan&) = delete;
  FaultPlan& operator=(const FaultPlan&) = delete;

  void Arm();
  void Disarm();
  long Calls() const { return calls_; }

  // What happens to the next call under the armed plan; kNone when none is armed. After a
  // crash every call is stopped.
  static Fault Next();

 private:
  long at_ = -1;
  Fault fault_ = Fault::kNone;
  long calls_ = 0;
  bool crashed_ = false;
};

}  // namespace vk::test
