#include "platform/HugePageAllocator.h"

#include <sys/mman.h>

#include <cstdint>

namespace vk {
namespace {

size_t RoundUp(size_t bytes) {
  return (bytes + HugePages::kSize - 1) & ~(HugePages::kSize - 1);
}

}  // namespace

void* HugePages::Map(size_t bytes) {
  const size_t size = RoundUp(bytes);
  if (size < bytes) throw std::bad_alloc();
  // Mapped with room to align: huge pages cover only aligned 2 MB ranges.
  const size_t mapped = size + kSize;
  void* area = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (area == MAP_FAILED) throw std::bad_alloc();
  const auto start = reinterpret_cast<uintptr_t>(area);
  const uintptr_t aligned = (start + kSize - 1) & ~(uintptr_t{kSize} - 1);
  if (aligned > start) munmap(area, aligned - start);
  if (const size_t tail = start + mapped - (aligned + size); tail > 0) {
    munmap(reinterpret_cast<void*>(aligned + size), tail);
  }
  // Only a hint: without huge pages the block works the same, page by page.
  madvise(reinterpret_cast<void*>(aligned), size, MADV_HUGEPAGE);
  return reinterpret_cast<void*>(aligned);
}

void HugePages::Unmap(void* block, size_t bytes) {
  munmap(block, RoundUp(bytes));
}

}  // namespace vk
