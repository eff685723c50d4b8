// What holds for all types and values, on random ones.
#include "tests/zelkor/PropertyFixture.h"

#include "zelkor/property/BooleanType.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/StringType.h"

#include <rapidcheck/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace zelkor::test {

class RandomPropertiesTest : public PropertyTest {
protected:
  /// Numbers of all magnitudes, from the first case on: large ones and small ones are what is hard to write.
  template <class Number>
  static Number anyBetween(Number least, Number end) {
    return *rc::gen::resize(rc::kNominalSize, rc::gen::inRange(least, end));
  }
  static std::vector<std::uint64_t> anyDimensions() {
    std::vector<std::uint64_t> dimensions(anyBetween<std::size_t>(0, 4));
    std::generate(dimensions.begin(), dimensions.end(), [] { return anyBetween<std::uint64_t>(0, 4); });
    return dimensions;
  }
  static double anyNumber() {
    constexpr auto limit = std::int64_t{1} << 53;
    return std::ldexp(static_cast<double>(anyBetween(-limit, limit)), anyBetween(-90, 60));
  }
  static std::int64_t anyInteger() {
    return *rc::gen::resize(rc::kNominalSize, rc::gen::arbitrary<std::int64_t>()) >>
           *rc::gen::element(0, 0, 1, 7, 30, 60);
  }
  FloatType anyFloatType() {
    auto [lo, hi] = std::minmax({anyNumber(), anyNumber()});
    const bool isSingle = *rc::gen::arbitrary<bool>();
    return floatType(lo, hi, isSingle ? u"single" : u"double");
  }
  IntegerType anyIntegerType() {
    constexpr std::u16string_view roots[] = {u"int8",   u"uint8", u"int16",  u"uint16", u"int32",
                                             u"uint32", u"int64", u"uint64", u"int64",  u"uint64"};
    const auto root = builtIn(roots[anyBetween<std::size_t>(0, std::size(roots))]).cast<IntegerType>();
    const auto within = [&](std::int64_t x) { return std::clamp(x, *root.getMinValue(), *root.getMaxValue()); };
    auto [lo, hi] = std::minmax({within(anyInteger()), within(anyInteger())});
    return integerType(lo, hi, root.p_Name());
  }
};

RC_GTEST_FIXTURE_PROP(RandomPropertiesTest, DefaultsReadBackExactly, ()) {
  const ValueType types[] = {anyFloatType(), anyIntegerType(), property::BooleanType::makeBooleanType(model),
                             property::StringType::makeStringType(model),
                             property::Enumeration::makeEnumeration(model, u"Colors")};
  for (const auto& type : types) {
    type.setDimensions(anyDimensions());
    const auto text = type.makeDefaultExpression();
    RC_LOG() << text.toUtf8() << "\n";
    const auto read = type.validateExpression(text);
    // The default text of texts is one empty text, whatever their shape.
    RC_ASSERT(type.as<property::StringType>() || read == type.makeDefaultValue({}));
  }
}

RC_GTEST_FIXTURE_PROP(RandomPropertiesTest, NumbersComeBackAsTheirShortestText, ()) {
  const auto value = valueOf(builtIn(u"double"));
  const double x = anyNumber();
  value.setExpression(tavo::String::fromUtf8(kavra::shortestLiteral(x)));
  RC_ASSERT(value.cachedValue() == number(x));
  const auto whole = valueOf(builtIn(u"int64"));
  const auto n = anyInteger();
  whole.setExpression(tavo::String::fromUtf8(std::to_string(n)));
  RC_ASSERT(whole.cachedValue() == int64(n));
}

