#include "tests/zelkor/PropertyFixture.h"

#include "zelkor/property/Enumeration.h"
#include "zelkor/property/StringType.h"
#include "zelkor/property/UnitQueryClientWrapper.h"
#include "zelkor/services/ProxySource.h"

namespace zelkor::test {

class ValueTest : public PropertyTest {};

TEST_F(ValueTest, ReadsAsTheDefaultOfItsTypeUntilItHasAText) {
  auto value = valueOf(floatType(2, 10));
  EXPECT_FALSE(value.hasValue());
  EXPECT_EQ(value.getExpression(), u"2");
  EXPECT_FALSE(value.getValueIfExists());

  value.setExpression(u"3+4");
  EXPECT_TRUE(value.hasValue());
  EXPECT_EQ(value.getExpression(), u"3+4");
  EXPECT_EQ(value.getValueIfExists(), number(7));

  value.setExpression(u"");
  EXPECT_EQ(value.getExpression(), u"2");
  EXPECT_FALSE(value.cachedValue());
}

TEST_F(ValueTest, HoldsNumbersInTheClassOfItsType) {
  EXPECT_EQ(valueOf(builtIn(u"int8"), u"5").cachedValue(), kavra::HostArray::scalar(std::int8_t{5}));
  EXPECT_EQ(valueOf(builtIn(u"single"), u"0.1").cachedValue(), kavra::HostArray::scalar(0.1f));
  EXPECT_EQ(valueOf(builtIn(u"double"), u"int8(5)").cachedValue(), number(5));
  EXPECT_EQ(valueOf(builtIn(u"int64"), u"9007199254740993").cachedValue(), int64(9007199254740993));
}

TEST_F(ValueTest, RefusedTextLeavesTheValueAsItWas) {
  struct Refusal {
    ValueType type;
    const char16_t* text;
    const char* id;
    std::vector<tavo::String> arguments;
  };
  const Refusal refusals[] = {
      {builtIn(u"double"), u"]", "Velmora:Property:CannotEvalExpression", {u"]"}},
      {builtIn(u"double"), u"unknown", "Velmora:Property:CannotEvalExpression", {u"unknown"}},
      {builtIn(u"double"), u"'a'", "Velmora:Property:InvalidRealPropValue", {}},
      {floatType(0, 1), u"1.5", "Velmora:Property:InvalidRealPropValueMinMax", {u"0.000000", u"1.000000"}},
      {builtIn(u"int8"), u"1.5", "Velmora:Property:InvalidIntegerPropValue", {}},
      {builtIn(u"int8"), u"200", "Velmora:Property:InvalidIntegerPropValueMinMax", {u"-128", u"127"}},
      {builtIn(u"boolean"), u"1", "Velmora:Property:InvalidBooleanPropValue", {}},
      {builtIn(u"string"), u"1", "Velmora:Property:InvalidStringPropValue", {}},
      {builtIn(u"stringArray"), u"{'1abc'}", "Velmora:Property:InvalidTagName", {u"1abc"}},
  };
  for (const auto& [type, text, id, arguments] : refusals) {
    SCOPED_TRACE(id);
    auto value = valueOf(type);
    const auto before = stateOf(model);
    EXPECT_TRUE(testsupport::raises([&, t = text] { value.setExpression(t); }, id, arguments));
    EXPECT_EQ(stateOf(model), before);
    EXPECT_FALSE(value.cachedValue());
  }
}

TEST_F(ValueTest, ATextThatCannotBeEvaluatedSaysWhy) {
  try {
    valueOf(builtIn(u"double"), u"2*unknown");
    FAIL() << "it was evaluated";
  } catch (const tavo::Error& error) {
    ASSERT_TRUE(error.cause());
    EXPECT_EQ(error.cause()->message(), u"\"unknown\" is not known here (at character 3)");
  }
}

TEST_F(ValueTest, TakesBackTextAndArrayTogether) {
  auto value = valueOf(builtIn(u"double"), u"5");
  model.clearHistory();
  value.setExpression(u"6");
  EXPECT_TRUE(model.undo());
  EXPECT_EQ(value.storedExpression(), u"5");
  EXPECT_EQ(value.cachedValue(), number(5));
  EXPECT_TRUE(model.redo());
  EXPECT_EQ(value.cachedValue(), number(6));
  EXPECT_FALSE(model.canRedo());
}

TEST_F(ValueTest, LookingAtTheArrayIsNoChange) {
  auto value = Value::make(model, builtIn(u"double"));
  static_cast<Value::Impl&>(value.object()).setStoredExpression(u"2*3"); // as a file gives it
  model.clearHistory();
  EXPECT_FALSE(value.cachedValue());
  EXPECT_EQ(value.getValueIfExists(), number(6));
  EXPECT_EQ(value.cachedValue(), number(6));
  value.setExpression(u"2*3");
  value.setUnits(u"");
  EXPECT_FALSE(model.canUndo());
}

TEST_F(ValueTest, UndoOfANewTypeDoesNotLeaveTheArrayOfThatType) {
  auto value = Value::make(model, builtIn(u"int8"));
  static_cast<Value::Impl&>(value.object()).setStoredExpression(u"5");
  value.setType(builtIn(u"double"));
  EXPECT_EQ(value.getValueIfExists(), number(5));
  EXPECT_TRUE(model.undo());
  EXPECT_EQ(value.getValueIfExists(), kavra::HostArray::scalar(std::int8_t{5}));
  EXPECT_TRUE(model.redo());
  EXPECT_EQ(value.getValueIfExists(), number(5));
}

TEST_F(ValueTest, WithoutAHostATextIsStoredAndTheOldArrayStays) {
  auto value = valueOf(builtIn(u"double"), u"4");
  const kavra::ScopedHost none(nullptr);
  value.setExpression(u"5");
  EXPECT_EQ(value.storedExpression(), u"5");
  EXPECT_EQ(value.getValueIfExists(), number(4));
}

TEST_F(ValueTest, EvaluatesInTheWorkspaceOfTheModelOfItsType) {
  workspace().setVariable(u"width", number(12));
  auto value = valueOf(builtIn(u"double"), u"width/2");
  EXPECT_EQ(value.cachedValue(), number(6));

  const void* key = model.get();
  model.destroy();
  EXPECT_FALSE(parts.workspaces->of(key)->variable(u"width")) << "the workspace outlived its model";
}

TEST_F(ValueTest, UnitsMustFitThoseOfTheType) {
  auto length = valueOf(lengths());
  EXPECT_EQ(length.units(), u"m");
  length.setUnits(u"km");
  EXPECT_EQ(length.units(), u"km");
  EXPECT_ERROR_UNCHANGED(model, length.setUnits(u"s"), "Velmora:Property:UnitsNotConvertible", "s", "m");
  EXPECT_ERROR_UNCHANGED(model, length.setUnit(u"furlongs per"), "kavra:units:UnknownUnit", "furlongs", "1");
  length.setUnits(u"");

  auto plain = valueOf(builtIn(u"double"));
  auto color = valueOf(property::Enumeration::makeEnumeration(model, u"Colors"));
  auto text = valueOf(builtIn(u"string"));
  EXPECT_ERROR_UNCHANGED(model, plain.setUnits(u"m"), "Velmora:Property:TypeDoesntHaveUnit");
  EXPECT_ERROR_UNCHANGED(model, color.setUnits(u"m"), "Velmora:Property:CantHaveUnit");
  EXPECT_ERROR_UNCHANGED(model, text.setUnits(u"m"), "Velmora:Property:CantHaveUnit");
  for (const auto& value : {plain, color, text})
    value.setUnits(u"");

  const tavo::FrameworkUpdate loading(model);
  text.setUnits(u"m");
  EXPECT_EQ(text.units(), u"m");
}

TEST_F(ValueTest, ANewTypeBringsItsUnits) {
  auto value = valueOf(lengths());
  value.initFromType(property::Enumeration::makeEnumeration(model, u"Colors"));
  EXPECT_EQ(value.units(), u"");
  value.initFromType(lengths());
  EXPECT_EQ(value.units(), u"m");
  value.initFromType(builtIn(u"string"));
  EXPECT_EQ(value.units(), u"");
}

TEST_F(ValueTest, InitializesFromValuesOfItsKindOnly) {
  auto source = valueOf(lengths(), u"5");
  source.setUnits(u"km");
  auto target = valueOf(lengths(), u"1");
  target.initializeFrom(source);
  EXPECT_EQ(target.storedExpression(), u"5");
  EXPECT_EQ(target.units(), u"km");

  auto integer = valueOf(builtIn(u"int8"), u"1");
  EXPECT_ERROR_UNCHANGED(model, target.initializeFrom(integer), "Velmora:Property:InitFromValueMismatch");
  auto tooLarge = valueOf(builtIn(u"double"), u"1e9");
  EXPECT_ERROR_UNCHANGED(model, target.initializeFrom(tooLarge), "Velmora:Property:InvalidRealPropValueMinMax");
}

TEST_F(ValueTest, CastsAndMatchesWhatHasBeenEvaluated) {
  const auto single = builtIn(u"single").cast<property::RealType>();
  auto value = valueOf(builtIn(u"double"));
  EXPECT_FALSE(value.castValue(single));
  EXPECT_TRUE(value.typeMatches(single));
  EXPECT_TRUE(value.dimensionsMatch(narrowed<FloatType>(u"single", {2, 2})));

  value.setExpression(u"[1 2 3]");
  EXPECT_EQ(value.castValue(single), kavra::HostArray::of<float>({1, 3}, {1, 2, 3}));
  EXPECT_FALSE(value.typeMatches(single));
  EXPECT_FALSE(value.dimensionsMatch(narrowed<FloatType>(u"single", {2, 2})));
}

TEST_F(ValueTest, KeepsItsProxyWhenTheTypeIsTheSame) {
  auto value = valueOf(builtIn(u"double"), u"1");
  const auto proxy = value.valueTypeProxy();
  value.setType(builtIn(u"double"));
  EXPECT_EQ(value.valueTypeProxy(), proxy);
  value.setType(builtIn(u"single"));
  EXPECT_FALSE(proxy);
  EXPECT_EQ(value.getType(), builtIn(u"single"));
  EXPECT_EQ(value.storedExpression(), u"1");
}

TEST_F(ValueTest, ACopyIsAValueOfItsOwn) {
  auto value = valueOf(lengths(), u"5");
  value.setUnits(u"km");
  auto copy = value.clone(model);
  EXPECT_EQ(copy.getType(), value.getType());
  EXPECT_EQ(copy.storedExpression(), u"5");
  EXPECT_EQ(copy.units(), u"km");
  EXPECT_EQ(copy.cachedValue(), number(5));
  value.setExpression(u"6");
  EXPECT_EQ(copy.storedExpression(), u"5");
}

TEST_F(ValueTest, ACopyOfALiteralThatIsGoneTakesTheDefaultOne) {
  auto value = valueOf(property::Enumeration::makeEnumeration(model, u"Colors"), u"'Blue'");
  classes().defineEnumeration({.name = u"Colors", .members = {{u"Red", 0}, {u"Green", 1}}, .defaultPosition = 2});
  auto copy = value.clone(model);
  EXPECT_EQ(copy.storedExpression(), u"'Green'");
  EXPECT_EQ(value.storedExpression(), u"'Blue'");
}

TEST_F(ValueTest, ACopyIsCheckedAgainByItsText) {
  // The single nearest to the text is above the new bound, the text is not.
  auto type = floatType(0, 1, u"single");
  auto value = valueOf(type, u"0.1");
  type.setMin(0.1000000005);
  EXPECT_ERROR_UNCHANGED(model, value.clone(model), "Velmora:Property:InvalidRealPropValueMinMax");
}

TEST_F(ValueTest, ACopyThatFailsLeavesNothingBehind) {
  auto type = integerType(0, 10);
  auto value = valueOf(type, u"8");
  type.setMax(5);
  EXPECT_ERROR_UNCHANGED(model, value.clone(model), "Velmora:Property:InvalidIntegerPropValueMinMax", "0", "5");
}

TEST_F(ValueTest, WithoutATypeOnlyTheEmptyTextIsAccepted) {
  auto value = Value::create(model);
  EXPECT_EQ(value.getExpression(), u"");
  EXPECT_FALSE(value.getValueIfExists());
  EXPECT_FALSE(value.getType());
  value.setExpression(u"");
  EXPECT_ERROR_UNCHANGED(model, value.setExpression(u"5"), "Velmora:Property:ValueHasNoType", "5");
  EXPECT_EQ(value.clone(model).getExpression(), u"");
}

} // namespace zelkor::test
