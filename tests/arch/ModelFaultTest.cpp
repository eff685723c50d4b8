// Operations on models that run out of memory at any step: nothing has happened, or all of it.
#include "tests/arch/ModelFixture.h"
#include "tests/support/Allocations.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/profile/ProfileUseChecker.h"

namespace zelkor {
namespace {

class ModelFaultTest : public ModelFixture {
protected:
  ModelFaultTest() {
    pump.applyPrototype(stereotype(u"Pump"));
    pump.setPropVal(u"Plant.Pump.flow", u"0.123456789012345678", u"*");
  }
  /// Runs `action` with each allocation failing once, and expects the model to be as it was each time but the last.
  template <class Action>
  void expectWholeOrNothing(Action action) {
    const auto before = tavo::modelText(model());
    const auto objects = model().objectCount();
    const auto failures = testsupport::failEachAllocation(action, [&](std::size_t) {
      EXPECT_EQ(tavo::modelText(model()), before);
      EXPECT_EQ(model().objectCount(), objects);
      tavo::checkInvariants(model());
    });
    EXPECT_GT(failures, 0u);
    EXPECT_NE(tavo::modelText(model()), before);
    tavo::checkInvariants(model());
    EXPECT_TRUE(model().undo());
    EXPECT_EQ(tavo::modelText(model()), before);
    EXPECT_TRUE(model().redo());
  }
};

TEST_F(ModelFaultTest, ValuesAndStereotypes) {
  const auto other = hall.addComponent(u"Other");
  expectWholeOrNothing([&] { other.applyPrototype(stereotype(u"Pump")); });
  expectWholeOrNothing([&] { other.setPropVal(u"Plant.Machine.label", u"'a rather long label of a machine'", u"*"); });
  expectWholeOrNothing([&] { other.setPropVal(u"Plant.Machine.label", u"'another long label of a machine'", u"*"); });
  expectWholeOrNothing([&] { other.clearPropVal(u"Plant.Machine.label"); });
  expectWholeOrNothing([&] { pump.removePrototype(stereotype(u"Pump")); });
}

TEST_F(ModelFaultTest, ElementsAndTheirCopies) {
  expectWholeOrNothing([&] { hall.addComponent(u"AnElementWithALongName"); });
  expectWholeOrNothing([&] {
    tavo::Transaction transaction(model());
    const auto copy = pump.clone(model(), {}).cast<Component>();
    copy.setName(u"ACopyWithALongName");
    copy.reparent(hall);
    transaction.commit();
  });
  expectWholeOrNothing([&] { pump.reparent(factory); });
  expectWholeOrNothing([&] { hall.destroy(); });
}

TEST_F(ModelFaultTest, Profiles) {
  const auto more = profile::Profile::newProfile(u"More");
  define(add(more, u"Turbine", u"Plant.Machine"), u"blades", u"int32", u"3");
  expectWholeOrNothing([&] { profiles().addProfile(u"More", false); });
  stereotype(u"Pump").setName(u"FluidPump");
  expectWholeOrNothing([&] { profiles().renamePropertySetUsage(stereotype(u"FluidPump")); });
  stereotype(u"FluidPump").setParent({});
  expectWholeOrNothing([&] { profiles().updateParentHierarchy(stereotype(u"FluidPump")); });
  expectWholeOrNothing([&] { profiles().removeProfile(u"More"); });
  expectWholeOrNothing([&] { profiles().removeProfile(u"Plant"); });
}

TEST_F(ModelFaultTest, WhatIsOpenedIsOpenedWholeOrNotAtAll) {
  modelFile.saveAs(file("plant.xml"));
  const auto models = tavo::Constellation::process().models().size();
  testsupport::failEachAllocation(
      [&] { (void)ModelFile::open(file("plant.xml")); },
      [&](std::size_t) { EXPECT_EQ(tavo::Constellation::process().models().size(), models); });
}

} // namespace
} // namespace zelkor
