// What fuzzers share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

/// Called by the fuzzer with one input after the other.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Ends the process, so that the input is kept.
inline void require(bool holds, const char* what) {
  if (holds)
    return;
  std::fprintf(stderr, "Not so: %s\n", what);
  std::abort();
}

} // namespace fuzz
