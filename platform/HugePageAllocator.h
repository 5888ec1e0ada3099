// An allocator for large buffers that are filled once from start to end (the search lists of
// a directory): blocks of 2 MB or more are mapped on their own and asked for transparent huge
// pages, so filling them takes a few page faults instead of one per 4 KB. Each fault costs
// microseconds on a virtual machine; a directory of 100,000 members takes some 2,000 of them.
// Smaller blocks come from the ordinary heap.
#pragma once

#include <cstddef>
#include <new>

namespace vk {

class HugePages {
 public:
  static constexpr size_t kSize = size_t{2} << 20;
  // A block of `bytes` (at least kSize), aligned to kSize; throws std::bad_alloc.
  static void* Map(size_t bytes);
  static void Unmap(void* block, size_t bytes);
};

template <typename T>
class HugePageAllocator {
 public:
  using value_type = T;

  HugePageAllocator() = default;
  template <typename U>
  HugePageAllocator(const HugePageAllocator<U>&) noexcept {}

  T* allocate(size_t count) {
    if (count > static_cast<size_t>(-1) / sizeof(T)) throw std::bad_alloc();
    const size_t bytes = count * sizeof(T);
    if (bytes < HugePages::kSize) return static_cast<T*>(::operator new(bytes));
    return static_cast<T*>(HugePages::Map(bytes));
  }
  void deallocate(T* block, size_t count) noexcept {
    const size_t bytes = count * sizeof(T);
    if (bytes < HugePages::kSize) {
      ::operator delete(block);
    } else {
      HugePages::Unmap(block, bytes);
    }
  }

  template <typename U>
  bool operator==(const HugePageAllocator<U>&) const noexcept {
    return true;
  }
};

}  // namespace vk
