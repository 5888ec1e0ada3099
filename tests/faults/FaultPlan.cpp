#include "tests/faults/FaultPlan.h"

#include <atomic>

namespace vk::test {
namespace {

std::atomic<FaultPlan*> g_armed{nullptr};

FileSystem::Fault FromFileSystem(FileSystem::Call, const std::string&, void*) {
  return FaultPlan::Next();
}

}  // namespace

void FaultPlan::Arm() {
  g_armed = this;
  FileSystem::SetFaultHook(&FromFileSystem, nullptr);
}

void FaultPlan::Disarm() {
  if (g_armed != this) return;
  g_armed = nullptr;
  FileSystem::SetFaultHook(nullptr, nullptr);
}

FaultPlan::Fault FaultPlan::Next() {
  FaultPlan* plan = g_armed.load();
  if (plan == nullptr) return Fault::kNone;
  if (plan->crashed_) return Fault::kCrash;
  if (plan->calls_++ != plan->at_) return Fault::kNone;
  plan->crashed_ = plan->fault_ == Fault::kCrash;
  return plan->fault_;
}

}  // namespace vk::test
