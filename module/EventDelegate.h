// A subscription to one event: a receiver, one of its member operations, and a watch on the
// receiver's liveness marker.
#pragma once

#include <cstring>
#include <functional>
#include <memory>

#include "module/LivenessMarker.h"

namespace vk {

// Receives the "Detected died event receiver , removed ok .\n" trace; the shipped
// configuration discards it. Tests install a hook to see it.
using EventTraceHook = std::function<void(const char*)>;
EventTraceHook SetEventTraceHook(EventTraceHook hook);
void TraceDeadReceiver();

// A member operation reduced to comparable bytes, so delegates of any receiver type can be
// matched without knowing it.
struct OperationKey {
  unsigned char bytes[2 * sizeof(void*)] = {};
  template <typename P>
  static OperationKey Of(P operation) {
    static_assert(sizeof(P) <= sizeof(bytes));
    OperationKey key;
    std::memcpy(key.bytes, &operation, sizeof(P));
    return key;
  }
  bool operator==(const OperationKey& other) const {
    return std::memcmp(bytes, other.bytes, sizeof bytes) == 0;
  }
};

template <typename... Args>
struct EventDelegate {
  virtual ~EventDelegate() = default;
  // Calls the receiver if it is alive; answers whether it was.
  virtual bool Invoke(Args... args) = 0;
  // Same receiver, and the same operation when one is given.
  virtual bool Matches(const void* receiver, const OperationKey* operation) const = 0;
  EventDelegate* next = nullptr;
};

template <typename R, typename... Args>
class MemberDelegate final : public EventDelegate<Args...> {
 public:
  MemberDelegate(R* receiver, void (R::*operation)(Args...))
      : receiver_(receiver),
        operation_(operation),
        key_(OperationKey::Of(operation)),
        marker_(receiver->Marker().Watch()) {}

  bool Invoke(Args... args) override {
    if (!LivenessMarker::IsAlive(marker_)) return false;
    (receiver_->*operation_)(args...);
    return true;
  }
  bool Matches(const void* receiver, const OperationKey* operation) const override {
    return receiver == receiver_ && (operation == nullptr || *operation == key_);
  }

 private:
  R* receiver_;
  void (R::*operation_)(Args...);
  OperationKey key_;
  std::weak_ptr<const LivenessMarker::Block> marker_;
};

}  // namespace vk
