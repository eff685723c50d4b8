#include "tests/zelkor/PropertyFixture.h"

#include "zelkor/property/PropertySetResolver.impl.h"
#include "zelkor/property/ValueType.impl.h"
#include "zelkor/services/CurrentModelResolver.h"
#include "zelkor/services/LostModelResolver.h"
#include "zelkor/services/ModelIdentifier.h"
#include "zelkor/services/Proxies.h"

#include <functional>

namespace zelkor::test {

using namespace services::proxy;
using property::PropertySetResolver;

/// A value in `model` whose type is in `library`.
class ProxiesTest : public PropertyTest {
protected:
  ProxiesTest() {
    library = tavo::Model::create();
    ModelIdentifier::createModelIdentifier(library, u"profile", u"Metals");
    density = FloatType::makeFloatType(library);
    density.setName(u"density");
    density.setMax(20);
    density.setMin(1);
    resolver = makeResolver();
    resolver.setReferencedModel(library);
    value = Value::create(model);
    object(value).getValueTypeProxyMutable().add(ProxySource::createProxySource(density, value, resolver, false));
  }

  PropertySetResolver makeResolver() const {
    auto made = PropertySetResolver::create(model);
    made.setURI(u"Metals");
    return made;
  }
  static Value::Impl& object(const Value& of) { return static_cast<Value::Impl&>(of.object()); }

