// Models that follow their profiles.
#include "tests/arch/ModelFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/profile/ProfileUseChecker.h"
#include "zelkor/property/ValueType.h"

#include <functional>

namespace zelkor {
namespace {

using profile::text;
using namespace std::string_literals;
namespace fs = std::filesystem;

using Names = std::vector<tavo::String>;

class FollowingTest : public ModelFixture {
protected:
  FollowingTest() {
    pump.applyPrototype(stereotype(u"Pump"));
    pump.setPropVal(u"Plant.Machine.power", u"5", u"*");
    pump.setPropVal(u"Plant.Pump.flow", u"2", u"*");
  }
};

TEST_F(FollowingTest, ADefaultIsFollowedAlsoWhereItsVersionIsTheSame) { // as after an edit of the file by hand
  const auto set = plant.prototypes().find(u"Machine").getPropertySet();
  set.getPropertyByName(u"slots").defaultValue().setExpression(u"4");
  set.getPropertyByName(u"power").defaultValue().setUnits(u"kW");
  EXPECT_EQ(modelFile.checkProfiles().p_ChangedProperties(), (Names{u"Plant.Machine.power", u"Plant.Machine.slots"}));
  modelFile.synchronize();
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.slots"), "4");
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "5 W");
  pump.clearPropVal(u"Plant.Machine.power");
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "100 kW");
  EXPECT_FALSE(modelFile.checkProfiles().hasDifferences());
}

TEST_F(FollowingTest, NamesAreFollowedByIdentity) {
  const auto set = stereotype(u"Machine").getPropertySet();
  set.renameProperty(u"power", u"tmp");
  set.renameProperty(u"slots", u"power");
  set.renameProperty(u"tmp", u"slots");
  stereotype(u"Pump").setName(u"FluidPump");
  plant.setName(u"Works");
  const auto found = modelFile.checkProfiles();
  EXPECT_EQ(found.p_RenamedProperties(), (Names{u"Plant.Machine.power", u"Plant.Machine.slots"}));
  EXPECT_EQ(found.p_RenamedPrototypes(), (Names{u"Works.Machine", u"Works.FluidPump"}));
  EXPECT_TRUE(found.p_DeletedPrototypes().empty());
  modelFile.synchronize();
  EXPECT_EQ(valueOf(pump, u"Works.Machine.slots"), "5 W");
  EXPECT_EQ(valueOf(pump, u"Works.FluidPump.flow"), "2 m^3/s");

  stereotype(u"Machine").setName(u"tmp");
  stereotype(u"FluidPump").setName(u"Machine");
  stereotype(u"tmp").setName(u"FluidPump");
  modelFile.synchronize();
  EXPECT_EQ(valueOf(pump, u"Works.FluidPump.slots"), "5 W");
  EXPECT_EQ(valueOf(pump, u"Works.Machine.flow"), "2 m^3/s");
  EXPECT_FALSE(modelFile.differences().hasDifferences());
  checkInvariants(model());
}

TEST_F(FollowingTest, ANameThatIsFreeGoesToWhatIsNew) {
  stereotype(u"Pump").setName(u"FluidPump");
  define(add(plant, u"Pump"), u"flow", u"double", u"7", u"l/s");
  stereotype(u"Machine").getPropertySet().renameProperty(u"power", u"rating");
  define(stereotype(u"Machine"), u"power", u"double", u"8", u"kW");
  modelFile.synchronize();
  EXPECT_EQ(valueOf(pump, u"Plant.FluidPump.flow"), "2 m^3/s");
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.rating"), "5 W");
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "8 kW");
  EXPECT_FALSE(pump.hasPropVal(u"Plant.Pump.flow"));
  EXPECT_FALSE(modelFile.differences().hasDifferences());
  checkInvariants(model());
}

