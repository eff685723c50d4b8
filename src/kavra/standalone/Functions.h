// The functions of the expression language.
#pragma once

#include "kavra/standalone/Operand.h"

#include <string_view>

namespace kavra::standalone {

/// One call of a function.
struct Call {
  Budget& budget;
  std::span<const HostArray> arguments;

  std::size_t count() const { return arguments.size(); }
  const HostArray& operator[](std::size_t i) const { return arguments[i]; }
};

using Function = HostArray (*)(const Call&);

struct FunctionEntry {
  std::u16string_view name;
  std::size_t fewest; ///< arguments
  std::size_t most;
  Function function;
};

inline constexpr std::size_t anyNumber = static_cast<std::size_t>(-1);

/// The function of that name, or null.
const FunctionEntry* findFunction(std::u16string_view name);

// The groups that make up the language, one source file each.
std::span<const FunctionEntry> conversionFunctions();
std::span<const FunctionEntry> constructorFunctions();
std::span<const FunctionEntry> elementFunctions();
std::span<const FunctionEntry> reductionFunctions();
std::span<const FunctionEntry> shapeFunctions();

/// Extents as arguments give them: none for 1-by-1, one number n for n-by-n, several numbers, or one vector of them.
Dimensions extentsFromArguments(std::span<const HostArray> arguments);

/// A dimension given as an argument, counted from zero.
std::size_t dimensionFromArgument(const HostArray& argument);

/// A whole number given as an argument.
double wholeNumber(const HostArray& argument);

} // namespace kavra::standalone
