// Conversions between the classes of arrays.
#pragma once

#include "kavra/Literals.h"
#include "kavra/standalone/Operand.h"

namespace kavra::standalone {

/// The array in another class, as the function named like the class does it: int8(...), logical(...), char(...).
/// Fails where the host has no such conversion.
HostArray convert(Budget& budget, const HostArray& array, ArrayClass to);

/// A number as texts show it: integers in full, others with up to five digits, more where the integer part needs them.
std::u16string numberText(const HostArray& array, std::uint64_t index);

/// What a text says as a number: NaN when it says none.
double numberOfText(std::u16string_view text);

/// A literal in an integer class, digit for digit, saturating.
HostArray convertLiteral(const IntegerLiteral& literal, ArrayClass to);

} // namespace kavra::standalone
