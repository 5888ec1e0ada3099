#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "vaultkit/vkcom.h"

namespace {

// Drives the loop's clock by hand and records which timers ran.
class MessageLoopTest : public ::testing::Test {
 protected:
  void SetUp() override { VkSetClock(&MessageLoopTest::Clock, this); }
  void TearDown() override {
    VkKillTimers(&owner_);
    VkKillTimers(&other_);
    VkSetClock(nullptr, nullptr);
  }

  static uint64_t Clock(void* context) { return static_cast<MessageLoopTest*>(context)->now_; }

  static void Record(void* context, UINT id) {
    auto* test = static_cast<MessageLoopTest*>(context);
    test->fired_.push_back(id);
    if (test->on_fire_) test->on_fire_(id);
  }

  void Arm(UINT id, UINT interval, void* owner = nullptr) {
    VkSetTimer(owner != nullptr ? owner : &owner_, id, interval, &MessageLoopTest::Record, this);
  }

  // Pumps at `at` and returns the ids that ran.
  std::vector<UINT> PumpAt(uint64_t at) {
    now_ = at;
    fired_.clear();
    int ran = VkPumpMessages();
    EXPECT_EQ(ran, static_cast<int>(fired_.size()));
    return fired_;
  }

  uint64_t now_ = 1000000;
  int owner_ = 0;
  int other_ = 0;
  std::vector<UINT> fired_;
  std::function<void(UINT)> on_fire_;
};

using Ids = std::vector<UINT>;

TEST_F(MessageLoopTest, MinuteTimerFiresOnceAMinute) {
  EXPECT_EQ(VkGetTickCount(), 1000000u);
  EXPECT_EQ(VkNextTimerDelay(), -1);
  Arm(7, 60000);
  EXPECT_EQ(VkNextTimerDelay(), 60000);
  EXPECT_EQ(PumpAt(1059999), Ids{});
  EXPECT_EQ(VkNextTimerDelay(), 1);
  EXPECT_EQ(PumpAt(1060000), Ids{7});
  EXPECT_EQ(PumpAt(1060000), Ids{});
  EXPECT_EQ(VkNextTimerDelay(), 60000);
  EXPECT_EQ(PumpAt(1120000), Ids{7});

  // A loop that stalled for ten periods runs the timer once and counts from now.
  EXPECT_EQ(PumpAt(1720500), Ids{7});
  EXPECT_EQ(VkNextTimerDelay(), 60000);
  EXPECT_EQ(PumpAt(1780499), Ids{});
  EXPECT_EQ(PumpAt(1780500), Ids{7});

  VkSetClock(nullptr, nullptr);
  uint64_t first = VkGetTickCount();
  EXPECT_GE(VkGetTickCount(), first);
  EXPECT_NE(first, now_);
}

TEST_F(MessageLoopTest, ArmingAgainRestartsTheTimer) {
  Arm(1, 60000);
  now_ += 30000;
  Arm(1, 60000);
  EXPECT_EQ(PumpAt(1060000), Ids{});
  EXPECT_EQ(PumpAt(1090000), Ids{1});
  Arm(1, 1000);  // a new interval counts from now
  EXPECT_EQ(PumpAt(1091000), Ids{1});
  EXPECT_EQ(PumpAt(1092000), Ids{1});

  // A zero period is raised to the ten-millisecond minimum; no procedure arms nothing.
  Arm(2, 0);
  EXPECT_EQ(VkNextTimerDelay(), 10);
  VkSetTimer(&owner_, 3, 5, nullptr, this);
  EXPECT_EQ(PumpAt(1092010), Ids{2});
}

TEST_F(MessageLoopTest, KilledTimersNeverRun) {
  Arm(1, 100);
  Arm(2, 200);
  Arm(1, 100, &other_);  // the same id of another owner is another timer
  VkKillTimer(&owner_, 1);
  VkKillTimer(&owner_, 99);  // unknown timers are ignored
  EXPECT_EQ(PumpAt(1000100), Ids{1});
  EXPECT_EQ(PumpAt(1000200), Ids({2, 1}));  // due together: in arming order
  VkKillTimers(&owner_);
  EXPECT_EQ(PumpAt(1000400), Ids{1});
  VkKillTimers(&other_);
  EXPECT_EQ(VkNextTimerDelay(), -1);
  EXPECT_EQ(PumpAt(1001000), Ids{});
}

TEST_F(MessageLoopTest, ProceduresMayArmAndKillTimers) {
  Arm(1, 100);
  Arm(2, 150);
  Arm(3, 200);
  on_fire_ = [this](UINT id) {
    if (id == 1) {
      VkKillTimer(&owner_, 1);  // itself
      VkKillTimer(&owner_, 3);  // a timer due in the same pump
      Arm(4, 50);               // runs in a later pump, not this one
    }
  };
  EXPECT_EQ(PumpAt(1000200), Ids({1, 2}));  // due order
  EXPECT_EQ(VkNextTimerDelay(), 50);
  on_fire_ = [this](UINT id) {
    if (id == 4) Arm(4, 1000);  // re-arming from inside its own run
  };
  EXPECT_EQ(PumpAt(1000250), Ids{4});
  EXPECT_EQ(PumpAt(1000350), Ids{2});
  EXPECT_EQ(PumpAt(1001250), Ids({2, 4}));  // timer 2, late, runs before the later-due 4
}

}  // namespace
