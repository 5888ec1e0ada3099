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

// Its ticking every 60 s of loop time, as the module arms it, is checked by the module's
// flush test (ModuleTest.FlushTimerClosesTheStoresEverySixtySecondsOfLoopTime).
TEST(FlushTimer, StopAndDestructionDisarmTheTimer) {
  test::FakeClock clock;
  Counter counter;
  {
    FlushTimer timer;
    timer.tick.Subscribe(&counter, &Counter::OnTick);
    timer.Start(true);
    EXPECT_TRUE(timer.IsRunning());
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