TEST_F(FollowingTest, ANewNameOfAProfileIsFollowedAtOnce) {
  modelFile.saveAs(file("plant.xml"));
  auto second = ModelFile::open(file("plant.xml"));
  plant.setName(u"Works");
  EXPECT_TRUE(modelFile.isDirty());
  EXPECT_TRUE(second.isDirty());
  for (const auto& profilesThere : {profiles(), second.profiles()}) {
    EXPECT_TRUE(profilesThere.p_IsProfileOutdated());
    EXPECT_TRUE(profile::ProfileResolver::findModelResolver(profilesThere.model(), u"Works"));
  }
  // Names in the model wait for the synchronisation; what is asked for by a stereotype is found meanwhile.
  hall.applyPrototype(stereotype(u"Pump"));
  EXPECT_EQ(profiles().p_PrototypeToPrototypableCache().getElementsWithPrototype(u"Works.Machine", true).size(), 2u);
  hall.removePrototype(stereotype(u"Pump"));
  EXPECT_EQ(hall.getPropertySetNames(), Names());

  EXPECT_TRUE(plant.model().undo());
  EXPECT_FALSE(second.isDirty());
  EXPECT_FALSE(second.checkProfiles().hasDifferences());
  EXPECT_TRUE(plant.model().redo());
  save(plant);
  fs::remove(file("Plant.xml"));
  modelFile.save();
  catalog().unloadAllProfiles();
  auto again = ModelFile::open(file("plant.xml"));
  EXPECT_EQ(again.differences().p_MissingProfiles(), Names());
  again.synchronize();
  EXPECT_FALSE(again.differences().hasDifferences());
  const auto element = again.model().find<Component>(pump.Uuid());
  EXPECT_EQ(valueOf(element, u"Works.Machine.power"), "5 W");
  EXPECT_EQ(element.getPropertySetNames(), (Names{u"Works.Machine", u"Works.Pump"}));
  checkInvariants(again.model());
}

TEST_F(FollowingTest, AProfileThatIsLoadedAgainIsListenedTo) {
  profiles().synchronizePostLoad({});
  catalog().unloadProfile(u"Plant");
  plant = profile::Profile::loadFromFile(u"Plant");
  EXPECT_TRUE(profiles().p_IsProfileOutdated()) << "it may be another one";
  EXPECT_FALSE(modelFile.checkProfiles().hasDifferences());
  EXPECT_FALSE(profiles().p_IsProfileOutdated());
  modelFile.synchronize();
  stereotype(u"Machine").getPropertySet().getPropertyByName(u"slots").setDefaultPropertyValue(u"9", u"*");
  EXPECT_TRUE(profiles().p_IsProfileOutdated());
  EXPECT_EQ(modelFile.checkProfiles().p_ChangedProperties(), Names{u"Plant.Machine.slots"});
  profiles().synchronizePostLoad({});
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.slots"), "9");
  for (const bool isOn : {false, true}) {
    profiles().toggleListener(u"Plant", isOn);
    add(plant, isOn ? u"Heard" : u"Unheard");
    EXPECT_EQ(profiles().p_IsProfileOutdated(), isOn);
  }
}

TEST_F(FollowingTest, StepsThatAreDoneStayWhenALaterOneFails) {
  pump.setPropVal(u"Plant.Machine.label", u"'mine'", u"*");
  const auto found = modelFile.checkProfiles();
  found.setP_DeletedProperties({u"Plant.Machine.label"});
  found.setP_AddedProperties({u"Plant.Machine.power"});
  EXPECT_ERROR(profiles().synchronizePostLoad(found), "tavo:messages:UniquenessConstraint");
  EXPECT_FALSE(pump.hasPropVal(u"Plant.Machine.label"));
  EXPECT_EQ(reported().at(0), "Velmora:Property:ValuesDropped");
  modelFile.synchronize();
  EXPECT_TRUE(pump.hasPropVal(u"Plant.Machine.label"));
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "5 W");
}

