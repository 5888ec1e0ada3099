// One event's list of subscriptions. Each delegate binds a receiver (which carries a
// LivenessMarker) and one of its member operations. Firing calls live receivers, newest
// subscriber first, and unlinks the delegates of receivers that no longer exist.
#pragma once

#include <cstddef>

#include "module/EventDelegate.h"
#include "platform/RecursiveLock.h"
#include "vaultkit/vkcom.h"

namespace vk {

template <typename... Args>
class EventSlot {
 public:
  EventSlot() = default;
  EventSlot(const EventSlot&) = delete;
  EventSlot& operator=(const EventSlot&) = delete;
  ~EventSlot() {
    LockGuard hold(lock_);
    while (head_ != nullptr) {
      auto* next = head_->next;
      delete head_;
      head_ = next;
    }
  }

  template <typename R>
  bool Subscribe(R* receiver, void (R::*operation)(Args...)) {
    if (receiver == nullptr) return false;
    LockGuard hold(lock_);
    auto* delegate = new MemberDelegate<R, Args...>(receiver, operation);
    delegate->next = head_;
    head_ = delegate;
    return true;
  }

  // With an operation: removes the first matching delegate and answers true. Without one
  // (nullptr): removes every delegate of the receiver and answers false, even when some
  // were removed; callers have always relied on that answer.
  template <typename R>
  bool Unsubscribe(R* receiver, void (R::*operation)(Args...)) {
    if (operation == nullptr) return Unsubscribe(receiver, nullptr);
    OperationKey key = OperationKey::Of(operation);
    return Remove(receiver, &key);
  }
  bool Unsubscribe(const void* receiver, std::nullptr_t) { return Remove(receiver, nullptr); }

  // Handlers run under the slot's lock; an error a handler raises passes to the caller and
  // the lock is released on the way out.
  void Fire(Args... args) {
    LockGuard hold(lock_);
    for (EventDelegate<Args...>** link = &head_; *link != nullptr;) {
      EventDelegate<Args...>* delegate = *link;
      if (delegate->Invoke(args...)) {
        link = &delegate->next;
      } else {
        *link = delegate->next;
        delete delegate;
        TraceDeadReceiver();
      }
    }
  }

  size_t Count() const {
    LockGuard hold(lock_);
    size_t n = 0;
    for (auto* d = head_; d != nullptr; d = d->next) ++n;
    return n;
  }

 private:
  bool Remove(const void* receiver, const OperationKey* key) {
    LockGuard hold(lock_);
    for (EventDelegate<Args...>** link = &head_; *link != nullptr;) {
      EventDelegate<Args...>* delegate = *link;
      if (delegate->Matches(receiver, key)) {
        *link = delegate->next;
        delete delegate;
        if (key != nullptr) return true;
      } else {
        link = &delegate->next;
      }
    }
    return false;
  }

  mutable RecursiveLock lock_;
  EventDelegate<Args...>* head_ = nullptr;
};

}  // namespace vk
