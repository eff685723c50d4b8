// The grammar of unit expressions.
#pragma once

#include "kavra/standalone/units/UnitTable.h"

namespace kavra::standalone {

inline constexpr std::size_t maxUnitLength = 1000;
inline constexpr int maxUnitNesting = 50;

/// Reads one text, by recursive descent:
///
///     text     = "" | blanks product blanks
///     product  = power { blanks ("*" | "." | "·" | "⋅" | "/") blanks power | blanks power }
///     power    = factor [ "^" exponent | superscripts ]
///     factor   = word | "1" | "(" blanks product blanks ")"
///     exponent = ["-"] digits | "(" ["-"] digits [ "/" digits ] ")"
class UnitReader {
public:
  UnitReader(const UnitTable& table, std::u16string_view text) : table_(table), text_(text) {}

  Unit read();

private:
  Unit readProduct();
  Unit readPower();
  Unit readFactor();
  Unit readWord();
  std::optional<Exponent> readExponent();
  std::int64_t readInteger();
  Exponent readSuperscripts();

  void multiply(Unit& unit, const Unit& other, const Exponent& exponent, std::size_t position) const;
  void requireNoOwnZero(const Unit& unit) const;

  bool atEnd() const { return position_ == text_.size(); }
  char16_t peek() const { return atEnd() ? u'\0' : text_[position_]; }
  bool take(char16_t c);
  void skipBlanks();
  bool atFactor() const;

  [[noreturn]] void failHere(std::string_view what) const;
  [[noreturn]] void failUnexpected(std::string_view expected) const;
  [[noreturn]] void failUnknown(std::u16string_view word, std::size_t position) const;

  const UnitTable& table_;
  std::u16string_view text_;
  std::size_t position_ = 0;
  int nesting_ = 0;
  std::size_t ownZeroPosition_ = 0; // of the last unit read that has a zero point of its own
  std::u16string_view ownZeroWord_;
};

} // namespace kavra::standalone
