// Which file-changing call of a save goes wrong, and how. One plan at a time is armed; while
// it is, every call that would change a file, through the platform's file layer or through
// SQLite (FaultVfs), asks it first. Calls are numbered from 0 in the order they come.
#pragma once

#include <atomic>

#include "runtime/FileSystem.h"

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

  void Arm() {
    armed_ = this;
    FileSystem::SetFaultHook([](FileSystem::Call, const std::string&, void*) { return Next(); },
                             nullptr);
  }
  void Disarm() {
    if (armed_ != this) return;
    armed_ = nullptr;
    FileSystem::SetFaultHook(nullptr, nullptr);
  }
  long Calls() const { return calls_; }

  // What happens to the next call: kNone when no plan is armed; after a crash, every call is
  // stopped.
  static Fault Next() {
    FaultPlan* plan = armed_.load();
    if (plan == nullptr) return Fault::kNone;
    if (plan->crashed_) return Fault::kCrash;
    if (plan->calls_++ != plan->at_) return Fault::kNone;
    plan->crashed_ = plan->fault_ == Fault::kCrash;
    return plan->fault_;
  }

 private:
  static inline std::atomic<FaultPlan*> armed_{nullptr};
  long at_ = -1;
  Fault fault_ = Fault::kNone;
  long calls_ = 0;
  bool crashed_ = false;
};

}  // namespace vk::test
