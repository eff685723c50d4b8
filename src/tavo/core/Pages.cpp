#include "tavo/core/Pages.h"

#include <cerrno>
#include <cstdint>

#include <sys/mman.h>
#include <unistd.h>

namespace tavo {

void providePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) noexcept {
#ifdef MADV_POPULATE_WRITE
  static const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  constexpr std::uintptr_t fewPages = 4; // not worth a call
  if (size < fewPages * pageSize)
    return;
  const auto begin = reinterpret_cast<std::uintptr_t>(memory) & ~(pageSize - 1);
  const auto end = reinterpret_cast<std::uintptr_t>(memory) + size;
  const int before = errno;
  ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE);
  errno = before;
#endif
}

} // namespace tavo
