// The process's message loop timers and clock. Timers belong to the runtime, as they belong
// to the operating system on the client's platform, so that the component arms them and any
// client pumps them. The table is guarded by a mutex that is never held while a timer's
// procedure or the clock runs, so procedures may arm and kill timers freely.
#include <algorithm>
#include <chrono>
#include <mutex>
#include <vector>

#include "vaultkit/vkcom.h"

namespace {

// Like the platform, a shorter period is raised to ten milliseconds so that a loop
// pumping a zero-period timer still waits between runs.
constexpr UINT kMinimumInterval = 10;

struct Timer {
  void* owner;
  UINT id;
  UINT interval;
  uint64_t due;
  uint64_t armed;  // arming order, so that timers due together run in that order
  VkTimerProc proc;
  void* context;
};

class MessageLoop {
 public:
  uint64_t Now() {
    VkClockProc clock;
    void* context;
    {
      std::lock_guard<std::mutex> guard(mutex_);
      clock = clock_;
      context = clock_context_;
    }
    return clock != nullptr ? clock(context) : SteadyNow();
  }

  static uint64_t SteadyNow() {
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                     std::chrono::steady_clock::now().time_since_epoch())
                                     .count());
  }

  // Armed timers keep the time they still had to wait: their due times move from the old
  // clock to the new one, which may start anywhere.
  void SetClock(VkClockProc clock, void* context) {
    const uint64_t old_now = Now();
    if (clock == nullptr) context = nullptr;
    const uint64_t new_now = clock != nullptr ? clock(context) : SteadyNow();
    std::lock_guard<std::mutex> guard(mutex_);
    for (Timer& timer : timers_) {
      timer.due = new_now + (timer.due > old_now ? timer.due - old_now : 0);
    }
    clock_ = clock;
    clock_context_ = context;
  }

  void Set(void* owner, UINT id, UINT interval, VkTimerProc proc, void* context) {
    uint64_t now = Now();
    interval = std::max(interval, kMinimumInterval);
    std::lock_guard<std::mutex> guard(mutex_);
    Timer* timer = Find(owner, id);
    if (timer == nullptr) {
      timers_.push_back(Timer{owner, id, 0, 0, 0, nullptr, nullptr});
      timer = &timers_.back();
    }
    *timer = Timer{owner, id, interval, now + interval, ++armed_, proc, context};
  }

  void Kill(void* owner, UINT id) {
    std::lock_guard<std::mutex> guard(mutex_);
    std::erase_if(timers_, [&](const Timer& t) { return t.owner == owner && t.id == id; });
  }

  void KillAll(void* owner) {
    std::lock_guard<std::mutex> guard(mutex_);
    std::erase_if(timers_, [&](const Timer& t) { return t.owner == owner; });
  }

  int Pump() {
    uint64_t now = Now();
    std::vector<Timer> due;
    {
      std::lock_guard<std::mutex> guard(mutex_);
      for (const Timer& timer : timers_) {
        if (timer.due <= now) due.push_back(timer);
      }
    }
    std::sort(due.begin(), due.end(), [](const Timer& a, const Timer& b) {
      return a.due != b.due ? a.due < b.due : a.armed < b.armed;
    });
    int ran = 0;
    for (const Timer& candidate : due) {
      VkTimerProc proc;
      void* context;
      {
        // An earlier procedure may have killed or re-armed this timer meanwhile.
        std::lock_guard<std::mutex> guard(mutex_);
        Timer* timer = Find(candidate.owner, candidate.id);
        if (timer == nullptr || timer->due > now) continue;
        // However late the loop is, the timer runs once and its next run counts from now.
        timer->due = now + timer->interval;
        proc = timer->proc;
        context = timer->context;
      }
      ++ran;
      proc(context, candidate.id);
    }
    return ran;
  }

  int64_t NextDelay() {
    uint64_t now = Now();
    std::lock_guard<std::mutex> guard(mutex_);
    if (timers_.empty()) return -1;
    uint64_t next = timers_.front().due;
    for (const Timer& timer : timers_) next = std::min(next, timer.due);
    return next <= now ? 0 : static_cast<int64_t>(next - now);
  }

 private:
  Timer* Find(void* owner, UINT id) {
    for (Timer& timer : timers_) {
      if (timer.owner == owner && timer.id == id) return &timer;
    }
    return nullptr;
  }

  std::mutex mutex_;
  std::vector<Timer> timers_;
  uint64_t armed_ = 0;
  VkClockProc clock_ = nullptr;
  void* clock_context_ = nullptr;
};

// Never destroyed: components may kill their timers while the process is exiting.
MessageLoop& Loop() {
  static MessageLoop* loop = new MessageLoop();
  return *loop;
}

}  // namespace

// A timer without a procedure has nobody to run: the call is ignored.
void VkSetTimer(void* owner, UINT timer_id, UINT interval_ms, VkTimerProc proc, void* context) {
  if (proc == nullptr) return;
  Loop().Set(owner, timer_id, interval_ms, proc, context);
}

void VkKillTimer(void* owner, UINT timer_id) {
  Loop().Kill(owner, timer_id);
}

void VkKillTimers(void* owner) {
  Loop().KillAll(owner);
}

uint64_t VkGetTickCount(void) {
  return Loop().Now();
}

void VkSetClock(VkClockProc clock, void* context) {
  Loop().SetClock(clock, context);
}

int VkPumpMessages(void) {
  return Loop().Pump();
}

int64_t VkNextTimerDelay(void) {
  return Loop().NextDelay();
}
