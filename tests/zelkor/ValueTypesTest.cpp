#include "tests/zelkor/PropertyFixture.h"

#include "zelkor/property/BooleanType.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/StringArrayType.h"
#include "zelkor/property/StringType.h"
#include "zelkor/property/UnitQueryClientWrapper.h"
#include "zelkor/property/ValueTypeDescriptor.h"

#include <cmath>
#include <limits>

namespace zelkor::test {

using kavra::ArrayClass;
using kavra::HostArray;
using property::BooleanType;
using property::Enumeration;
using property::IntRangeCheckResult;
using property::StringArrayType;
using property::StringType;
using property::UnitQueryClientWrapper;

class ValueTypesTest : public PropertyTest {
protected:
  Enumeration colors(const std::vector<std::uint64_t>& dimensions = {}) {
    auto type = Enumeration::makeEnumeration(model, u"Colors");
    type.setDimensions(dimensions);
    return type;
  }
  HostArray member(std::u16string_view name) { return colors().getValueFromString(name); }
};

TEST_F(ValueTypesTest, DimensionsCompareWithoutExtentsBelowTwo) {
  struct Row {
    std::vector<std::uint64_t> dimensions;
    std::vector<std::uint64_t> extents;
    bool matches;
  };
  const Row rows[] = {
      {{}, {7, 3}, true},     {{1}, {1, 1}, true},       {{1, 1}, {1, 1}, true},    {{1, 3}, {3, 1}, true},
      {{3}, {1, 3}, true},    {{2, 2}, {1, 4}, false},   {{2, 3}, {3, 2}, false},   {{1, 1}, {1, 2}, false},
      {{0, 5}, {0, 5}, true}, {{2, 1, 3}, {2, 3}, true}, {{2, 3}, {2, 1, 3}, true},
  };
  for (const auto& [dimensions, extents, matches] : rows)
    EXPECT_EQ(ValueType::staticDimensionsMatch(HostArray::zeros(ArrayClass::Double, extents), dimensions), matches)
        << testing::PrintToString(dimensions) << " and " << testing::PrintToString(extents);
}

TEST_F(ValueTypesTest, OpaqueArraysAreAskedForTheirSize) {
  struct SizedHost : kavra::Host {
    using Host::Host;
    std::vector<double> sizeOf(const HostArray&) const override { return {1, 4, 1}; }
  };
  const kavra::ScopedHost sized(std::make_shared<SizedHost>(parts));
  const auto object = HostArray::opaque(u"Table", {1, 1});
  EXPECT_TRUE(ValueType::staticDimensionsMatch(object, {4}));
  EXPECT_FALSE(ValueType::staticDimensionsMatch(object, {1}));
}

TEST_F(ValueTypesTest, DimensionsHaveALengthAndATextOfTheirOwn) {
  auto type = BooleanType::makeBooleanType(model);
  EXPECT_EQ(type.getLength(), 1u);
  EXPECT_EQ(type.renderDimensionsAsString({}), u"[1]");
  EXPECT_EQ(type.renderDimensionsAsString({1, 1}), u"[1 1]");
  EXPECT_EQ(type.renderValueDimensionsAsString(HostArray::zeros(ArrayClass::Double, {1, 3})), u"[1 3]");
  type.setDimensions({0, 5});
  EXPECT_EQ(type.getLength(), 0u);
  type.setDimensions({1, 3, 1, 4});
  EXPECT_EQ(type.getLength(), 12u);
  EXPECT_EQ(type.getNormalizedDimensions(), (std::vector<std::uint64_t>{3, 4}));
  type.setDimensions({1, 1});
  EXPECT_EQ(type.getNormalizedDimensions(), (std::vector<std::uint64_t>{1}));
}

TEST_F(ValueTypesTest, BoundsAreInheritedFromBaseTypesOfTheSameClass) {
  auto percent = floatType(0, 100);
  auto inner = FloatType::makeFloatType(model);
  inner.setBaseType(percent);
  EXPECT_EQ(inner.getMaxValue(), 100);
  inner.setMax(50);
  EXPECT_EQ(inner.getMaxValue(), 50);
  EXPECT_EQ(inner.getMinValue(), 0);
  EXPECT_EQ(inner.getRootName(), u"double");

  auto rootless = FloatType::makeFloatType(model);
  EXPECT_FALSE(rootless.getMinValue());
  EXPECT_TRUE(rootless.hasMinValue()) << "says nothing about the bound";
  EXPECT_ERROR(rootless.validateValue(number(1)), "Velmora:Property:MaxMinMustBeDefined");
  EXPECT_ERROR(rootless.validateValue(HostArray::chars(u"a")), "Velmora:Property:InvalidRealPropValue");
  EXPECT_TRUE(rootless.typeMatches(number(1))) << "without a built-in root, numbers are doubles";
}

TEST_F(ValueTypesTest, ABoundMayNarrowTheBaseTypeAndNeverCrossTheOther) {
  auto type = IntegerType::makeIntegerType(model);
  type.setBaseType(integerType(-4, 4));
  type.setMax(4);
  type.setMin(2);
  EXPECT_ERROR_UNCHANGED(model, type.setMax(5), "Velmora:Property:InvalidMax", "5", "4");
  EXPECT_ERROR_UNCHANGED(model, type.setMax(1), "Velmora:Property:MaxLessThanMin", "1", "2");
  EXPECT_ERROR_UNCHANGED(model, type.setMin(-5), "Velmora:Property:InvalidMin", "-5", "-4");
  type.setMax(3);
  EXPECT_ERROR_UNCHANGED(model, type.setMin(4), "Velmora:Property:MinGreaterThanMax", "4", "3");
  EXPECT_ERROR_UNCHANGED(model, type.setMax(std::nullopt), "Velmora:Property:MaxLessThanMin", "0", "2");

  auto real = floatType(0, 1);
  EXPECT_ERROR_UNCHANGED(model, real.setMin(2), "Velmora:Property:MinGreaterThanMax", "2.000000", "1.000000");
  real.setMin(std::numeric_limits<double>::quiet_NaN());
}

TEST_F(ValueTypesTest, ATypeCannotNarrowItself) {
  auto outer = floatType(0, 10);
  auto inner = FloatType::makeFloatType(model);
  inner.setBaseType(outer);
  EXPECT_ERROR_UNCHANGED(model, outer.setBaseType(inner), "Velmora:Property:BaseTypeCycle");
  EXPECT_ERROR_UNCHANGED(model, inner.setBaseType(inner), "Velmora:Property:BaseTypeCycle");
}

TEST_F(ValueTypesTest, FloatRangesAreInclusiveAndLetNaNPass) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_TRUE(FloatType::checkRange(HostArray::of<double>({1, 3}, {0, 1, nan}), 0, 1));
  EXPECT_TRUE(FloatType::checkRange(HostArray::zeros(ArrayClass::Double, {0, 0}), 1, 0));
  EXPECT_TRUE(FloatType::checkRange(HostArray::scalar(std::uint8_t{1}), 0, 1));
  EXPECT_FALSE(FloatType::checkRange(number(infinity), 0, 1e308));
  EXPECT_FALSE(FloatType::checkRange(HostArray::scalar(true), 0, 1));
  EXPECT_FALSE(FloatType::checkRange(HostArray::chars(u"a"), 0, 1000));

