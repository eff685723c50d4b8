// Texts of units, two of them with a line between: known or refused, and what converts does so in both ways.
#include "tests/fuzz/Fuzz.h"

#include "kavra/Error.h"
#include "kavra/Text.h"
#include "kavra/standalone/StandaloneHost.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto host = kavra::makeStandaloneHost();
  const auto& units = host->units();
  const auto text = kavra::fromUtf8(fuzz::textOf(data, size));
  if (!text)
    return 0;
  const std::u16string_view both = *text;
  const auto middle = std::min(both.find(u'\n'), both.size());
  const auto from = both.substr(0, middle), to = both.substr(std::min(middle + 1, both.size()));
  const auto isKnown = [&](std::u16string_view unit) {
    try {
      units.checkUnit(unit);
      return true;
    } catch (const kavra::Error&) {
      return false;
    }
  };
  const bool known = isKnown(from) && isKnown(to);
  const bool convertible = units.areConvertible(from, to);
  fuzz::require(convertible == units.areConvertible(to, from), "converting has no direction");
  fuzz::require(known || !convertible, "only units convert");
  fuzz::require(convertible || !units.areEquivalent(from, to), "what is the same converts");
  try {
    const auto there = units.convert(1, from, to);
    fuzz::require(convertible, "what has a number converts");
    fuzz::require(!units.areEquivalent(from, to) || there == 1, "the same unit has the same number");
  } catch (const kavra::Error&) { // perhaps out of range
  }
  if (constexpr std::size_t word = 6; from.size() <= word) // goes through the whole table
    units.similarUnits(from);
  return 0;
}