RC_GTEST_FIXTURE_PROP(RandomPropertiesTest, ACopyHoldsWhatItsTextMeansToday, ()) {
  const auto any = [](auto... from) {
    const std::array choices{from...};
    return choices[anyBetween<std::size_t>(0, choices.size())];
  };
  const ValueType types[] = {floatType(-100, 100), floatType(-100, 100, any(u"single", u"double")),
                             integerType(-100, 100, any(u"int8", u"int64")),
                             property::BooleanType::makeBooleanType(model),
                             property::Enumeration::makeEnumeration(model, u"Colors")};
  const ValueType type = types[anyBetween(0, 5)];
  workspace().setVariable(u"width", number(7));
  const auto value = valueOf(type);
  const tavo::String text = any(u"", u"5", u"0.1", u"[1 2 3]", u"true", u"'Red'", u"'Blue'", u"Colors.Red", u"width");
  try {
    value.setExpression(text);
  } catch (const tavo::Error&) {
    return; // no value of this type
  }

  // The type changes behind the value's back.
  if (const auto real = type.as<FloatType>()) {
    if (*rc::gen::arbitrary<bool>())
      real.setBaseType(builtIn(any(u"single", u"double")));
    real.setMax(any(0.1, 0.1000000005, 5.0, 100.0));
  } else if (const auto integer = type.as<IntegerType>()) {
    if (*rc::gen::arbitrary<bool>())
      integer.setBaseType(builtIn(any(u"int8", u"int16", u"int64")));
    integer.setMax(any(4, 5, 100));
  }
  if (*rc::gen::arbitrary<bool>())
    type.setDimensions(any(std::vector<std::uint64_t>{}, std::vector<std::uint64_t>{1}, std::vector<std::uint64_t>{3}));
  if (*rc::gen::arbitrary<bool>())
    classes().defineEnumeration({.name = u"Colors", .members = {{u"Red", 5}, {u"Green", 1}}, .defaultPosition = 2});

  const auto outcome = [](const auto& make) -> std::pair<tavo::String, kavra::HostArray> {
    try {
      const Value made = make();
      return {made.storedExpression(), made.cachedValue()};
    } catch (const tavo::Error& error) {
      return {tavo::errorArgument(error.id().text()), {}};
    }
  };
  const auto anew = [&] {
    const bool isGone = type.isA(property::Enumeration::metaClass()) && text == u"'Blue'" &&
                        !type.cast<property::Enumeration>().isValidEnumString(u"Blue");
    return valueOf(type, isGone ? type.makeDefaultExpression() : text);
  };
  RC_ASSERT(outcome([&] { return value.clone(model); }) == outcome(anew));
}

RC_GTEST_FIXTURE_PROP(RandomPropertiesTest, WhateverIsDoneCanBeTakenBack, ()) {
  const std::vector<tavo::String> names = {u"a", u"b", u"c", u"d"};
  const std::vector<tavo::String> types = {u"double", u"int8", u"string", u"boolean", u"stringArray", u"Colors"};
  const std::vector<tavo::String> texts = {u"", u"5", u"-1.5", u"true", u"'Red'", u"{'x'}", u"[1 2 3]", u"]"};
  const auto any = [](const auto& from) { return *rc::gen::elementOf(from); };
  const auto bound = [](bool isWhole) {
    const int x = anyBetween(-3, 8);
    return isWhole ? int64(x) : number(x);
  };
  model.clearHistory();
  const auto before = stateOf(model);

  const int count = *rc::gen::inRange(1, 25);
  for (int i = 0; i < count; ++i) {
    const auto definition = set.getPropertyByName(any(names));
    const auto state = stateOf(model);
    try {
      switch (anyBetween(0, definition ? 10 : 2)) {
      case 0:
        set.addProperty(any(names), any(types));
        break;
      case 1:
        set.moveProperty(anyBetween(0u, 5u), anyBetween(0u, 5u));
        break;
      case 2:
        set.removeProperty(definition.getName());
        break;
      case 3:
        definition.setName(any(names));
        break;
      case 4:
        definition.setBaseType(any(types));
        break;
      case 5:
        definition.setDimensions(anyDimensions());
        break;
      case 6: {
        const bool isWhole = definition.getBaseType() == u"int8";
        definition.setMinAndMax(bound(isWhole), bound(isWhole));
        break;
      }
      case 7:
        definition.setUnit(any(std::vector<tavo::String>{u"", u"m", u"km", u"s"}));
        break;
      case 8:
        definition.defaultValue().setUnits(any(std::vector<tavo::String>{u"", u"m", u"km", u"s"}));
        break;
      default:
        definition.defaultValue().setExpression(any(texts));
        break;
      }
    } catch (const tavo::Error&) {
      RC_ASSERT(stateOf(model) == state);
    }
    for (const auto& each : set.getAllProperties()) {
      RC_ASSERT(each == set.getPropertyByIndex(each.p_Index()));
      RC_ASSERT(each.p_Index() < set.properties().size());
      each.checkHealth();
    }
  }

  const auto after = stateOf(model);
  std::vector<kavra::HostArray> arrays;
  for (const auto& each : set.getAllProperties())
    arrays.push_back(each.defaultValue().getValueIfExists());
  while (model.undo())
    tavo::checkInvariants(model);
  RC_ASSERT(stateOf(model) == before);
  while (model.redo()) {
  }
  RC_ASSERT(stateOf(model) == after);
  std::size_t i = 0;
  for (const auto& each : set.getAllProperties())
    RC_ASSERT(each.defaultValue().getValueIfExists() == arrays[i++]);
}

} // namespace zelkor::test
