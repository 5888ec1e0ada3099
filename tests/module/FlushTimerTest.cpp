#include <gtest/gtest.h>

#include "module/FlushTimer.h"
#include "tests/support/FakeClock.h"

namespace vk {
namespace {

struct Counter {
  LivenessMarker marker;
  LivenessMarker& Marker() { return marker; }
  void OnTick() { ++ticks; }
  int ticks = 0;
};

TEST(FlushTimer, TicksEverySixtySecondsOnceTheIntervalIsSet) {
  test::FakeClock clock;
  Counter counter;
  FlushTimer timer;
  timer.tick.Subscribe(&counter, &Counter::OnTick);
  // The module's wiring: armed on creation and by Start with 1000 ms, then re-armed.
  timer.Start(true);
  timer.SetInterval(60000);
  EXPECT_TRUE(timer.IsRunning());

  clock.Advance(59999);
  VkPumpMessages();
  EXPECT_EQ(counter.ticks, 0) << "the 1000 ms armings must not count";
  clock.Advance(1);
  VkPumpMessages();
  EXPECT_EQ(counter.ticks, 1);
  clock.Advance(60000);
  VkPumpMessages();
  EXPECT_EQ(counter.ticks, 2);
}

TEST(FlushTimer, StopAndDestructionDisarmTheTimer) {
  test::FakeClock clock;
  Counter counter;
  {
    FlushTimer timer;
    timer.tick.Subscribe(&counter, &Counter::OnTick);
    timer.Start(true);
    timer.Start(false);
    EXPECT_FALSE(timer.IsRunning());
    clock.Advance(5000);
    EXPECT_EQ(VkPumpMessages(), 0);
    timer.Start(true);
  }
  clock.Advance(5000);
  EXPECT_EQ(VkPumpMessages(), 0);
  EXPECT_EQ(counter.ticks, 0);
}

}  // namespace
}  // namespace vk
