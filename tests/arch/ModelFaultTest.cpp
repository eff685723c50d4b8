// Operations on models in which something fails at any step, memory, the host or a file: nothing has happened, or all
// of it.
#include "tests/arch/ModelFixture.h"
#include "tests/support/Allocations.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/FaultyHost.h"

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
  /// What elements and usages say, without the identities of what holds it.
  std::string described() const {
    std::string all;
    for (const auto& usage : profiles().p_PropertySets()) {
      all += usage.p_Name().toUtf8() + " < " + (usage.p_Parent() ? usage.p_Parent().p_Name().toUtf8() : "") + "\n";
      for (const auto& property : usage.properties())
        all += "  " + property.p_Name().toUtf8() + " = " + property.initialValue().getExpression().toUtf8() + " " +
               property.initialValue().units().toUtf8() + "\n";
    }
    for (const auto& element : {Element(hall), Element(pump)})
      if (element)
        for (const auto& name : element.getPropertyNames())
          all += name.toUtf8() + " = " + valueOf(element, name) + "\n";
    return all;
  }
  /// Runs `action` with each call of the host failing once: either nothing has happened, or what happens without a
  /// failure. Steps that are meant to stay before an error may, when `mayStay`.
  template <class Action>
  void expectToSurviveTheHost(Action action, bool mayStay) {
    const auto before = tavo::modelText(model());
    const auto serial = model().undoSerial();
    action();
    const auto expected = described();
    ASSERT_TRUE(model().undo());
    for (std::size_t failing = 0;; ++failing) {
      calls->restart(failing);
      try {
        const kavra::ScopedHost counted(countedHost);
        action();
      } catch (const std::exception&) {
        EXPECT_TRUE(calls->hasFailed());
        if (!mayStay) {
          EXPECT_EQ(tavo::modelText(model()), before) << failing;
        } else if (model().undoSerial() != serial) {
          action(); // what is left is done the next time
        }
      }
      tavo::checkInvariants(model());
      if (model().undoSerial() != serial) {
        // A default that could not be evaluated has given way to that of the type until the next synchronisation.
        if (described() != expected)
          modelFile.synchronize();
        EXPECT_EQ(described(), expected) << failing;
      }
      while (model().undoSerial() != serial)
        ASSERT_TRUE(model().undo());
      EXPECT_EQ(tavo::modelText(model()), before) << failing;
      if (!calls->hasFailed())
        break;
    }
  }
  /// Runs `action` with each allocation failing once, and expects the model to be as it was each time but the last.
  template <class Action>
  void expectWholeOrNothing(Action action, bool mayStay = false) {
    const auto before = tavo::modelText(model());
    const auto objects = model().objectCount();
    failures_ += testsupport::failEachAllocation(action, [&](std::size_t) {
      EXPECT_EQ(tavo::modelText(model()), before);
      EXPECT_EQ(model().objectCount(), objects);
      tavo::checkInvariants(model());
    });
    EXPECT_NE(tavo::modelText(model()), before);
    tavo::checkInvariants(model());
    EXPECT_TRUE(model().undo());
    EXPECT_EQ(tavo::modelText(model()), before);
    expectToSurviveTheHost(action, mayStay);
    action();
  }

  std::size_t failures_ = 0; ///< an operation for which there is room already needs no memory
  const std::shared_ptr<testsupport::HostCalls> calls = std::make_shared<testsupport::HostCalls>();
  const std::shared_ptr<kavra::Host> countedHost =
      std::make_shared<kavra::Host>(testsupport::countedParts(kavra::host().parts(), calls));
};

TEST_F(ModelFaultTest, ValuesAndStereotypes) {
  const auto other = hall.addComponent(u"Other");
  expectWholeOrNothing([&] { other.applyPrototype(stereotype(u"Pump")); });
  expectWholeOrNothing([&] { other.setPropVal(u"Plant.Machine.label", u"'a rather long label of a machine'", u"*"); });
  expectWholeOrNothing([&] { other.setPropVal(u"Plant.Machine.label", u"'another long label of a machine'", u"*"); });
  expectWholeOrNothing([&] { other.clearPropVal(u"Plant.Machine.label"); });
  expectWholeOrNothing([&] { pump.removePrototype(stereotype(u"Pump")); });
  EXPECT_GT(failures_, 0u);
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

TEST_F(ModelFaultTest, ASynchronisation) {
  const auto machine = stereotype(u"Machine").getPropertySet();
  machine.getPropertyByName(u"power").setDefaultPropertyValue(u"7", u"kW");
  machine.renameProperty(u"slots", u"places");
  machine.removeProperty(u"label");
  define(add(plant, u"Motor", u"Plant.Machine"), u"torque", u"double", u"1.5", u"N*m");
  stereotype(u"Pump").setName(u"FluidPump");
  expectWholeOrNothing([&] { profiles().synchronizePostLoad({}); }, true);
  stereotype(u"FluidPump").setParent(stereotype(u"Motor"));
  expectWholeOrNothing([&] { profiles().synchronizePostLoad({}); }, true);
  stereotype(u"FluidPump").destroy();
  expectWholeOrNothing([&] { profiles().synchronizePostLoad({}); }, true);
}

TEST_F(ModelFaultTest, WhatIsReadFromFilesOnTheWay) {
  const auto parent = profile::Profile::newProfile(u"Parent");
  define(add(parent, u"Base"), u"weight", u"double", u"3", u"kg");
  const auto child = profile::Profile::newProfile(u"Child");
  define(add(child, u"Derived", u"Parent.Base"), u"colour", u"string", u"'red'");
  save(parent);
  save(child);
  const auto unload = [&] {
    for (const auto* name : {u"Child", u"Parent"})
      catalog().unloadProfile(name);
  };
  unload();
  const auto before = tavo::modelText(model());
  for (std::size_t failing = 0;; ++failing) {
    testsupport::FaultyFileSystem faulty;
    faulty.failing = failing;
    try {
      const tavo::ScopedFileSystem installed(faulty);
      profiles().addProfile(u"Child", false);
    } catch (const tavo::Error&) {
      EXPECT_EQ(catalog().getLoadedProfileNames(), std::vector<tavo::String>{u"Plant"}) << faulty.calls[failing];
      EXPECT_EQ(tavo::modelText(model()), before) << faulty.calls[failing];
      continue;
    }
    EXPECT_EQ(profiles().getAllResolvedProfiles(false).size(), 3u);
    tavo::checkInvariants(model());
    EXPECT_TRUE(model().undo());
    unload();
    if (failing >= faulty.calls.size())
      break;
  }
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
