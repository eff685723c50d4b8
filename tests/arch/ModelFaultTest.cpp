// Operations on models in which something fails at any step, memory, the host or a file: nothing has happened, or all
// of it.
#include "tests/arch/ModelFixture.h"
#include "tests/support/Allocations.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/FaultyHost.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/evolution/ReleaseExport.h"
#include "zelkor/profile/ProfileUseChecker.h"

#include <optional>
#include <sys/wait.h>
#include <unistd.h>

namespace zelkor {
namespace {

namespace fs = std::filesystem;

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
    const auto expectNothingDone = [&](std::size_t) {
      EXPECT_EQ(tavo::modelText(model()), before);
      EXPECT_EQ(model().objectCount(), objects);
      tavo::checkInvariants(model());
    };
    const auto takeBack = [&] {
      EXPECT_NE(tavo::modelText(model()), before);
      tavo::checkInvariants(model());
      EXPECT_TRUE(model().undo());
      expectNothingDone(0);
    };
    failures_ += testsupport::failEachAllocation(action, expectNothingDone, takeBack);
    takeBack();
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
  model().clearHistory();
  const auto before = tavo::modelText(model());
  testsupport::failEachCall(
      testsupport::FaultyFileSystem(), [&] { profiles().addProfile(u"Child", false); },
      [&](const auto& error) {
        EXPECT_EQ(profiles().getAllResolvedProfiles(false).size(), error ? 1u : 3u);
        tavo::checkInvariants(model());
        EXPECT_EQ(model().undo(), !error);
        EXPECT_EQ(tavo::modelText(model()), before);
        if (!error)
          unload();
        EXPECT_EQ(catalog().getLoadedProfileNames(), std::vector<tavo::String>{u"Plant"});
      });
}

TEST_F(ModelFaultTest, WhatIsOpenedIsOpenedWholeOrNotAtAll) {
  for (const auto* release : {u"Avocet", u"Plover"}) {
    property::evolution::exportForRelease(model(), u"plant", file("plant.xml"), release);
    const auto models = tavo::Constellation::process().models().size();
    const auto content = [&](const ModelFile& opened) { return counted(tavo::modelText(opened.model()).toUtf8()); };
    const auto whole = content(ModelFile::open(file("plant.xml")));
    std::optional<ModelFile> opened;
    const auto failures = testsupport::failEachAllocation(
        [&] { opened = ModelFile::open(file("plant.xml")); },
        [&](std::size_t) { EXPECT_EQ(tavo::Constellation::process().models().size(), models); },
        [&] { // sorting does without memory
          EXPECT_EQ(content(*opened), whole);
          opened.reset();
        });
    EXPECT_GT(failures, 100u);
  }
}

class OldModelFaultTest : public ModelFaultTest {
protected:
  OldModelFaultTest() {
    property::evolution::exportForRelease(model(), u"old", path, u"Plover");
    before = contentOf(path);
    ModelFile::open(path).save();
    after = counted(contentOf(path));
    write(path, before);
  }

  const fs::path path = file("old.xml");
  std::string before, after;
};

TEST_F(OldModelFaultTest, IsSavedWholeOrNotAtAllAndKnowsIt) {
  std::optional<ModelFile> old;
  tavo::String content;
  const auto open = [&] {
    old.reset();
    write(path, before);
    old = ModelFile::open(path);
    content = tavo::modelText(old->model());
  };
  const auto expectNothingDone = [&](std::size_t) {
    EXPECT_EQ(contentOf(path), before);
    EXPECT_EQ(old->olderVersion(), "Plover");
    EXPECT_FALSE(old->isDirty());
    EXPECT_EQ(tavo::modelText(old->model()), content);
  };
  const auto expectDone = [&] {
    EXPECT_EQ(counted(contentOf(path)), after);
    EXPECT_EQ(old->olderVersion(), "");
    open();
  };
  open();
  EXPECT_GT(testsupport::failEachAllocation([&] { old->save(); }, expectNothingDone), 100u);
  expectDone();
  testsupport::failEachCall(
      testsupport::FaultyFileSystem(10'000), [&] { old->save(); },
      [&](const auto& error) {
        if (error && error->id() != "tavo:io:SavedButNotSynced")
          expectNothingDone(0);
        else
          expectDone();
      });
}

TEST_F(OldModelFaultTest, OfTwoProcessesTheSecondIsTold) {
  auto mine = ModelFile::open(path);
  const auto child = ::fork();
  if (child == 0) {
    auto theirs = ModelFile::open(path);
    theirs.save();
    ::_exit(0);
  }
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  Architecture::getArchitecture(mine.model()).addComponent(u"Mine");
  EXPECT_ERROR(mine.save(), "tavo:io:FileChangedOnDisk");
  EXPECT_TRUE(mine.isDirty());
  EXPECT_EQ(counted(contentOf(path)), after);
  mine.saveAs(file("mine.xml"));
  EXPECT_FALSE(mine.isDirty());
}

} // namespace
} // namespace zelkor
