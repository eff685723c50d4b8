// The grammar of units against texts made at random from fixed seeds.
#include "kavra/Error.h"
#include "kavra/Text.h"
#include "kavra/standalone/units/UnitTable.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace kavra::standalone {
namespace {

const UnitTable& table() { return UnitTable::builtIn(); }

class Dice {
public:
  explicit Dice(unsigned seed) : random_(seed) {}
  std::size_t below(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_); }
  bool oneIn(std::size_t count) { return below(count) == 0; }
  template <class Range>
  const auto& oneOf(const Range& range) {
    return range[below(std::size(range))];
  }

private:
  std::mt19937 random_;
};

struct Written {
  std::u16string text;
  Unit unit;
};

struct BeyondLimits {};

/// Makes up a unit and writes it in one of the many ways that the grammar allows. The unit is computed from the table's
/// entries, never from the text.
class Author {
public:
  explicit Author(unsigned seed) : dice_(seed) {}

  Written product(int depth) {
    auto result = power(depth);
    bool divided = false;
    for (auto more = dice_.below(4); more > 0; --more) {
      auto next = power(depth);
      bool division = dice_.oneIn(3);
      divided = divided || division;
      static constexpr std::u16string_view times[] = {u"*", u".", u"·", u"⋅", u" "};
      auto sign = division ? u"/" : divided ? u"*" : dice_.oneOf(times);
      if (sign == u"." && next.text.front() == u'1')
        sign = u"*"; // "2.1" is a decimal
      result.text += blanks() + std::u16string(sign) + blanks() + next.text;
      multiply(result.unit, next.unit, division ? -1 : 1);
    }
    return result;
  }

private:
  Written power(int depth) {
    auto base = factor(depth);
    if (!dice_.oneIn(3))
      return base;
    auto above = static_cast<std::int64_t>(dice_.below(9)) - 4;
    auto below = static_cast<std::int64_t>(1 + dice_.below(3));
    Written result{base.text, {}};
    if (below == 1 && dice_.oneIn(2)) {
      result.text += above < 0 ? u"⁻" : u"";
      result.text += std::u16string_view(u"⁰¹²³⁴")[static_cast<std::size_t>(std::abs(above))];
    } else if (below == 1) {
      result.text += u"^" + fromAscii(std::to_string(above));
    } else {
      result.text += u"^(" + fromAscii(std::to_string(above) + "/" + std::to_string(below)) + u")";
    }
    multiply(result.unit, base.unit, Exponent(above, below));
    return result;
  }

  Written factor(int depth) {
    if (depth > 0 && dice_.oneIn(4)) {
      auto inner = product(depth - 1);
      return {u"(" + blanks() + inner.text + blanks() + u")", inner.unit};
    }
    if (dice_.oneIn(20))
      return {u"1", {}};
    auto& entry = dice_.oneOf(table().units());
    if (entry.unit.hasOwnZero())
      return factor(depth);
    bool inWords = !entry.names.empty() && dice_.oneIn(4);
    Written result{inWords ? dice_.oneOf(entry.names) : entry.symbol, entry.unit};
    if (!inWords && !entry.aliases.empty() && dice_.oneIn(2))
      result.text = dice_.oneOf(entry.aliases);
    if (!entry.prefixes.empty() && dice_.oneIn(2)) {
      auto& prefix = table().prefixes()[dice_.oneOf(entry.prefixes)];
      result.text.insert(0, inWords ? prefix.name : dice_.oneOf(prefix.symbols));
      if (!result.unit.factor.multiply(ExactFactor(prefix.factor), 1))
        throw BeyondLimits();
    }
    return result;
  }

  static void multiply(Unit& unit, const Unit& other, const Exponent& exponent) {
    if (!unit.multiply(other, exponent))
      throw BeyondLimits();
  }

  std::u16string blanks() { return std::u16string(dice_.oneIn(4) ? 1 : 0, u' '); }

  Dice dice_;
};

TEST(UnitsRandomTest, WhatIsWrittenIsReadAsTheSameUnit) {
  int read = 0;
  for (unsigned seed = 0; seed < 4000; ++seed) {
    try {
      auto written = Author(seed).product(2);
      auto unit = table().read(written.text);
      ASSERT_TRUE(unit.isEquivalent(written.unit)) << seed << ": " << toUtf8(written.text);
      auto inBaseUnits = table().toText(unit.dimension);
      ASSERT_EQ(table().read(inBaseUnits).dimension, unit.dimension) << seed << ": " << toUtf8(inBaseUnits);
      ++read;
    } catch (const BeyondLimits&) {
    } catch (const Error& error) {
      ASSERT_EQ(error.id(), "kavra:units:TooLarge") << seed << ": " << error.what();
    }
  }
  EXPECT_GT(read, 3000);
}

TEST(UnitsRandomTest, FractionsRoundAsTheProcessorRounds) {
  Dice dice(1);
  auto number = [&] {
    return std::ldexp(static_cast<double>(1 + dice.below(1ull << 53)), static_cast<int>(dice.below(200)) - 100);
  };
  for (int i = 0; i < 20000; ++i) {
    double a = number(), b = dice.oneIn(2) ? number() : a + static_cast<double>(dice.below(9));
    ASSERT_EQ(roundToDouble(Fraction(a) / Fraction(b)), a / b) << a << " " << b;
    ASSERT_EQ(roundToDouble(Fraction(a) * Fraction(b)), a * b) << a << " " << b;
    ASSERT_EQ(roundToDouble(Fraction(a) - Fraction(b)), a - b) << a << " " << b;
  }
}

TEST(UnitsRandomTest, GarbageIsRefusedWithAPositionWithinTheText) {
  using namespace std::string_view_literals;
  static constexpr std::u16string_view pieces[] = {
      u"m", u"kg",     u"s",      u"degC",   u"kelvin", u"%",  u"1",    u"2", u"99",  u"^",  u"^(1/2)", u"^-",
      u"²", u"⁻",      u"*",      u"/",      u".",      u"·",  u"(",    u")", u" ",   u"  ", u"-",      u"+",
      u"µ", u"\xd800", u"\xdc00", u"\xfeff", u"\x7f",   u"\t", u"\0"sv, u"Q", u"foo", u"_",  u"1/"};
  int accepted = 0, refused = 0;
  for (unsigned seed = 0; seed < 8000; ++seed) {
    Dice dice(seed);
    std::u16string text;
    for (auto more = 1 + dice.below(12); more > 0; --more)
      text += dice.oneOf(pieces);
    try {
      auto unit = table().read(text);
      ASSERT_EQ(table().read(table().toText(unit.dimension)).dimension, unit.dimension) << toUtf8(text);
      ++accepted;
    } catch (const Error& error) {
      auto position = std::stoul(toUtf8(error.arguments().at(1)));
      ASSERT_TRUE(position >= 1 && position <= text.size() + 1) << toUtf8(text) << ": " << error.what();
      ++refused;
    }
  }
  EXPECT_GT(accepted, 100);
  EXPECT_GT(refused, 1000);
}

} // namespace
} // namespace kavra::standalone
