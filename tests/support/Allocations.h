// Counts allocations, and makes the nth one fail. Linking Allocations.cpp replaces the global operator new of the
// program, and with it that of the libraries that the program loads.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <utility>

namespace testsupport {

/// Allocations since the program began.
std::size_t allocations();
/// Lets `count` more allocations succeed; the next one raises std::bad_alloc, and those after it succeed again.
void failAllocationAfter(std::size_t count);
/// True when the failure has been dealt out; takes back one that has not.
bool allocationFailed();

/// Calls `attempt` with its 1st, 2nd, ... allocation failing, until it needs no more than have been let through; what
/// that last call did stands. After each call that raised std::bad_alloc, `refused` expects nothing to have happened;
/// after each other one but the last, `takeBack` expects all to have happened although an allocation failed, and takes
/// it back. When calls that failed have made room that stays, later ones need less and some of theirs were never
/// reached; then all is done once more with that room. Answers how many calls were refused.
template <class Attempt, class Refused, class TakeBack>
std::size_t failEachAllocation(const Attempt& attempt, const Refused& refused, const TakeBack& takeBack) {
  std::size_t refusals = 0;
  bool again = false;
  for (std::size_t count = 0;; ++count) {
    const auto before = allocations();
    failAllocationAfter(count);
    try {
      attempt();
    } catch (const std::bad_alloc&) {
      allocationFailed();
      refused(count);
      ++refusals;
      continue;
    } catch (...) {
      allocationFailed();
      throw;
    }
    const auto needed = allocations() - before;
    if (!allocationFailed()) {
      if (needed == count || needed == 0 || std::exchange(again, true))
        return refusals;
      count = static_cast<std::size_t>(-1);
    }
    takeBack();
  }
}

/// The same for what cannot do without any of its memory, and needs as much each time.
template <class Attempt, class Refused>
std::size_t failEachAllocation(const Attempt& attempt, const Refused& refused) {
  bool refusedAll = true;
  const auto refusals = failEachAllocation(attempt, refused, [&] { refusedAll = false; });
  EXPECT_TRUE(refusedAll) << "a failure was dealt with inside, or some were never reached";
  return refusals;
}

} // namespace testsupport
