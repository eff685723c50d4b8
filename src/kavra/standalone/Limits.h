// How much work one expression may cause.
#pragma once

#include "kavra/HostArray.h"

namespace kavra {

/// Beyond any of these, an expression cannot be evaluated. The defaults keep every evaluation within seconds and well
/// within the memory of a small machine.
struct EvaluationLimits {
  std::uint32_t depth = 200;                       ///< of nested brackets and calls
  std::uint64_t length = std::uint64_t{1} << 20;   ///< of the text, in UTF-16 units
  std::uint64_t elements = HostArray::maxElements; ///< of one array
  std::uint64_t bytes = std::uint64_t{3} << 29;    ///< of all arrays made on the way
  std::uint64_t steps = std::uint64_t{1} << 28;    ///< elements computed or copied
};

} // namespace kavra
