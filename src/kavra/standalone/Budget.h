// What an evaluation may still use, and how it stops when that is used up or a text makes no sense.
#pragma once

#include "kavra/standalone/Limits.h"

#include <string>

namespace kavra::standalone {

/// Ends an evaluation; caught by the workspace, never seen by its callers.
struct EvaluationError {
  static constexpr std::size_t nowhere = static_cast<std::size_t>(-1);

  std::string text;
  std::size_t position = nowhere; ///< else the part of the expression at work is meant
};

[[noreturn]] inline void fail(std::string text, std::size_t position = EvaluationError::nowhere) {
  throw EvaluationError{std::move(text), position};
}

/// Counts down the limits of one evaluation. Arrays are charged before they are made.
class Budget {
public:
  /// What making, copying and destroying one cell or string is worth.
  static constexpr std::uint64_t stepsPerObject = 8;

  explicit Budget(const EvaluationLimits& limits) : limits_(limits), bytes_(limits.bytes), steps_(limits.steps) {}

  const EvaluationLimits& limits() const { return limits_; }

  void spend(std::uint64_t steps) {
    if (steps > steps_)
      fail("the expression takes too long");
    steps_ -= steps;
  }
  void reserve(std::uint64_t bytes) {
    if (bytes > bytes_)
      fail("the expression needs too much memory");
    bytes_ -= bytes;
  }
  /// Charges for an array of these extents; answers how many elements it has.
  std::uint64_t charge(ArrayClass arrayClass, Extents extents) {
    auto count = checkedProduct(extents, limits_.elements);
    if (!count)
      fail("an array is too large");
    bool isPlain = arrayClass != ArrayClass::Cell && arrayClass != ArrayClass::String;
    spend(isPlain ? *count : *count * stepsPerObject);
    reserve(*count * elementSize(arrayClass));
    return *count;
  }

private:
  const EvaluationLimits& limits_;
  std::uint64_t bytes_;
  std::uint64_t steps_;
};

} // namespace kavra::standalone
