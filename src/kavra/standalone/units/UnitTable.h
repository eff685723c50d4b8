// The units that texts can name: what units.toml says, and what a host adds to it.
#pragma once

#include "kavra/Export.h"
#include "kavra/standalone/units/Unit.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kavra::standalone {

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::u16string_view text) const { return std::hash<std::u16string_view>()(text); }
};
template <class Mapped>
using TextMap = std::unordered_map<std::u16string, Mapped, TextHash, std::equal_to<>>;

struct Prefix {
  std::vector<std::u16string> symbols; // put before symbols of units
  std::u16string name;                 // put before names of units
  std::string family;
  Fraction factor;
};

/// One unit of the table, as listings and tools show it.
struct UnitEntry {
  std::u16string symbol;
  std::vector<std::u16string> aliases; // further symbols
  std::vector<std::u16string> names;   // in words
  std::string group;                   // "Length"
  std::string description;             // empty where the names say it all
  std::string definition;              // "2.54 cm"; empty for a base unit
  std::string baseOf;                  // the dimension of a base unit, "length"
  std::u16string differenceUnit;       // what to write for differences when the unit has a zero point of its own
  std::vector<std::uint16_t> prefixes; // indices into `UnitTable::prefixes`
  Unit unit;
};

class KAVRA_EXPORT UnitTable {
public:
  /// A table without units and prefixes.
  UnitTable() = default;
  /// What units.toml holds.
  static const UnitTable& builtIn();

  /// Adds what a text in the form of units.toml holds; its units can build on those already here.
  /// Raises "kavra:units:BadTable" and adds nothing when the text or one of its units cannot be used.
  void add(std::string_view toml);

  const std::vector<UnitEntry>& units() const { return units_; }
  const std::vector<Prefix>& prefixes() const { return prefixes_; }

  /// The entry with this symbol, alias or name, with or without prefix.
  struct Match {
    const UnitEntry* entry = nullptr;
    const Prefix* prefix = nullptr;
    explicit operator bool() const { return entry != nullptr; }
  };
  Match find(std::u16string_view word) const;

  /// Reads a unit expression; the grammar is in docs/units.md. Raises kavra::Error with the position of the fault.
  Unit read(std::u16string_view text) const;

  /// Words of the table that a word which is not in it may have meant, best first, at most `limit`.
  std::vector<std::u16string> spelledLike(std::u16string_view word, std::size_t limit) const;
  /// Words of the table that convert to `unit`, those nearest in size first, at most `limit`.
  std::vector<std::u16string> convertibleTo(const Unit& unit, std::size_t limit) const;

  /// The dimension as a unit expression in base units, "kg*m^-1*s^-2"; "1" for none.
  std::u16string toText(const Dimension& dimension) const;

private:
  struct Word {
    std::uint16_t unit;
    std::int16_t prefix; // -1 for none
  };
  static const std::string_view builtInToml;

  class Loader;

  /// The word with letters that have a second code point of the same look brought to one.
  static std::u16string unified(std::u16string_view word);

  std::vector<Prefix> prefixes_;
  std::vector<UnitEntry> units_;
  std::vector<std::uint16_t> baseUnits_; // the unit of each base dimension
  TextMap<Word> words_;                  // every way to write a unit with at most one prefix
  TextMap<std::u16string> mistaken_;
};

} // namespace kavra::standalone
