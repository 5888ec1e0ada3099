#include "module/FlushTimer.h"

namespace vk {

FlushTimer::~FlushTimer() {
  if (window_created_) VkKillTimers(this);
}

void FlushTimer::CreateWindow() {
  window_created_ = true;
  // What the window does when it is created: arm the timer with the current interval.
  VkSetTimer(this, kTimerId, interval_ms_, &FlushTimer::TimerProc, this);
  running_ = true;
}

void FlushTimer::Start(bool on) {
  if (!window_created_) CreateWindow();
  if (on) {
    VkSetTimer(this, kTimerId, interval_ms_, &FlushTimer::TimerProc, this);
    running_ = true;
  } else {
    VkKillTimer(this, kTimerId);
    running_ = false;
  }
}

void FlushTimer::SetInterval(UINT milliseconds) {
  interval_ms_ = milliseconds;
  if (window_created_) VkSetTimer(this, kTimerId, interval_ms_, &FlushTimer::TimerProc, this);
}

void FlushTimer::TimerProc(void* self, UINT timer_id) {
  static_cast<FlushTimer*>(self)->OnTimerMessage(timer_id);
}

void FlushTimer::OnTimerMessage(UINT timer_id) {
  if (timer_id != kTimerId) return;
  if (dispatch_mode_ == kDispatchTick) {
    tick.Fire();
  } else {
    for (auto& callback : callbacks_) callback();
  }
}

}  // namespace vk
