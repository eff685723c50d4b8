#include "tests/zelkor/PropertyFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/clone/UUIDElemPair.h"
#include "zelkor/framework/WorkspaceWrapper.h"

namespace zelkor::test {

/// Counts how often it is deleted.
struct Wrapper : kavra::HostObject {
  explicit Wrapper(bool isVessa = true, bool fails = false) : isVessa_(isVessa), fails_(fails) {}
  bool isVessaObject() const override { return isVessa_; }
  kavra::HostArray call(std::u16string_view method, std::span<const kavra::HostArray> arguments) override {
    EXPECT_EQ(method, u"delete");
    EXPECT_TRUE(arguments.empty());
    ++deleted;
    if (fails_)
      throw kavra::Error("host:vessa:NotMine", "That is not mine.");
    return {};
  }
  int deleted = 0;
  bool isVessa_, fails_;
};

class NamedElementTest : public PropertyTest {
protected:
  ValueType element = model.create<FloatType>();
};

TEST_F(NamedElementTest, AnEmptyExternalIdentifierIsNotAnAbsentOne) {
  EXPECT_EQ(element.getExternalUID(), u"");
  EXPECT_FALSE(element.p_ExternalUID());
  element.setExternalUID(u"");
  EXPECT_EQ(element.getExternalUID(), u"");
  EXPECT_TRUE(element.p_ExternalUID());
}

TEST_F(NamedElementTest, TheIdentifierIsTheIdentityAsText) {
  const auto id = *tavo::parseUuid("0E38A211-8B7C-3EAE-B4C0-D1D620EDA026");
  EXPECT_EQ(model.create<FloatType>(id).getQKIdentifier(), u"QK:0e38a211-8b7c-3eae-b4c0-d1d620eda026");
}

TEST_F(NamedElementTest, AnElementTakesItsWrapperAlong) {
  const auto first = std::make_shared<Wrapper>();
  const auto second = std::make_shared<Wrapper>();
  element.setCachedWrapper(first);
  element.setCachedWrapper(first);
  EXPECT_EQ(first->deleted, 0);
  element.setCachedWrapper(second);
  EXPECT_EQ(first->deleted, 1);
  element.destroy();
  EXPECT_EQ(second->deleted, 1);
  EXPECT_TRUE(model.undo());
  EXPECT_TRUE(element);
  EXPECT_FALSE(element.cachedWrapper());
}

TEST_F(NamedElementTest, AReleasedOrForeignWrapperIsNotDeleted) {
  const auto wrapper = std::make_shared<Wrapper>();
  element.setCachedWrapper(wrapper);
  element.setCachedWrapper(nullptr);
  element.setCachedWrapper(wrapper);
  element.releaseCachedWrapper();
  EXPECT_EQ(wrapper->deleted, 0);

  const auto foreign = std::make_shared<Wrapper>(false);
  element.setCachedWrapper(foreign);
  element.destroyCachedWrapper();
  EXPECT_EQ(element.cachedWrapper(), foreign);
  EXPECT_EQ(foreign->deleted, 0);
}

TEST_F(NamedElementTest, AWrapperThatDoesNotDieIsReported) {
  element.setCachedWrapper(std::make_shared<Wrapper>(true, true));
  element.destroy();
  EXPECT_FALSE(element);
  ASSERT_EQ(diagnostics->diagnostics.size(), 1u);
  EXPECT_EQ(diagnostics->diagnostics[0].id, "host:vessa:NotMine");
}

TEST_F(NamedElementTest, ACompositionIsCopiedWithFreshIdentities) {
  auto definition = set.addProperty(u"speed", u"double");
  definition.defaultValue().setExpression(u"5");
  set.setDescription(u"left out");
  const auto context = internal::clone::CloneContext::create(model);
  const auto copy =
      set.cloneComposition(model, context, {set.objectClass().property("description").id()}).cast<PropertySet>();
  tavo::checkInvariants(model);
  EXPECT_NE(copy.Uuid(), set.Uuid());
  EXPECT_EQ(copy.getName(), u"Motor");
  EXPECT_EQ(copy.description(), u"");
  EXPECT_EQ(copy.valueTypes().size(), 13u);
  const auto copied = copy.getPropertyByName(u"speed");
  EXPECT_EQ(copied.propertySet(), copy);
  EXPECT_EQ(context.getTargetUUID(definition.Uuid()), copied.Uuid());
  EXPECT_EQ(context.getSourceUUID(copy.Uuid()), set.Uuid());
  EXPECT_EQ(copied.defaultValue().getValueIfExists(), number(5));
}

TEST_F(NamedElementTest, ACompositionIsCopiedIntoAnotherModel) {
  auto definition = set.addProperty(u"speed", u"double");
  definition.setDefaultPropertyValue(u"5", u"m");
  const auto other = tavo::Model::create();
  const auto copy = set.cloneComposition(other, {}, {}).cast<PropertySet>();
  model.destroy();
  const auto copied = copy.getPropertyByName(u"speed");
  EXPECT_EQ(copied.getDefaultPropertyValue(), (std::vector<tavo::String>{u"5", u"m"}));
  EXPECT_EQ(copied.getType(), copied.ownedType()) << "what is copied along refers to each other";
  EXPECT_EQ(copied.ownedType().getBaseType(), copy.valueTypes().find(u"double"));
  EXPECT_ERROR_UNCHANGED(other, copied.setUnit(u"smoots"), "kavra:units:UnknownUnit");
  tavo::checkInvariants(other);
}

TEST_F(NamedElementTest, ACloneContextKeepsTheFirstCopyOfASource) {
  const auto context = internal::clone::CloneContext::create(model);
  const auto source = tavo::randomUuid(), first = tavo::randomUuid(), second = tavo::randomUuid();
  EXPECT_TRUE(context.getTargetUUID(source).is_nil());
  context.addSourceTargetPair(source, first);
  context.addSourceTargetPair(source, second);
  EXPECT_EQ(context.getTargetUUID(source), first);
  EXPECT_TRUE(context.getSourceUUID(second).is_nil());
  context.markTargetRemapComplete(second);
  EXPECT_FALSE(context.isTargetRemapComplete(second));
  context.markTargetRemapComplete(first);
  EXPECT_TRUE(context.isTargetRemapComplete(first));
  EXPECT_FALSE(context.isTargetRemapComplete(source));
  EXPECT_EQ(context.getAllEntries().size(), 1u);
}

TEST_F(NamedElementTest, TheScriptingViewOfAWorkspaceEvaluatesNothing) {
  EXPECT_FALSE(internal::WorkspaceWrapper::get(model));
  EXPECT_FALSE(internal::WorkspaceWrapper::create(model).evalExpression(u"5"));
}

} // namespace zelkor::test
