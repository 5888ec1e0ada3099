// A hidden timer window on the client's message loop: timer 769 turns into the tick event,
// delivered through an EventSlot like the root events.
#pragma once

#include <functional>
#include <vector>

#include "module/EventSlot.h"
#include "vaultkit/vkcom.h"

namespace vk {

class FlushTimer {
 public:
  static constexpr UINT kTimerId = 769;
  static constexpr int kDispatchTick = 1;

  FlushTimer() = default;
  FlushTimer(const FlushTimer&) = delete;
  FlushTimer& operator=(const FlushTimer&) = delete;
  ~FlushTimer();

  // Creates the window first if needed; arms (on) or kills (off) timer 769.
  void Start(bool on);
  void SetInterval(UINT milliseconds);
  UINT Interval() const { return interval_ms_; }
  bool IsRunning() const { return running_; }

  EventSlot<> tick;

 private:
  void CreateWindow();
  void OnTimerMessage(UINT timer_id);
  static void TimerProc(void* self, UINT timer_id);

  std::vector<std::function<void()>> callbacks_;  // plain callbacks; the module uses none
  int dispatch_mode_ = kDispatchTick;
  UINT interval_ms_ = 1000;
  bool running_ = false;
  bool window_created_ = false;
};

}  // namespace vk