  auto type = floatType(0, 1);
  EXPECT_FALSE(type.satisfiesMinMax(nan));
  EXPECT_TRUE(type.satisfiesMinMax(1));
}

TEST_F(ValueTypesTest, IntegerRangesNameTheFirstFailure) {
  struct Row {
    HostArray array;
    IntRangeCheckResult result;
  };
  const double infinity = std::numeric_limits<double>::infinity();
  const Row rows[] = {
      {number(10), IntRangeCheckResult::OK},
      {number(3.5), IntRangeCheckResult::NOTANINT},
      {number(std::numeric_limits<double>::quiet_NaN()), IntRangeCheckResult::NOTANINT},
      {number(infinity), IntRangeCheckResult::OUTOFRANGE},
      {HostArray::scalar(0.5f), IntRangeCheckResult::NOTANINT},
      {HostArray::of<double>({1, 2}, {11, 0.5}), IntRangeCheckResult::OUTOFRANGE},
      {HostArray::of<double>({1, 2}, {0.5, 11}), IntRangeCheckResult::NOTANINT},
      {HostArray::scalar(std::int8_t{-1}), IntRangeCheckResult::OUTOFRANGE},
      {HostArray::scalar(std::uint64_t{1} << 63), IntRangeCheckResult::OUTOFRANGE},
      {HostArray::scalar(true), IntRangeCheckResult::NOTANINT},
      {HostArray::zeros(ArrayClass::Double, {0, 3}), IntRangeCheckResult::OK},
  };
  for (const auto& [array, result] : rows)
    EXPECT_EQ(IntegerType::checkRange(array, 0, 10), result);
}

