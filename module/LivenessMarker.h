// The marker a receiver of events carries so that delegates bound to it can tell whether it
// still exists. The pattern lives in a shared block that the delegate watches through a weak
// reference: reading it never touches freed memory, and a receiver that is gone, or whose
// destructor has cleared the pattern, counts as dead.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>

namespace vk {

class LivenessMarker {
 public:
  static constexpr char kPattern[17] = "################";
  using Block = std::array<char, 16>;

  LivenessMarker() : block_(std::make_shared<Block>()) {
    std::memcpy(block_->data(), kPattern, 16);
  }
  LivenessMarker(const LivenessMarker&) = delete;
  LivenessMarker& operator=(const LivenessMarker&) = delete;
  ~LivenessMarker() { Clear(); }

  // Overwrites the pattern with zeros; delegates then skip the receiver.
  void Clear() { block_->fill(0); }
  std::weak_ptr<const Block> Watch() const { return block_; }

  static bool IsAlive(const std::weak_ptr<const Block>& watched) {
    auto block = watched.lock();
    return block && std::memcmp(block->data(), kPattern, 16) == 0;
  }

 private:
  std::shared_ptr<Block> block_;
};

}  // namespace vk
