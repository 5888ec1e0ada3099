#include "module/EventDelegate.h"

#include <mutex>

namespace vk {
namespace {
std::mutex hook_mutex;
EventTraceHook& Hook() {
  static EventTraceHook hook;
  return hook;
}
}  // namespace

EventTraceHook SetEventTraceHook(EventTraceHook hook) {
  std::lock_guard<std::mutex> hold(hook_mutex);
  EventTraceHook previous = std::move(Hook());
  Hook() = std::move(hook);
  return previous;
}

void TraceDeadReceiver() {
  EventTraceHook hook;
  {
    std::lock_guard<std::mutex> hold(hook_mutex);
    hook = Hook();
  }
  if (hook) hook("Detected died event receiver , removed ok .\n");
}

}  // namespace vk
