// Counts allocations, and makes the nth one fail. Linking Allocations.cpp replaces the global operator new of the
// program, and with it that of the libraries that the program loads.
#pragma once

#include <cstddef>
#include <limits>

namespace testsupport {

/// Allocations since the program began.
std::size_t allocations();
/// Lets `count` more allocations succeed; the next one raises std::bad_alloc, and those after it succeed again.
void failAllocationAfter(std::size_t count);
/// True when the failure has been dealt out; takes back one that has not.
bool allocationFailed();

/// Calls `attempt` with its 1st, 2nd, ... allocation failing, and `check` after each failure, until it needs no more
/// than have been let through. Answers how many failures it took.
template <class Attempt, class Check>
std::size_t failEachAllocation(const Attempt& attempt, const Check& check);

} // namespace testsupport

#include <new>

template <class Attempt, class Check>
std::size_t testsupport::failEachAllocation(const Attempt& attempt, const Check& check) {
  for (std::size_t count = 0;; ++count) {
    failAllocationAfter(count);
    try {
      attempt();
    } catch (const std::bad_alloc&) {
      allocationFailed();
      check(count);
      continue;
    } catch (...) {
      allocationFailed();
      throw;
    }
    if (!allocationFailed())
      return count;
    // It failed and was dealt with inside: what was attempted stands.
    return count;
  }
}
