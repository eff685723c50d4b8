#include "tests/support/Allocations.h"

#include <cstddef>
#include <cstdlib>
#include <limits>

namespace {

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();
thread_local std::size_t count = 0;
thread_local std::size_t left = never;
thread_local bool failed = false;

void* allocate(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) {
  ++count;
  if (left != never && left-- == 0) {
    left = never;
    failed = true;
    throw std::bad_alloc();
  }
  void* memory = nullptr;
  if (alignment <= alignof(std::max_align_t))
    memory = std::malloc(size ? size : 1);
  else if (::posix_memalign(&memory, alignment, size) != 0)
    memory = nullptr;
  if (memory)
    return memory;
  throw std::bad_alloc();
}

} // namespace

std::size_t testsupport::allocations() { return count; }

void testsupport::failAllocationAfter(std::size_t more) {
  failed = false;
  left = more;
}

bool testsupport::allocationFailed() {
  left = never;
  return failed;
}

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
