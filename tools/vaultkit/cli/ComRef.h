// Holds one reference to an interface and releases it when it goes out of scope.
#pragma once

#include <utility>

namespace vk::cli {

template <typename I>
class ComRef {
 public:
  explicit ComRef(I* held = nullptr) : held_(held) {}
  ComRef(ComRef&& other) noexcept : held_(std::exchange(other.held_, nullptr)) {}
  ComRef(const ComRef&) = delete;
  ComRef& operator=(const ComRef&) = delete;
  ~ComRef() {
    if (held_ != nullptr) held_->Release();
  }
  I* operator->() const { return held_; }
  I* get() const { return held_; }
  explicit operator bool() const { return held_ != nullptr; }

 private:
  I* held_;
};

}  // namespace vk::cli