TEST_F(ValueTypesTest, WrongDimensionsAreNamed) {
  auto type = narrowed<FloatType>(u"double", {2, 2});
  EXPECT_ERROR(type.validateValue(number(1)), "Velmora:Property:InvalidDimensions", "[1 1]", "[2 2]");
  EXPECT_ERROR(narrowed<BooleanType>(u"boolean", {2}).validateValue(HostArray::scalar(true)),
               "Velmora:Property:InvalidDimensions", "[1 1]", "[2]");
}

TEST_F(ValueTypesTest, WholeNumbersAreReadDigitForDigit) {
  struct Row {
    std::int64_t max;
    const char16_t* text;
    std::optional<std::int64_t> value;
  };
  const Row rows[] = {
      {9007199254740993, u"9007199254740993", 9007199254740993},
      {9007199254740993, u" -9007199254740993 ", -9007199254740993},
      {9007199254740992, u"9007199254740993", std::nullopt},
      {std::numeric_limits<std::int64_t>::max(), u"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {std::numeric_limits<std::int64_t>::max(), u"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
  };
  for (const auto& row : rows) {
    auto type = integerType(std::numeric_limits<std::int64_t>::min(), row.max);
    if (row.value)
      EXPECT_EQ(type.validateExpression(row.text), int64(*row.value));
    else
      EXPECT_ERROR(type.validateExpression(row.text), "Velmora:Property:InvalidIntegerPropValueMinMax");
  }
}

TEST_F(ValueTypesTest, DefaultsAreTheNumberNearestToZero) {
  struct Row {
    ValueType type;
    std::vector<std::uint64_t> dimensions;
    const char16_t* text;
  };
  const Row rows[] = {
      {floatType(-1, 1), {}, u"0"},
      {floatType(-1, 1), {4}, u"zeros([1 4],'double')"},
      {floatType(1e-9, 1), {}, u"1e-09"},
      {floatType(0.1, 1, u"single"), {2, 2}, u"0.1*ones([2 2],'single')"},
      {floatType(-8, -2.5), {1, 1}, u"-2.5"},
      {integerType(1, 5, u"int32"), {2, 3}, u"1*ones([2 3],'int32')"},
      {integerType(-5, -1, u"int8"), {2, 2}, u"-1*ones([2 2],'int8')"},
      {integerType(9007199254740993, 9007199254740995), {}, u"9007199254740993"},
      {builtIn(u"boolean"), {}, u"false"},
      {BooleanType::makeBooleanType(model), {4}, u"false([1 4])"},
      {builtIn(u"string"), {}, u""},
      {StringType::makeStringType(model), {2, 3}, u"char.empty(2,3,0)"},
      {builtIn(u"stringArray"), {}, u"{}"},
      {colors(), {}, u"'Green'"},
      {colors(), {1}, u"Colors.Green"},
      {colors(), {2, 3}, u"repmat(Colors.Green,[2 3])"},
  };
  for (const auto& [type, dimensions, text] : rows) {
    type.setDimensions(dimensions);
    EXPECT_EQ(type.makeDefaultExpression(), text);
    type.validateExpression(text);
  }
}

TEST_F(ValueTypesTest, DefaultValuesHaveTheShapeOfTheType) {
  auto text = StringType::makeStringType(model);
  EXPECT_EQ(text.makeDefaultValue({}), HostArray::zeros(ArrayClass::Char, {1, 0}));
  text.setDimensions({2, 2});
  const auto cell = text.makeDefaultValue({});
  EXPECT_EQ(cell.count(), 4u);
  EXPECT_EQ(cell.cells()[3], HostArray::zeros(ArrayClass::Char, {1, 0}));

  EXPECT_EQ(colors({3}).makeDefaultValue(member(u"Red")), colors().validateExpression(u"repmat(Colors.Green,[1 3])"));
  EXPECT_EQ(builtIn(u"int8").makeDefaultValue(number(3)), HostArray::scalar(std::int8_t{3}));
  EXPECT_ERROR(builtIn(u"int8").makeDefaultValue(number(300)), "Velmora:Property:InvalidIntegerPropValueMinMax");

  auto huge = BooleanType::makeBooleanType(model);
  huge.setDimensions({std::uint64_t{1} << 40, std::uint64_t{1} << 40});
  EXPECT_ERROR(huge.makeDefaultValue({}), "kavra:messages:ArrayTooLarge");
}

TEST_F(ValueTypesTest, EnumerationsAskTheHost) {
  auto type = colors();
  EXPECT_EQ(type.getDefaultValueAsString(), u"Green");
  EXPECT_EQ(type.getLiteralsAsStrings(), (std::vector<tavo::String>{u"Red", u"Green", u"Blue"}));
  EXPECT_TRUE(type.isValidEnumString(u"Red"));
  EXPECT_FALSE(type.isValidEnumString(u"red"));
  EXPECT_TRUE(type.isValidEnumValue(2));
  EXPECT_FALSE(type.isValidEnumValue(3));
  EXPECT_EQ(type.getValueFromString(u"Other.Blue"), member(u"Blue"));
  EXPECT_FALSE(type.getValueFromString(u"Purple"));

  EXPECT_EQ(type.validateExpression(u"'Blue'"), member(u"Blue"));
  EXPECT_EQ(type.validateExpression(u"Colors.Blue"), member(u"Blue"));
  EXPECT_EQ(type.validateExpression(u"{'Red','Blue'}").count(), 2u);
  EXPECT_ERROR(type.validateExpression(u"{Colors.Red}"), "Velmora:Property:InvalidEnumPropValue");
  EXPECT_ERROR(type.validateExpression(u"paint.Gloss.Shiny"), "Velmora:Property:InvalidEnumLiteral");
  EXPECT_ERROR(type.validateExpression(u"'Purple'"), "Velmora:Property:InvalidEnumPropValue");
  EXPECT_ERROR(type.validateExpression(u"1"), "Velmora:Property:InvalidEnumPropValue");
  EXPECT_ERROR(colors({2}).validateExpression(u"Colors.Red"), "Velmora:Property:InvalidDimensions", "[1 1]", "[2]");
  type.validateValue({});

  workspace().setVariable(u"Colors", number(1));
  EXPECT_EQ(type.validateExpression(u"'Blue'"), member(u"Blue")) << "a variable of the class's name is in the way";
}

TEST_F(ValueTypesTest, EnumerationsOutliveTheirClass) {
  auto type = colors();
  EXPECT_ERROR_UNCHANGED(model, type.setKavraEnumName(u"Widget"), "Velmora:Property:InvalidEnumString");
  EXPECT_ERROR_UNCHANGED(model, Enumeration::makeEnumeration(model, u"Nothing"), "Velmora:Property:InvalidEnumString");
  const auto red = member(u"Red");
  classes().removeClass(u"Colors");
  EXPECT_ERROR(type.validateValue(red), "Velmora:Property:InvalidEnum");
  EXPECT_EQ(type.getDefaultValueAsString(), u"");
  EXPECT_FALSE(type.isValidEnumString(u"Red"));
  EXPECT_ERROR(type.makeDefaultValue({}), "kavra:messages:NoSuchEnumeration", "Colors");
}

TEST_F(ValueTypesTest, AnEnumerationThatTheHostCannotReadIsNamed) {
  struct Unreadable : kavra::ClassRegistry {
    std::optional<kavra::HostClass> findClass(std::u16string_view) override {
      throw kavra::Error("host:classes:Broken", "The class is broken.");
    }
    std::int64_t defaultMemberPosition(std::u16string_view) override { return 1; }
  };
  auto type = colors();
  parts.classes = std::make_shared<Unreadable>();
  const kavra::ScopedHost broken(std::make_shared<kavra::Host>(parts));
  EXPECT_ERROR(type.isValidEnumString(u"Red"), "Velmora:Property:InvalidIllDefinedEnum", "Colors");
  EXPECT_FALSE(Enumeration::isValidEnumerationName(u"Colors"));
  EXPECT_EQ(type.getDefaultValueAsString(), u"");
}

TEST_F(ValueTypesTest, TextsAreCharactersStringsOrCellsOfThem) {
  auto type = StringType::makeStringType(model);
  type.setDimensions({2, 2});
  type.validateExpression(u"'any length'");
  type.validateExpression(u"{'a','b';'c',\"d\"}");
  EXPECT_ERROR(type.validateExpression(u"{'a','b','c'}"), "Velmora:Property:InvalidDimensions", "[1 3]", "[2 2]");
  EXPECT_ERROR(type.validateExpression(u"{'a','b';'c',1}"), "Velmora:Property:InvalidStringPropValue");

  auto tags = StringArrayType::makeStringArrayType(model);
  tags.validateExpression(u"{'a','b2'}");
  EXPECT_ERROR(tags.validateExpression(u"'a'"), "Velmora:Property:InvalidTagFormat");
  EXPECT_ERROR(tags.validateExpression(u"{1}"), "Velmora:Property:InvalidTagFormat");
  EXPECT_ERROR(tags.validateExpression(u"{'a',''}"), "Velmora:Property:InvalidTagName", "");
}

TEST_F(ValueTypesTest, TheCatalogHasTheBuiltInTypesAndDescribesThem) {
  EXPECT_EQ(TypeCatalog::getCatalog(model), catalog);
  EXPECT_FALSE(TypeCatalog::getCatalog(tavo::Model()));
  std::vector<tavo::String> names;
  for (const auto& type : catalog.getValueTypes()) {
    names.push_back(type.p_Name());
    EXPECT_EQ(catalog.getBuiltInValueTypeDescriptor(type.p_Name()).p_DataType(), type.p_Name());
  }
  EXPECT_EQ(names, (std::vector<tavo::String>{u"boolean", u"int64", u"int32", u"int16", u"int8", u"uint64", u"uint32",
                                              u"uint16", u"uint8", u"double", u"single", u"string", u"stringArray"}));
  const auto uint64 = builtIn(u"uint64").cast<IntegerType>();
  EXPECT_EQ(uint64.getMinValue(), 0);
  EXPECT_EQ(uint64.getMaxValue(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(builtIn(u"single").cast<FloatType>().getMaxValue(), 3.4028234663852886e38);
  EXPECT_EQ(catalog.getBuiltInValueTypeDescriptor(u"uint8").p_Maximum(), u"255");
}

TEST_F(ValueTypesTest, UnitsAreCheckedByTheServiceOfTheModel) {
  const auto units = UnitQueryClientWrapper::get(model);
  EXPECT_EQ(UnitQueryClientWrapper::get(model), units);
  units.checkCompatible(u"m", u"km");
  units.checkCompatible(u"N*m", u"J");
  EXPECT_ERROR(units.checkCompatible(u"m", u"s"), "Velmora:Property:UnitsNotConvertible", "m", "s");
  EXPECT_EQ(units.getConversionInfo(u"km", u"m").factor, 1000);

  auto type = lengths();
  EXPECT_ERROR_UNCHANGED(model, type.setUnits(u"smoots"), "kavra:units:UnknownUnit");
  EXPECT_ERROR(colors().setUnits(u"m"), "Velmora:Property:CantHaveUnit");
  model.create<FloatType>().setUnits(u"anything goes");
}

TEST_F(ValueTypesTest, AFrozenModelGetsNoTypes) {
  model.setFrozen(true);
  EXPECT_FALSE(FloatType::makeFloatType(model));
  EXPECT_FALSE(IntegerType::makeIntegerType(model));
  EXPECT_FALSE(Enumeration::makeEnumeration(model, u"Nothing"));
}

} // namespace zelkor::test