  tavo::Model library;
  FloatType density;
  PropertySetResolver resolver;
  Value value;
};

TEST_F(ProxiesTest, ATypeOfAnotherModelIsAsGoodAsAnyOther) {
  EXPECT_EQ(value.getType(), density);
  EXPECT_EQ(value.getExpression(), u"1");
  value.setExpression(u"7.8");
  EXPECT_EQ(value.valueTypeProxy().getTargetName(), u"Metals.density");
  EXPECT_TRUE(value.valueTypeProxy().pointsTo(density));
  value.setType(density);
  EXPECT_EQ(resolver.proxies().size(), 1u);
}

TEST_F(ProxiesTest, AMissingTypeCostsNothing) {
  value.setExpression(u"7.8");
  library.destroy();
  EXPECT_FALSE(value.getType());
  EXPECT_EQ(value.getExpression(), u"7.8");
  EXPECT_EQ(value.getValueIfExists(), number(7.8));
  EXPECT_ERROR_UNCHANGED(model, value.setExpression(u"8"), "Velmora:Property:UnresolvedPropertyDefinition",
                         "Metals.density");
  EXPECT_ERROR(value.valueTypeProxy().getTargetElement(), "Velmora:Property:FailedProxyResolve", "Metals.density",
               "Metals");

  const auto copy = value.clone(model);
  EXPECT_EQ(copy.storedExpression(), u"7.8");
  EXPECT_EQ(copy.valueTypeProxy().target(), value.valueTypeProxy().target());
  const auto elsewhere = tavo::Model::create();
  EXPECT_EQ(value.clone(elsewhere).valueTypeProxy().getTargetName(), u"Metals.density");
  value.setExpression(u"");
  EXPECT_EQ(value.getExpression(), u"");
  EXPECT_TRUE(model.undo());
  EXPECT_EQ(value.getExpression(), u"7.8");
}

TEST_F(ProxiesTest, NothingIsNarrowedWhoseTypeIsMissing) {
  const auto refer = [this](const auto& owner) {
    static_cast<typename std::remove_cvref_t<decltype(owner)>::Impl&>(owner.object())
        .getTypeProxyMutable()
        .add(ProxySource::createProxySource(density, owner, resolver, false));
  };
  const auto narrower = FloatType::makeFloatType(model);
  refer(ValueType(narrower));
  narrower.setMax(10);
  narrower.setMin(2);
  const auto definition = PropertyDefinition::make(u"density", set);
  EXPECT_ERROR(definition.setDefaultPropertyValue(u"5", u"*"), "Velmora:Property:UnresolvedPropertyDefinition",
               "Motor.density");
  refer(definition);
  library.destroy();

  EXPECT_ERROR_UNCHANGED(model, narrower.setMax(100), "Velmora:Property:FailedProxyResolve");
  EXPECT_ERROR_UNCHANGED(model, narrower.setMin(0), "Velmora:Property:FailedProxyResolve");
  const std::string missing = "Velmora:Property:UnresolvedPropertyDefinition";
  EXPECT_ERROR_UNCHANGED(model, definition.setUnit(u"m"), missing, "Metals.density");
  EXPECT_ERROR_UNCHANGED(model, definition.setMin(number(2)), missing, "Metals.density");
  EXPECT_ERROR_UNCHANGED(model, definition.setDimensions({2}), missing, "Metals.density");
  EXPECT_ERROR(definition.setDefaultPropertyValue(u"5", u"*"), missing, "Metals.density");
}

TEST_F(ProxiesTest, AModelThatIsChangedAndReloadedIsBoundByIdentity) {
  const auto id = density.Uuid();
  const auto file = tavo::treeText(density);
  const auto source = value.valueTypeProxy();
  const auto target = source.target();
  value.setExpression(u"7.8");
  library.destroy();
  EXPECT_FALSE(value.getType());

  library = tavo::Model::create();
  tavo::readModel(file, "Metals", library);
  const auto again = library.find<FloatType>(id);
  again.setName(u"weight");
  again.setMax(10);
  resolver.setReferencedModel(library);
  EXPECT_EQ(value.getType(), again);
  EXPECT_EQ(value.valueTypeProxy(), source);
  EXPECT_EQ(source.target(), target);
  EXPECT_TRUE(source.pointsTo(again));
  EXPECT_FALSE(density);
  EXPECT_ERROR_UNCHANGED(model, value.setExpression(u"15"), "Velmora:Property:InvalidRealPropValueMinMax");
  EXPECT_TRUE(model.undo());
  EXPECT_EQ(value.getExpression(), u"1");
  EXPECT_EQ(value.getType(), again);
}

TEST_F(ProxiesTest, ADestroyedResolverLeavesWhatItTakesToFindTheTargetsAgain) {
  value.setExpression(u"7.8");
  const auto target = value.valueTypeProxy().target();
  resolver.destroy();
  EXPECT_EQ(value.valueTypeProxy().target(), target);
  EXPECT_FALSE(value.getType());
  EXPECT_EQ(value.valueTypeProxy().getTargetName(), u"Metals.density");
  tavo::checkInvariants(model);

  // Finding them again is no change; the next target takes them along.
  const auto other = makeResolver();
  const auto before = stateOf(model);
  const auto serial = model.undoSerial();
  other.setReferencedModel(library);
  EXPECT_EQ(value.getType(), density);
  EXPECT_EQ(stateOf(model), before);
  EXPECT_EQ(model.undoSerial(), serial);
  other.setReferencedModel({});
  EXPECT_FALSE(value.getType());

  other.createProxyTarget(library.create<FloatType>());
  EXPECT_EQ(target.resolver(), other);
  EXPECT_FALSE(model.findTopLevel<LostModelResolver>());
  tavo::checkInvariants(model);
}

TEST_F(ProxiesTest, ATargetGoesWithItsLastSource) {
  const std::function<void()> ways[] = {
      [&] { value.setType(builtIn(u"double")); },
      [&] { value.destroy(); },
      [&] { value.valueTypeProxy().destroy(); },
  };
  for (const auto& way : ways) {
    const auto before = stateOf(model);
    const auto copy = value.clone(model);
    way();
    EXPECT_EQ(resolver.proxies().size(), 1u);
    copy.destroy();
    EXPECT_TRUE(resolver.proxies().empty());
    for (int step = 0; step < 3; ++step)
      EXPECT_TRUE(model.undo());
    EXPECT_EQ(stateOf(model), before);
    EXPECT_EQ(value.getType(), density);
    tavo::checkInvariants(model);
  }
}

TEST_F(ProxiesTest, WhatIsRemovedTakesItsTargetsAlong) {
  const auto before = stateOf(model);
  const auto definition = set.addProperty(u"p", u"double");
  definition.setType(density); // for the definition and for its default
  EXPECT_EQ(resolver.proxies().size(), 1u);
  set.removeProperty(u"p");
  value.destroy();
  EXPECT_TRUE(resolver.proxies().empty());
  const auto here = model.findTopLevel<CurrentModelResolver>();
  EXPECT_TRUE(!here || here.proxies().empty());

  while (stateOf(model) != before)
    ASSERT_TRUE(model.undo());
  resolver.destroy();
  value.setType(builtIn(u"double"));
  EXPECT_FALSE(model.findTopLevel<LostModelResolver>()) << "nothing is missed any more";
}

TEST_F(ProxiesTest, ACopyInAnotherModelUsesTheResolverThatIsThere) {
  library.destroy();
  const auto elsewhere = tavo::Model::create();
  const auto there = PropertySetResolver::createResolver(elsewhere, u"Metals");
  const auto copy = value.clone(elsewhere);
  EXPECT_EQ(copy.valueTypeProxy().getResolver(), there);
  EXPECT_FALSE(elsewhere.findTopLevel<LostModelResolver>());
}

TEST_F(ProxiesTest, AModelWithoutANameCannotBeReferredTo) {
  const auto nameless = tavo::Model::create();
  const auto type = FloatType::makeFloatType(nameless);
  EXPECT_ERROR_UNCHANGED(model, value.setType(type), "Velmora:Property:ModelCannotBeReferred");
}

TEST_F(ProxiesTest, ReferencesWithinAModelComeBackWithItsFile) {
  const auto written = tavo::Model::create();
  const auto motor = profile::Profile::createProfile(written, u"Drives").addPropertySet(u"Motor");
  const auto speed = motor.addProperty(u"speed", u"int8");
  speed.setDefaultPropertyValue(u"5", u"*");
  speed.setMinAndMax(int64(0), int64(10));
  motor.addEnumProperty(u"color", u"Colors");

  const auto text = tavo::modelText(written);
  const auto read = tavo::Model::create();
  tavo::readModel(text, "Drives", read);
  EXPECT_EQ(tavo::modelText(read), text);
  const auto copy = read.find<PropertyDefinition>(speed.Uuid());
  EXPECT_EQ(copy.getType(), copy.ownedType());
  EXPECT_EQ(copy.getBaseType(), u"int8");
  EXPECT_FALSE(copy.defaultValue().cachedValue());
  EXPECT_EQ(copy.defaultValue().getValueIfExists(), kavra::HostArray::scalar(std::int8_t{5}));
  EXPECT_ERROR_UNCHANGED(read, copy.setMax(int64(4)), "Velmora:Property:InvalidMaxForDefaultValue", "5", "4");
  tavo::checkInvariants(read);
}

TEST_F(ProxiesTest, ModelsHaveOneIdentifier) {
  const auto identifier = ModelIdentifier::getModelIdentifier(library);
  EXPECT_EQ(ModelIdentifier::createModelIdentifier(library, u"profile", u"Alloys"), identifier);
  EXPECT_EQ(identifier.uRI(), u"Alloys");
  EXPECT_FALSE(ModelIdentifier::getModelIdentifier(model));
}

} // namespace zelkor::test
