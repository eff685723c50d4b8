// Conversions between arrays of numbers.
#pragma once

#include "kavra/HostArray.h"

namespace zelkor::property {

/// The numbers of an array in another numeric class, in the same shape. Floating-point numbers lose their fraction and
/// saturate in integer classes (NaN becomes zero); integers convert to integers modulo the target's range.
kavra::HostArray castNumbers(const kavra::HostArray& array, kavra::ArrayClass to);

/// Calls `visit(number)` for each element of a numeric array, in its own type, until it answers false. False when it
/// did.
template <class Visit>
bool forEachNumber(const kavra::HostArray& array, Visit&& visit) {
  return kavra::withElementType(array.arrayClass(), [&](auto zero) {
    for (const auto number : array.data<decltype(zero)>())
      if (!visit(number))
        return false;
    return true;
  });
}

} // namespace zelkor::property
