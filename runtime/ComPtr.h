// Owns one reference to a component object and releases it when it goes. The one way the
// component, the command, the tests and the fuzz targets hold a reference: it adopts the
// reference it is given (no AddRef), as an out parameter or a creation hands one over.
#pragma once

#include <cstddef>
#include <utility>

namespace vk {

template <typename I>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): as for a raw pointer
  explicit ComPtr(I* adopted) : held_(adopted) {}
  ComPtr(ComPtr&& other) noexcept : held_(other.release()) {}
  ComPtr& operator=(ComPtr&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ~ComPtr() { reset(); }

  I* get() const { return held_; }
  I* operator->() const { return held_; }
  I& operator*() const { return *held_; }
  explicit operator bool() const { return held_ != nullptr; }

  // Releases what is held and adopts `adopted`.
  void reset(I* adopted = nullptr) {
    I* old = std::exchange(held_, adopted);
    if (old != nullptr) old->Release();
  }
  // Hands the reference to the caller, who releases it.
  I* release() { return std::exchange(held_, nullptr); }
  // For an out parameter: releases what is held and answers where the new reference goes.
  I** Out() {
    reset();
    return &held_;
  }
  // Another reference for a caller that keeps its own (an accessor's out parameter).
  I* AddRef() const {
    if (held_ != nullptr) held_->AddRef();
    return held_;
  }

 private:
  I* held_ = nullptr;
};

template <typename I>
bool operator==(const ComPtr<I>& held, std::nullptr_t) {
  return held.get() == nullptr;
}

}  // namespace vk
