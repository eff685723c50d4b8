// Arrays as texts: for people to read, and exactly, as expressions.
#pragma once

#include "kavra/HostArray.h"

namespace kavra {

/// A readable text of one line: "5", "[1 2 3]", "true", "hello", "Red", "{1, 'a'}", "int8 [1 2; 3 4]", "1-by-100000
/// double" where it would be longer than `longest` units.
KAVRA_EXPORT std::u16string displayText(const HostArray& array, std::size_t longest = 200);

/// An expression whose value is identical to the array; nothing for null and for arrays that hold an opaque object.
KAVRA_EXPORT std::optional<std::u16string> expressionText(const HostArray& array);

} // namespace kavra
