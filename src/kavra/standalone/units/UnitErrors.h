// The errors of the unit table, in alphabetical order. Positions are counted from 1 in UTF-16 units of the text.
#pragma once

#include "kavra/Error.h"

#include <string>
#include <string_view>
#include <vector>

namespace kavra::standalone {

struct UnitErrorId {
  std::string_view id;
  std::string_view text;
};

namespace UnitError {

inline constexpr UnitErrorId BadTable{"kavra:units:BadTable", "the unit table cannot be used: {0}"};
inline constexpr UnitErrorId NotConvertible{"kavra:units:NotConvertible",
                                            "'{0}' does not convert to '{1}': {2} is not {3}"};
inline constexpr UnitErrorId OutOfRange{"kavra:units:OutOfRange",
                                        "the factor from '{0}' to '{1}' is beyond the range of numbers"};
inline constexpr UnitErrorId StandsAlone{
    "kavra:units:StandsAlone",
    "unit '{0}' at position {1} has a zero point of its own, so it takes no prefix, power, product or quotient; "
    "write '{2}' for a difference"};
inline constexpr UnitErrorId SyntaxError{"kavra:units:SyntaxError", "at position {1} of the units: {0}"};
inline constexpr UnitErrorId TooLarge{"kavra:units:TooLarge", "at position {1} of the units: {0}"};
inline constexpr UnitErrorId UnknownUnit{"kavra:units:UnknownUnit", "unit '{0}' is not known at position {1}"};
inline constexpr UnitErrorId UnknownUnitSimilar{"kavra:units:UnknownUnit",
                                                "unit '{0}' is not known at position {1}; did you mean '{2}'?"};

} // namespace UnitError

[[noreturn]] inline void raise(const UnitErrorId& error, std::vector<std::u16string> arguments) {
  throw Error(error.id, error.text, std::move(arguments));
}

} // namespace kavra::standalone