TEST_F(FollowingTest, ValuesThatNoLongerFitAreKeptAndReported) {
  stereotype(u"Machine").getPropertySet().getPropertyByName(u"power").setDefaultPropertyValue(u"1", u"*");
  stereotype(u"Machine").getPropertySet().getPropertyByName(u"power").setMax(kavra::HostArray::scalar(3.0));
  modelFile.synchronize();
  EXPECT_EQ(reported(), std::vector<std::string>{"Velmora:Property:ValuesNoLongerFit"});
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "5 W");
  EXPECT_ERROR(pump.setPropVal(u"Plant.Machine.power", u"5", u"*"), "Velmora:Property:ErrorSettingPropertyValue");
  EXPECT_EQ(valueOf(pump.clone(model(), {}).cast<Component>(), u"Plant.Machine.power"), "5 W");

  const auto flow = stereotype(u"Pump").getPropertySet().getPropertyByName(u"flow");
  flow.setDefaultPropertyValue(u"1", u"*");
  flow.defaultValue().setUnits({});
  flow.setType(stereotype(u"Machine").getPropertySet().getPropertyByName(u"slots").getType());
  modelFile.synchronize();
  EXPECT_EQ(reported(), std::vector<std::string>{"Velmora:Property:ValuesNoLongerFit"}) << "for its units";
  EXPECT_EQ(valueOf(pump, u"Plant.Pump.flow"), "2 m^3/s");
}

TEST_F(FollowingTest, OnlyWhatIsInUseIsRenamedOrTakenOver) {
  const auto other = profile::Profile::newProfile(u"Other");
  EXPECT_ERROR_UNCHANGED(model(), profiles().renameProfile(other, u"Another"), "Velmora:Property:UnableToRenameProfile",
                         u"Other", u"Another");
  profiles().renameProfile(plant, u"Works");
  EXPECT_EQ(valueOf(pump, u"Works.Pump.flow"), "2 m^3/s");
  EXPECT_TRUE(model().undo());

  const auto power = pump.findPropertyUsage(u"Plant.Machine.power");
  EXPECT_ERROR_UNCHANGED(model(), power.initializeFrom(pump.findPropertyUsage(u"Plant.Pump.flow")),
                         "Velmora:Property:InitFromPropertyUsageMismatch");
}

TEST_F(FollowingTest, RemovingAProfileTakesItsStereotypesOff) {
  profiles().removeProfile(u"Plant");
  EXPECT_TRUE(pump.getPropertySetNames().empty());
  EXPECT_TRUE(pump.prototypeProxy().empty());
  EXPECT_TRUE(profiles().p_PropertySets().empty());
  EXPECT_ERROR(profiles().removeProfile(u"Plant"), "Velmora:Architecture:ProfileNotAttached", u"Plant");
  EXPECT_TRUE(model().undo());
  EXPECT_EQ(valueOf(pump, u"Plant.Pump.flow"), "2 m^3/s");
  profiles().setP_IsProfileOutdated(false);
  add(plant, u"Thing");
  EXPECT_TRUE(profiles().p_IsProfileOutdated()) << "it is listened to, as before";
  checkInvariants(model());
}

