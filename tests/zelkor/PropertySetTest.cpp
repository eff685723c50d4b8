#include "tests/zelkor/PropertyFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/UnitQueryClientWrapper.h"

#include <functional>

namespace zelkor::test {

using Names = std::vector<tavo::String>;
using kavra::HostArray;

class PropertySetTest : public PropertyTest {
protected:
  /// The names in the order of their places, which are dense.
  Names inOrder() const {
    Names names;
    for (std::uint32_t i = 0; auto definition = set.getPropertyByIndex(i); ++i)
      names.push_back(definition.getName());
    EXPECT_EQ(names.size(), set.properties().size());
    return names;
  }
  void addAll(const Names& names) const {
    for (const auto& name : names)
      set.addProperty(name, u"double");
  }
  PropertyDefinition property(std::u16string_view type, std::u16string_view text = {},
                              std::u16string_view name = u"p") const {
    auto definition = set.addProperty(name, type);
    definition.defaultValue().setExpression(text);
    return definition;
  }
};

// The set

TEST_F(PropertySetTest, KeepsItsPlacesDense) {
  addAll({u"c", u"a", u"b", u"d"});
  EXPECT_EQ(inOrder(), (Names{u"c", u"a", u"b", u"d"}));
  EXPECT_EQ(set.getAllPropertyNames(), (Names{u"a", u"b", u"c", u"d"}));
  set.removeProperty(u"a");
  EXPECT_EQ(inOrder(), (Names{u"c", u"b", u"d"}));
  set.removeProperty(u"nobody");
  EXPECT_TRUE(model.undo());
  EXPECT_EQ(inOrder(), (Names{u"c", u"a", u"b", u"d"}));
}

TEST_F(PropertySetTest, MovesProperties) {
  struct Move {
    std::uint32_t from, to;
    Names result;
  };
  const Move moves[] = {
      {2, 0, {u"c", u"a", u"b"}}, {0, 2, {u"b", u"c", u"a"}}, {0, 1, {u"b", u"a", u"c"}}, {1, 1, {u"a", u"b", u"c"}},
      {0, 3, {u"b", u"c", u"a"}}, {3, 0, {u"a", u"b", u"c"}}, {0, 4, {u"a", u"b", u"c"}}, {4, 0, {u"a", u"b", u"c"}},
  };
  addAll({u"a", u"b", u"c"});
  model.clearHistory();
  for (const auto& [from, to, result] : moves) {
    SCOPED_TRACE(testing::Message() << from << " to " << to);
    set.moveProperty(from, to);
    EXPECT_EQ(inOrder(), result);
    if (model.undo())
      tavo::checkInvariants(model);
    EXPECT_EQ(inOrder(), (Names{u"a", u"b", u"c"}));
  }
}

TEST_F(PropertySetTest, GuardsItsNames) {
  addAll({u"a", u"b"});
  EXPECT_ERROR_UNCHANGED(model, set.addProperty(u"a", u"double"), "Velmora:Profile:NonUniquePropertyName", "a");
  for (const auto* name : {u"", u"1st", u"two words", u"a.b"})
    EXPECT_ERROR_UNCHANGED(model, set.addProperty(name, u"double"), "Velmora:Profile:InvalidPropertyName", name);
  EXPECT_ERROR_UNCHANGED(model, set.addProperty(u"c", u"quaternion"), "Velmora:Property:CantFindType", "quaternion");
  EXPECT_ERROR_UNCHANGED(model, set.renameProperty(u"a", u"b"), "Velmora:Profile:NonUniquePropertyName", "b");
  EXPECT_ERROR_UNCHANGED(model, set.renameProperty(u"a", u"?"), "Velmora:Profile:InvalidPropertyName", "?");
  EXPECT_ERROR_UNCHANGED(model, set.checkPropertyNameUniqueness(u"a"),
                         "Velmora:Profile:NonUniquePropertyNamesInPropertySet", "a", "Motor");
  EXPECT_ERROR_UNCHANGED(model, set.setName(u"no name"), "Velmora:Profile:InvalidPropertySetName", "no name");

  const auto definition = set.getPropertyByName(u"a");
  set.renameProperty(u"nobody", u"x");
  set.renameProperty(u"a", u"z");
  EXPECT_EQ(set.getPropertyByName(u"z"), definition);
  EXPECT_FALSE(set.getPropertyByName(u"a"));
}

TEST_F(PropertySetTest, AnEnumerationPropertyIsAddedOnce) {
  const auto color = set.addEnumProperty(u"color", u"Colors");
  EXPECT_EQ(color.getBaseType(), u"Colors");
  EXPECT_EQ(color.getType(), color.ownedType());
  EXPECT_EQ(color.getDefaultPropertyValue(), (Names{u"'Green'", u""}));
  EXPECT_FALSE(color.currentVersionId().is_nil());
  EXPECT_EQ(set.addEnumProperty(u"color", u"Nothing"), color);
  EXPECT_ERROR_UNCHANGED(model, set.addEnumProperty(u"more", u"Nothing"), "Velmora:Property:InvalidEnumString");

  EXPECT_FALSE(set.hasMissingArtifact());
  classes().removeClass(u"Colors");
  EXPECT_TRUE(set.hasMissingArtifact());
  EXPECT_ERROR(color.checkHealth(), "Velmora:Property:InvalidDefaultValue", "Motor.color", "''");
}

TEST_F(PropertySetTest, ACopyHasTypesAndDefaultsOfItsOwn) {
  auto speed = property(u"double", u"5", u"speed");
  speed.setMinAndMax(number(0), number(10));
  set.addEnumProperty(u"color", u"Colors");
  const auto other = tavo::Model::create();
  const auto copy = set.clone(other, {}).cast<PropertySet>();
  const auto copied = copy.getPropertyByName(u"speed");
  EXPECT_EQ(copied.getType(), copied.ownedType());
  EXPECT_EQ(copied.ownedType().getBaseType(), copy.valueTypes().find(u"double"));
  EXPECT_EQ(copied.defaultValue().getType(), copied.ownedType());
  EXPECT_EQ(copied.currentVersionId(), speed.currentVersionId());
  EXPECT_EQ(copied.getMax(), number(10));
  EXPECT_EQ(copy.getPropertyByName(u"color").getDefaultPropertyValue(), (Names{u"'Green'", u""}));
  model.destroy();
  EXPECT_EQ(copied.defaultValue().getValueIfExists(), number(5));
  tavo::checkInvariants(other);
}

TEST_F(PropertySetTest, WithoutAHostTextsAreKeptAndNothingIsEvaluated) {
  const auto speed = property(u"double", u"5", u"speed");
  const auto count = property(u"int64", u"5", u"count");
  const auto color = set.addEnumProperty(u"color", u"Colors");
  const auto colors = color.ownedType().cast<property::Enumeration>();
  const auto whole = builtIn(u"int64");
  const auto table = HostArray::opaque(u"Table", {1, 1});
  const auto red = colors.getValueFromString(u"Red");
  static_cast<Value::Impl&>(count.defaultValue().object()).setCachedValue({}); // as a file gives it
  const kavra::ScopedHost none(nullptr);

  const struct {
    const char* id;
    std::function<void()> call;
  } refusals[] = {
      {"Velmora:Property:CannotEvalExpression", [&] { builtIn(u"double").validateExpression(u"5"); }},
      {"Velmora:Property:CannotEvalExpression", [&] { whole.validateExpression(u"9007199254740993"); }},
      {"Velmora:Property:CannotEvalExpression", [&] { count.defaultValue().getValueIfExists(); }},
      {"Velmora:Property:InvalidEnumString", [&] { colors.setKavraEnumName(u"Colors"); }},
      {"Velmora:Property:InvalidEnumString", [&] { set.addEnumProperty(u"more", u"Colors"); }},
      {"Velmora:Property:CantFindType", [&] { set.addProperty(u"more", u"Colors"); }},
      {"Velmora:Property:InvalidIllDefinedEnum", [&] { colors.validateValue(red); }},
      {"Velmora:Property:InvalidIllDefinedEnum", [&] { colors.castArray(HostArray::chars(u"Red"), u""); }},
      {"Velmora:Property:InvalidIllDefinedEnum", [&] { colors.isValidEnumString(u"Red"); }},
      {"Velmora:Property:InvalidIllDefinedEnum", [&] { colors.isValidEnumValue(1); }},
      {"Velmora:Property:InvalidIllDefinedEnum", [&] { colors.getLiteralsAsStrings(); }},
      {"Velmora:Property:InvalidIllDefinedEnum", [&] { colors.getValueFromString(u"Red"); }},
      {"kavra:messages:NoHost", [&] { colors.makeDefaultValue({}); }},
      {"kavra:messages:NoHost", [&] { ValueType::staticDimensionsMatch(table, {1}); }},
  };
  for (const auto& refusal : refusals)
    EXPECT_ERROR_UNCHANGED(model, refusal.call(), refusal.id);
  EXPECT_FALSE(property::Enumeration::isValidEnumerationName(u"Colors"));
  EXPECT_EQ(color.getDefaultPropertyValue(), (Names{u"''", u""}));
  EXPECT_TRUE(set.hasMissingArtifact());

  set.addProperty(u"more", u"double").setDefaultPropertyValue(u"anything", u"*");
  count.setMinAndMax(int64(10), int64(20));
  count.setDimensions({2});
  count.checkHealth();
  EXPECT_EQ(count.defaultValue().storedExpression(), u"5");
  EXPECT_ERROR_UNCHANGED(model, speed.setMax(number(4)), "Velmora:Property:InvalidMaxForDefaultValue");
  speed.setBaseType(u"int8");
  EXPECT_FALSE(speed.defaultValue().cachedValue()) << "the array of another type is of no use";
  EXPECT_EQ(count.defaultValue().clone(model).storedExpression(), u"5");

  // Without a unit service any units will do.
  const auto bare = tavo::Model::create();
  FloatType::makeFloatType(bare).setUnits(u"smoots");
  const auto units = property::UnitQueryClientWrapper::get(bare);
  units.checkCompatible(u"smoots", u"m");
  EXPECT_EQ(units.getConversionInfo(u"smoots", u"m"), kavra::UnitConversion());
  EXPECT_TRUE(units.getSimilarUnits(u"m").empty());
}

// Definitions

TEST_F(PropertySetTest, EveryDefaultIsANewVersion) {
  auto definition = property(u"double");
  auto version = definition.currentVersionId();
  const auto changes = [&] { return std::exchange(version, definition.currentVersionId()) != version; };
  definition.setDefaultPropertyValue(u"5", u"*");
  EXPECT_TRUE(changes());
  definition.setDefaultPropertyValue(u"5", u"*");
  EXPECT_TRUE(changes());
  definition.setDimensions({1});
  EXPECT_TRUE(changes());
  definition.setMinAndMax(number(0), number(10));
  EXPECT_TRUE(changes());
  definition.setUnit(u"m");
  EXPECT_TRUE(changes());
  definition.setBaseType(u"single");
  EXPECT_TRUE(changes());
  definition.setType(definition.getType());
  EXPECT_FALSE(changes());
  definition.setType(builtIn(u"int8"));
  EXPECT_TRUE(changes());
  definition.setType(definition.ownedType());
  EXPECT_TRUE(changes());

  EXPECT_ERROR(definition.setDefaultPropertyValue(u"50", u"*"), "Velmora:Property:InvalidRealPropValueMinMax");
  EXPECT_TRUE(changes()) << "whoever follows the definition looks again";
  EXPECT_EQ(definition.getDefaultPropertyValue(), (Names{u"5", u"m"}));
  EXPECT_ERROR(definition.setDefaultPropertyValue(u"6", u"furlongs"), "kavra:units:UnknownUnit");
  EXPECT_EQ(definition.getDefaultPropertyValue(), (Names{u"5", u"m"}));
}

TEST_F(PropertySetTest, TheStarKeepsTheUnits) {
  auto definition = property(u"double");
  definition.setDefaultPropertyValue(u"5", u"m");
  EXPECT_EQ(definition.getUnit(), u"m");
  EXPECT_EQ(definition.defaultValue().units(), u"m");
  definition.setDefaultPropertyValue(u"6", u"*");
  EXPECT_EQ(definition.getDefaultPropertyValue(), (Names{u"6", u"m"}));
  definition.setDefaultPropertyValue(u"7", u"");
  EXPECT_EQ(definition.getUnit(), u"");
}

TEST_F(PropertySetTest, UnitsBelongToNumbersAndFollowTheBaseType) {
  auto text = property(u"string", {}, u"text");
  auto color = set.addEnumProperty(u"color", u"Colors");
  EXPECT_ERROR_UNCHANGED(model, text.setUnit(u"m"), "Velmora:Property:CantHaveUnit");
  EXPECT_ERROR_UNCHANGED(model, color.setUnit(u"m"), "Velmora:Property:CantHaveUnit");

  set.valueTypes().find(u"single").cast<FloatType>().setUnits(u"m");
  auto length = property(u"single");
  length.setUnit(u"m");
  EXPECT_ERROR_UNCHANGED(model, length.setUnit(u"km"), "Velmora:Property:UnitMustBeSameAsBaseType", "km", "m");

  auto other = property(u"double", u"5", u"other");
  other.setMinAndMax(number(0), number(10));
  other.setBaseType(u"single");
  EXPECT_EQ(other.getDefaultPropertyValue(), (Names{u"5", u"m"})) << "units that only the base has are taken over";
  other.setBaseType(u"double");
  other.setUnit(u"s");
  EXPECT_ERROR_UNCHANGED(model, other.setBaseType(u"single"), "Velmora:Property:UnitMustBeSameAsBaseType", "s", "m");
}

TEST_F(PropertySetTest, NarrowingLeavesTheSharedTypeAlone) {
  auto definition = property(u"double", u"5");
  const auto shared = definition.getType();
  definition.setMinAndMax(number(0), number(10));
  EXPECT_EQ(definition.getType(), definition.ownedType());
  EXPECT_EQ(definition.ownedType().getBaseType(), shared);
  EXPECT_EQ(definition.defaultValue().getType(), definition.ownedType());
  EXPECT_EQ(definition.getBaseType(), u"double");
  EXPECT_EQ(shared.cast<FloatType>().getMaxValue(), std::numeric_limits<double>::max());
  EXPECT_EQ(definition.getMin(), number(0));
}

TEST_F(PropertySetTest, BoundsMustAgreeWithEachOtherAndTheDefault) {
  auto text = property(u"string", {}, u"text");
  auto real = property(u"double", u"5", u"real");
  auto whole = property(u"int8", u"5", u"whole");
  EXPECT_ERROR_UNCHANGED(model, text.setMax(number(1)), "Velmora:Property:MaxMinMustOnlyOnFloatOrInteger");
  EXPECT_ERROR_UNCHANGED(model, real.setMax(int64(1)), "Velmora:Property:FloatMaxMinMustBeDouble");
  EXPECT_ERROR_UNCHANGED(model, whole.setMax(number(1)), "Velmora:Property:IntegerMaxMinMustBeInt64");
  EXPECT_ERROR_UNCHANGED(model, real.setMinAndMax(number(2), number(1)), "Velmora:Property:MaxLessThanMin", "1.000000",
                         "2.000000");
  EXPECT_ERROR_UNCHANGED(model, real.setMinAndMax(number(0), number(1)),
                         "Velmora:Property:InvalidMinMaxForDefaultValue", "5", "0.000000", "1.000000");
  EXPECT_ERROR_UNCHANGED(model, whole.setMin(int64(6)), "Velmora:Property:InvalidMinForDefaultValue", "5", "6");
  EXPECT_ERROR_UNCHANGED(model, whole.setMax(int64(4)), "Velmora:Property:InvalidMaxForDefaultValue", "5", "4");
  EXPECT_ERROR_UNCHANGED(model, whole.setMax(int64(200)), "Velmora:Property:InvalidMax", "200", "127");

  auto empty = property(u"int8", u"", u"empty");
  empty.setMinAndMax(int64(10), int64(20));
  empty.setMinAndMax(int64(-20), int64(-10));
  empty.setMinAndMax(int64(10), int64(20));
  EXPECT_EQ(empty.defaultValue().getExpression(), u"10");
}

TEST_F(PropertySetTest, DimensionsMustFitTheDefault) {
  auto definition = property(u"double", u"[1 2 3]");
  EXPECT_ERROR_UNCHANGED(model, definition.setDimensions({2, 2}), "Velmora:Property:InvalidDimensionsForDefaultValue");
  definition.setDimensions({3});
  EXPECT_EQ(definition.getDimensions(), (std::vector<std::uint64_t>{3}));

  // The array of a literal in quotes fits, its text would not fit any more once it is read from a file.
  auto color = set.addEnumProperty(u"color", u"Colors");
  color.defaultValue().setExpression(u"'Red'");
  EXPECT_ERROR_UNCHANGED(model, color.setDimensions({1}), "Velmora:Property:InvalidDimensionsForDefaultValue");
  color.defaultValue().setExpression(u"Colors.Red");
  color.setDimensions({1});
}

TEST_F(PropertySetTest, AnotherTypeTakesTheDefaultAlongWhenItCan) {
  struct Move {
    const char16_t *from, *text, *to;
    const char* error;
  };
  const Move moves[] = {
      {u"double", u"5", u"int8", ""},
      {u"double", u"5.5", u"int8", "Velmora:Property:InvalidIntegerPropValue"},
      {u"double", u"5", u"string", "Velmora:Property:DefaultValueIncompatibleWithType"},
      {u"string", u"'a'", u"double", "Velmora:Property:DefaultValueIncompatibleWithType"},
      {u"string", u"'Red'", u"Colors", ""},
      {u"string", u"{'a'}", u"stringArray", ""},
      {u"string", u"'Dull'", u"paint.Gloss", ""},
      {u"boolean", u"true", u"double", "Velmora:Property:DefaultValueIncompatibleWithType"},
      {u"boolean", u"", u"double", ""},
  };
  for (const auto& move : moves) {
    SCOPED_TRACE(move.error);
    auto definition = property(move.from, move.text);
    if (*move.error) {
      EXPECT_ERROR_UNCHANGED(model, definition.setBaseType(move.to), move.error);
    } else {
      definition.setBaseType(move.to);
      EXPECT_EQ(definition.getBaseType(), move.to);
      EXPECT_EQ(definition.defaultValue().storedExpression(), move.text);
      definition.checkHealth();
    }
    set.removeProperty(u"p");
  }
}

TEST_F(PropertySetTest, AnOwnNumericTypeStaysAndChangesItsBase) {
  auto definition = property(u"int32", u"5");
  definition.setMinAndMax(int64(0), int64(100));
  definition.setDimensions({1});
  const auto owned = definition.ownedType();
  definition.setBaseType(u"int8");
  EXPECT_EQ(definition.ownedType(), owned);
  EXPECT_EQ(definition.getBaseType(), u"int8");
  EXPECT_EQ(definition.getDimensions(), (std::vector<std::uint64_t>{1}));
  EXPECT_EQ(definition.defaultValue().cachedValue(), HostArray::scalar(std::int8_t{5}));

  definition.setBaseType(u"int32");
  definition.setMax(int64(1000));
  EXPECT_ERROR_UNCHANGED(model, definition.setBaseType(u"int8"), "Velmora:Property:InvalidMax", "1000", "127");

  definition.setBaseType(u"double");
  EXPECT_FALSE(owned);
  EXPECT_FALSE(definition.ownedType());
}

TEST_F(PropertySetTest, UndoOfANewBaseDoesNotLeaveTheArrayOfThatBase) {
  auto definition = property(u"int32", u"5");
  definition.setMinAndMax(int64(0), int64(100));
  const auto value = definition.defaultValue();
  static_cast<Value::Impl&>(value.object()).setCachedValue({}); // as a file gives it
  model.clearHistory();
  definition.setBaseType(u"int8");
  EXPECT_EQ(value.getValueIfExists(), HostArray::scalar(std::int8_t{5}));
  EXPECT_TRUE(model.undo());
  EXPECT_EQ(value.getValueIfExists(), HostArray::scalar(std::int32_t{5}));
  EXPECT_TRUE(model.redo());
  EXPECT_EQ(value.getValueIfExists(), HostArray::scalar(std::int8_t{5}));
}

TEST_F(PropertySetTest, ADefaultThatHasBecomeInvalidIsReported) {
  auto definition = property(u"double", u"5");
  definition.checkHealth();
  set.valueTypes().find(u"double").cast<FloatType>().setMax(4);
  EXPECT_ERROR_BECAUSE("Velmora:Property:InvalidRealPropValueMinMax", definition.checkHealth(),
                       "Velmora:Property:InvalidDefaultValue", "Motor.p", "5");
}

} // namespace zelkor::test
