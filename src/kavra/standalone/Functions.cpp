#include "kavra/standalone/Functions.h"

#include <unordered_map>

namespace kavra::standalone {
namespace {

using Table = std::unordered_map<std::u16string_view, const FunctionEntry*>;

Table makeTable() {
  Table table;
  for (auto group :
       {conversionFunctions(), constructorFunctions(), elementFunctions(), reductionFunctions(), shapeFunctions()}) {
    for (auto& entry : group)
      table.emplace(entry.name, &entry);
  }
  return table;
}

std::uint64_t extent(double value) {
  if (std::isnan(value) || value != std::floor(value))
    fail("an extent is a whole number");
  if (value >= 1e18)
    fail("an array is too large");
  return value < 0 ? 0 : static_cast<std::uint64_t>(value);
}

} // namespace

const FunctionEntry* findFunction(std::u16string_view name) {
  static const Table table = makeTable();
  auto it = table.find(name);
  return it == table.end() ? nullptr : it->second;
}

Dimensions extentsFromArguments(std::span<const HostArray> arguments) {
  constexpr std::size_t most = 32;
  for (auto& argument : arguments) {
    if (!isNumberLike(argument.arrayClass()) || argument.arrayClass() == ArrayClass::Char)
      fail("an extent is a number");
  }
  if (arguments.empty())
    return {1, 1};
  Dimensions extents;
  if (arguments.size() == 1 && arguments[0].isScalar()) {
    auto n = extent(arguments[0].numberAt(0));
    return {n, n};
  }
  if (arguments.size() == 1) {
    auto& vector = arguments[0];
    if (!vector.isVector() || vector.count() < 2 || vector.count() > most)
      fail("extents are a row of at least two numbers");
    for (std::uint64_t i = 0; i < vector.count(); ++i)
      extents.push_back(extent(vector.numberAt(i)));
    return extents;
  }
  for (auto& argument : arguments) {
    if (!argument.isScalar() || extents.size() == most)
      fail("an extent is one number");
    extents.push_back(extent(argument.numberAt(0)));
  }
  return extents;
}

std::size_t dimensionFromArgument(const HostArray& argument) {
  double dimension = wholeNumber(argument);
  if (dimension < 1 || dimension > 32)
    fail("a dimension is a whole number from 1");
  return static_cast<std::size_t>(dimension) - 1;
}

double wholeNumber(const HostArray& argument) {
  auto value = argument.asNumber();
  if (!value || *value != std::floor(*value) || std::isinf(*value))
    fail("a whole number is expected");
  return *value;
}

} // namespace kavra::standalone