TEST_F(FollowingTest, AProfileThatHasBecomeCircularOnDiskIsNotFollowed) {
  const auto power = stereotype(u"Machine").getPropertySet().getPropertyByName(u"power");
  const auto turbine = add(plant, u"Turbine", u"Plant.Pump").Uuid(), own = power.ownedType().Uuid();
  const auto machine = stereotype(u"Machine").Uuid();
  save(plant);
  modelFile.synchronize();
  modelFile.saveAs(file("plant.xml"));
  const auto before = tavo::modelText(model());
  const auto good = contentOf(file("Plant.xml"));
  using Content = std::string;
  const auto replaceAfter = [](Content& content, const std::string& mark, const std::string& what, const Content& by) {
    const auto from = content.find(what, content.find(mark)) + what.size();
    content.replace(from, content.find('"', from) - from, by);
  };
  const std::pair<std::string, std::function<void(Content&)>> rows[] = {
      {"Plant.Pump", // below "Turbine", which is below it
       [&](Content& content) {
         replaceAfter(content, "targetId=\"" + tavo::toText(machine), "targetId=\"", tavo::toText(turbine));
       }},
      {"Plant.Machine.power", // of a type that is its own base
       [&](Content& content) {
         const auto line = content.rfind('<', content.find("targetId=\"" + tavo::toText(own)));
         const auto anchor = content.find(" as=\"", line) + 5;
         replaceAfter(content, "<ownedType class=\"FloatType\" uuid=\"" + tavo::toText(own), "typeProxy=\"",
                      content.substr(anchor, content.find('"', anchor) - anchor));
       }},
  };
  for (const auto& [named, damage] : rows) {
    SCOPED_TRACE(named);
    auto content = good;
    damage(content);
    catalog().unloadAllProfiles();
    write(file("Plant.xml"), content);
    auto anew = ModelFile::open(file("plant.xml"));
    for (auto* each : {&modelFile, &anew}) {
      try {
        each->synchronize();
        ADD_FAILURE();
      } catch (const tavo::Error& error) {
        EXPECT_EQ(error.id(), "Velmora:Architecture:UnhealthyProfile");
        EXPECT_EQ(error.arguments().at(0), u"Plant");
        EXPECT_NE(error.arguments().at(1).toUtf8().find(named), std::string::npos) << error.what();
      }
      EXPECT_EQ(tavo::modelText(each->model()), before);
      EXPECT_FALSE(each->isDirty());
      checkInvariants(each->model());
    }
    EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "5 W");
  }
  catalog().unloadAllProfiles();
  write(file("Plant.xml"), good);
  modelFile.synchronize();
  EXPECT_EQ(tavo::modelText(model()), before);
}

/// The profiles "Parent", and "Child" with a stereotype below that of "Parent"; the pump carries it.
class FollowingSeveralTest : public FollowingTest {
protected:
  FollowingSeveralTest() {
    const auto parent = profile::Profile::newProfile(u"Parent"), child = profile::Profile::newProfile(u"Child");
    define(add(parent, u"Base"), u"weight", u"double", u"3", u"kg");
    define(add(child, u"Derived", u"Parent.Base"), u"colour", u"string", u"'red'");
    save(parent);
    save(child);
    profiles().addProfile(u"Parent", false);
    profiles().addProfile(u"Child", false);
    pump.applyPrototype(child.prototypes().find(u"Derived"));
    pump.setPropVal(u"Parent.Base.weight", u"4", u"*");
    pump.setPropVal(u"Child.Derived.colour", u"'blue'", u"*");
  }
  void take(const char* profile) {
    catalog().unloadProfile(text(profile));
    fs::rename(file(profile + ".xml"s), file("away.xml"));
  }
  void putBack(const char* profile) { fs::rename(file("away.xml"), file(profile + ".xml"s)); }
  void expectEverythingBack() {
    EXPECT_FALSE(modelFile.checkProfiles().hasDifferences());
    EXPECT_EQ(valueOf(pump, u"Parent.Base.weight"), "4 kg");
    EXPECT_EQ(valueOf(pump, u"Child.Derived.colour"), "'blue'");
    EXPECT_TRUE(pump.hasPrototype(u"Parent.Base"));
    checkInvariants(model());
  }
};

TEST_F(FollowingSeveralTest, WhatAMissingProfileNeedsStays) {
  take("Child");
  profiles().removeProfile(u"Parent");
  putBack("Child");
  expectEverythingBack();
  EXPECT_TRUE(profiles().isDependentProfile(u"Parent"));
}

TEST_F(FollowingSeveralTest, AMissingParentKeepsItsPlace) {
  take("Parent");
  const auto child = profile::Profile::findLoadedProfile(u"Child");
  child.prototypes().find(u"Derived").setName(u"Heir");
  modelFile.synchronize();
  EXPECT_EQ(valueOf(pump, u"Parent.Base.weight"), "4 kg");
  putBack("Parent");
  child.prototypes().find(u"Heir").setName(u"Derived");
  modelFile.synchronize();
  expectEverythingBack();
}

} // namespace
} // namespace zelkor
