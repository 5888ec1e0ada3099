#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "module/EventSlot.h"

namespace vk {
namespace {

struct Receiver {
  Receiver(std::vector<std::string>* l, std::string n) : log(l), name(std::move(n)) {}
  std::vector<std::string>* log;
  std::string name;
  LivenessMarker marker;
  LivenessMarker& Marker() { return marker; }
  void OnValue(LONG v) { log->push_back(name + ":" + std::to_string(v)); }
  void OnOther(LONG v) { log->push_back(name + " other:" + std::to_string(v)); }
};

class TraceCapture {
 public:
  TraceCapture() {
    previous_ = SetEventTraceHook([this](const char* text) { lines.push_back(text); });
  }
  ~TraceCapture() { SetEventTraceHook(previous_); }
  std::vector<std::string> lines;

 private:
  EventTraceHook previous_;
};

TEST(EventSlot, CallsNewestSubscriberFirstAndRefusesNullReceivers) {
  std::vector<std::string> log;
  Receiver a{&log, "a"}, b{&log, "b"};
  EventSlot<LONG> slot;
  EXPECT_FALSE(slot.Subscribe<Receiver>(nullptr, &Receiver::OnValue));
  EXPECT_TRUE(slot.Subscribe(&a, &Receiver::OnValue));
  EXPECT_TRUE(slot.Subscribe(&b, &Receiver::OnValue));
  EXPECT_TRUE(slot.Subscribe(&a, &Receiver::OnOther));
  slot.Fire(7);
  EXPECT_EQ(log, (std::vector<std::string>{"a other:7", "b:7", "a:7"}));
}

TEST(EventSlot, DeadReceiversAreSkippedAndTheirDelegatesRemoved) {
  TraceCapture trace;
  std::vector<std::string> log;
  Receiver live{&log, "live"}, cleared{&log, "cleared"};
  auto dying = std::make_unique<Receiver>(&log, "dying");
  EventSlot<LONG> slot;
  slot.Subscribe(&live, &Receiver::OnValue);
  slot.Subscribe(dying.get(), &Receiver::OnValue);
  slot.Subscribe(&live, &Receiver::OnOther);
  dying.reset();
  slot.Fire(1);
  EXPECT_EQ(log, (std::vector<std::string>{"live other:1", "live:1"}));
  EXPECT_EQ(slot.Count(), 2u);
  EXPECT_EQ(trace.lines,
            (std::vector<std::string>{"Detected died event receiver , removed ok .\n"}));
  slot.Fire(2);
  EXPECT_EQ(trace.lines.size(), 1u);  // removed once, not reported again

  // A receiver alive but with its marker cleared counts as dead too.
  slot.Subscribe(&cleared, &Receiver::OnValue);
  cleared.marker.Clear();
  log.clear();
  slot.Fire(3);
  EXPECT_EQ(log, (std::vector<std::string>{"live other:3", "live:3"}));
  EXPECT_EQ(slot.Count(), 2u);
}

TEST(EventSlot, UnsubscribeKeepsItsAsymmetricAnswers) {
  std::vector<std::string> log;
  Receiver a{&log, "a"}, b{&log, "b"};
  EventSlot<LONG> slot;
  slot.Subscribe(&a, &Receiver::OnValue);
  slot.Subscribe(&a, &Receiver::OnOther);
  slot.Subscribe(&a, &Receiver::OnValue);
  slot.Subscribe(&b, &Receiver::OnValue);

  // With an operation: the first match only, answered true.
  EXPECT_TRUE(slot.Unsubscribe(&a, &Receiver::OnValue));
  EXPECT_EQ(slot.Count(), 3u);
  // Without one: every delegate of the receiver, answered false all the same.
  EXPECT_FALSE(slot.Unsubscribe(&a, nullptr));
  EXPECT_EQ(slot.Count(), 1u);
  EXPECT_FALSE(slot.Unsubscribe(&a, &Receiver::OnValue));  // nothing left to remove
  slot.Fire(5);
  EXPECT_EQ(log, (std::vector<std::string>{"b:5"}));
}

TEST(EventSlot, HandlerErrorPassesToCallerAndReleasesTheLock) {
  struct Thrower {
    LivenessMarker marker;
    LivenessMarker& Marker() { return marker; }
    void OnEvent() { throw 42; }
  } thrower;
  EventSlot<> slot;
  slot.Subscribe(&thrower, &Thrower::OnEvent);
  EXPECT_THROW(slot.Fire(), int);
  // The lock was released: another thread can take it (it would wait forever otherwise).
  size_t seen = 0;
  std::thread other([&] { seen = slot.Count(); });
  other.join();
  EXPECT_EQ(seen, 1u);
}

}  // namespace
}  // namespace vk
