#include "kavra/Text.h"
#include "kavra/standalone/units/UnitTableService.h"
#include "tests/kavra/ErrorOf.h"
#include "tests/kavra/Table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace kavra::standalone {
namespace {

class UnitsTest : public testing::Test {
protected:
  UnitTableService units;

  Error refusal(std::u16string_view text) {
    return errorOf([&] { units.checkUnit(text); });
  }
  /// What a person reads when the text is refused; empty when it is accepted.
  std::string complaint(std::u16string_view text) { return refusal(text).what(); }
};

TEST_F(UnitsTest, ReadsOrRefusesWhatTheTableSays) {
  const auto rows = readTable("units.txt");
  ASSERT_GE(rows.size(), 50u);
  for (auto& [text, expected, line] : rows) {
    const auto unit = fromUtf8(text).value();
    const auto error = refusal(unit);
    const auto found = error.id().empty() ? toUtf8(units.table().toText(units.table().read(unit).dimension))
                                          : std::string("refused: ") + error.what();
    EXPECT_EQ(found, expected) << "units.txt:" << line << ": " << text;
  }
  EXPECT_EQ(complaint(u"m\u00a0s"),
            "at position 2 of the units: character U+00A0 is found where an operator or the end should stand");
}

TEST_F(UnitsTest, UnitsWithAZeroPointOfTheirOwnStandAlone) {
  EXPECT_EQ(complaint(u"(degC)"), "");
  for (auto text : {u"degC*m", u"m*degC", u"1/degC", u"degC^2", u"degC^1", u"(degC)/s", u"degC degF"})
    EXPECT_EQ(refusal(text).id(), "kavra:units:StandsAlone") << toUtf8(text);
  EXPECT_EQ(complaint(u"W/(m*degF)"), "unit 'degF' at position 6 has a zero point of its own, so it takes no prefix, "
                                      "power, product or quotient; write 'degR' for a difference");
  EXPECT_EQ(refusal(u"mdegC").id(), "kavra:units:UnknownUnit");
}

TEST_F(UnitsTest, BoundsWhatItReads) {
  auto many = [](std::u16string_view part, int count) {
    std::u16string result;
    while (count-- > 0)
      result += part;
    return result;
  };
  EXPECT_EQ(complaint(many(u"(", 50) + u"m" + many(u")", 50)), "");
  EXPECT_EQ(complaint(u"m" + many(u"*1", 499)), "");
  for (auto& text : {many(u"(", 51) + u"m" + many(u")", 51), u"mm" + many(u"*1", 500), std::u16string(u"m^100"),
                     std::u16string(u"m^(1/100)"), std::u16string(u"(m^50)^2"), std::u16string(u"m⁹⁹⁹⁹⁹⁹⁹⁹⁹⁹⁹⁹⁹"),
                     std::u16string(u"m^(1/97)*m^(1/89)"), std::u16string(u"m^99999999999999999999"),
                     std::u16string(u"m^99*m"), u"Qm/qm" + many(u"*(Qm/qm)^40", 30)})
    EXPECT_EQ(refusal(text).id(), "kavra:units:TooLarge") << toUtf8(text);
}

TEST_F(UnitsTest, KnowsSpellingsOfOneUnit) {
  std::vector<std::u16string_view> same[] = {
      {u"N*m", u"J", u"W*s", u"joule", u"(kg*m^2)/s^2", u"kg·m²·s⁻²"},
      {u"um", u"\u00b5m", u"\u03bcm", u"micrometre", u"micrometer", u"micron"},
      {u"ohm", u"\u03a9", u"\u2126", u"V/A"},
      {u"angstrom", u"\u00c5", u"\u212b"},
      {u"deg", u"°", u"degree"},
      {u"lb", u"lbm", u"pound"},
      {u"kB", u"kilobyte"},
      {u"1", u"", u"m/m", u"rad^0"},
      {u"m^(1/2)*m^(1/2)", u"m"},
      {u"(km^2)^(1/2)", u"km"},
      {u"km^(1/2)/m^(1/2)*m^(1/2)", u"km^(1/2)"},
      {u"degC", u"°C", u"celsius"},
  };
  for (auto& spellings : same)
    for (auto a : spellings)
      for (auto b : spellings)
        EXPECT_TRUE(units.areEquivalent(a, b)) << toUtf8(a) << " and " << toUtf8(b);
}

TEST_F(UnitsTest, TellsConvertibleFromEquivalentFromNeither) {
  struct {
    std::u16string_view a, b;
    bool convertible;
  } rows[] = {
      {u"m", u"km", true},      {u"m", u"s", false},       {u"deg", u"rad", true},
      {u"Hz", u"rad/s", false}, {u"rpm", u"Hz", false},    {u"rpm", u"deg/s", true},
      {u"s", u"Hz", false},     {u"N*m/rad", u"J", false}, {u"degC", u"K", true},
      {u"lbf", u"lb", false},   {u"MiB", u"Mbit", true},   {u"EUR", u"USD", false},
      {u"%", u"ppm", true},     {u"m^(1/2)", u"m", false}, {u"ft^(1/2)", u"m^(1/2)", true},
      {u"ohm", u"S", false},    {u"m", u"kgg", false},     {u"kgg", u"kgg", false},
  };
  for (auto& [a, b, convertible] : rows) {
    EXPECT_EQ(units.areConvertible(a, b), convertible) << toUtf8(a) << " to " << toUtf8(b);
    EXPECT_EQ(units.areConvertible(b, a), convertible) << toUtf8(b) << " to " << toUtf8(a);
    EXPECT_FALSE(units.areEquivalent(a, b)) << toUtf8(a) << " and " << toUtf8(b);
  }
}

TEST_F(UnitsTest, ConvertsExactlyAndRoundsOnce) {
  using std::numbers::pi;
  struct {
    double value;
    std::u16string_view from, to;
    double expected;
  } rows[] = {
      {0, u"degC", u"degF", 32},
      {100, u"degC", u"degF", 212},
      {-40, u"degF", u"degC", -40},
      {0, u"degC", u"K", 273.15},
      {0, u"degF", u"degR", 459.67},
      {32, u"degF", u"degC", 0},
      {1, u"in", u"mm", 25.4},
      {3, u"in", u"mm", 76.2},
      {1, u"lbf", u"N", 4.4482216152605},
      {1, u"gal", u"L", 3.785411784},
      {60, u"mph", u"km/h", 96.56064},
      {1, u"kWh", u"MJ", 3.6},
      {180, u"deg", u"rad", pi},
      {1, u"rev", u"deg", 360},
      {1, u"rpm", u"deg/s", 6},
      {1, u"KiB", u"bit", 8192},
      {1, u"ft^(1/2)", u"in^(1/2)", std::sqrt(12.0)},
      {5, u"nV/Hz^(1/2)", u"V/Hz^(1/2)", 5e-9},
      {1e300, u"mm", u"m", 1e297},
      {0.1, u"m", u"m", 0.1},
      {-7, u"%", u"1", -0.07},
  };
  for (auto& [value, from, to, expected] : rows)
    EXPECT_EQ(units.convert(value, from, to), expected) << value << " " << toUtf8(from) << " in " << toUtf8(to);

  EXPECT_TRUE(std::isnan(units.convert(std::numeric_limits<double>::quiet_NaN(), u"degC", u"degF")));
  EXPECT_EQ(units.convert(-std::numeric_limits<double>::infinity(), u"degC", u"degF"),
            -std::numeric_limits<double>::infinity());

  auto fahrenheit = units.conversion(u"degC", u"degF");
  EXPECT_EQ(fahrenheit.factor, 1.8);
  EXPECT_EQ(fahrenheit.offset, 32);
  EXPECT_EQ(units.conversion(u"degF", u"degC").offset, -160.0 / 9);
}

TEST_F(UnitsTest, RefusesToConvertWhatDiffersInKindOrInSizeBeyondMeasure) {
  const auto error = errorOf([&] { units.conversion(u"kg/m^3", u"Pa"); });
  EXPECT_EQ(error.id(), "kavra:units:NotConvertible");
  EXPECT_STREQ(error.what(), "'kg/m^3' does not convert to 'Pa': kg*m^-3 is not kg*m^-1*s^-2");
  EXPECT_EQ(error.arguments(), (std::vector<std::u16string>{u"kg/m^3", u"Pa", u"kg*m^-3", u"kg*m^-1*s^-2"}));
  EXPECT_EQ(errorOf([&] { units.conversion(u"m", u"kgg"); }).id(), "kavra:units:UnknownUnit");
  EXPECT_EQ(errorOf([&] { units.conversion(u"Qm^20", u"qm^20"); }).id(), "kavra:units:OutOfRange");
}

TEST_F(UnitsTest, SuggestsWhatConvertsOrIsSpelledAlike) {
  using testing::Contains;
  EXPECT_EQ(units.similarUnits(u"N*m").front(), u"J");
  auto lengths = units.similarUnits(u"m");
  for (auto text : {u"ft", u"cm", u"mm", u"km"})
    EXPECT_THAT(lengths, Contains(text));
  for (auto& text : lengths)
    EXPECT_TRUE(units.areConvertible(text, u"m") && text != u"m") << toUtf8(text);
  EXPECT_THAT(units.similarUnits(u"metrs"), Contains(u"metre"));
  EXPECT_THAT(units.similarUnits(u"N*metrs/s"), Contains(u"N*metre/s"));
  for (auto text : {u"", u"m/", u"frobnicate/s", u"metrs/secnd"})
    EXPECT_THAT(units.similarUnits(text), testing::IsEmpty()) << toUtf8(text);
}

TEST_F(UnitsTest, AHostAddsUnitsOfItsOwn) {
  units.checkUnit(u"m");
  units.addUnits(R"(
    [[group]]
    title = "Counts"
    unit = [
      { symbol = "px", names = ["pixel"], base = "picture elements", prefixes = "M" },
      { symbol = "dpi", is = "px/in" },
      { symbol = "almost_deg", is = "1/180 rad" },
      { symbol = "degX", is = "1/2 K", zero = "10" },
    ])");
  EXPECT_TRUE(units.areConvertible(u"Mpx/m", u"dpi"));
  EXPECT_FALSE(units.areEquivalent(u"almost_deg", u"deg"));
  EXPECT_EQ(units.convert(0, u"degX", u"K"), 5);
  EXPECT_EQ(complaint(u"degX/s"), "unit 'degX' at position 1 has a zero point of its own, so it takes no prefix, "
                                  "power, product or quotient; write 'K' for a difference");
}

TEST_F(UnitsTest, ATableWithAFaultAddsNothing) {
  struct {
    std::string unit, fault;
  } rows[] = {
      {R"({ symbol = "xx", is = "2 yy" })", "'xx': unit 'yy' is not known at position 1"},
      {R"({ symbol = "ft", is = "2 m" })", "'ft' has a meaning already"},
      {R"({ symbol = "in", base = "x", prefixes = "m" })", "'in' has a meaning already"},
      {R"({ symbol = "xx", is = "0 m" })", "the only number"},
      {R"({ symbol = "xx", is = "2 degC" })", "cannot be defined by 'degC'"},
      {R"({ symbol = "xx", is = "m", base = "x" })", "either 'base' or 'is'"},
      {R"({ symbol = "xx", is = "m", prefixes = "si ky" })", "'ky' is not a prefix"},
      {R"({ symbol = "xx", is = "K", zero = "1", prefixes = "si" })", "takes no prefixes"},
      {R"({ symbol = "xx", is = "m", alias = ["y"] })", "'alias' is not a known key"},
      {R"({ symbol = 5, is = "m" })", "'symbol' should be a text"},
      {R"({ is = "m" })", "'symbol' is missing"},
      {R"({ symbol = )", ""},
  };
  for (auto& [unit, fault] : rows) {
    auto text = "[[group]]\ntitle = \"Own\"\nunit = [\n{ symbol = \"good\", is = \"m\" },\n" + unit + "\n]";
    const auto error = errorOf([&] { units.addUnits(text); });
    EXPECT_EQ(error.id(), "kavra:units:BadTable") << unit;
    EXPECT_THAT(error.what(), testing::HasSubstr("line 5: "));
    EXPECT_THAT(error.what(), testing::HasSubstr(fault));
    EXPECT_EQ(refusal(u"good").id(), "kavra:units:UnknownUnit");
  }
}

} // namespace
} // namespace kavra::standalone
