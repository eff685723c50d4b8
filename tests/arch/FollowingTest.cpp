// Models that follow their profiles.
#include "tests/arch/ModelFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/profile/ProfileUseChecker.h"
#include "zelkor/property/ValueType.h"

namespace zelkor {
namespace {

using Names = std::vector<tavo::String>;

class FollowingTest : public ModelFixture {
protected:
  FollowingTest() {
    pump.applyPrototype(stereotype(u"Pump"));
    pump.setPropVal(u"Plant.Machine.power", u"5", u"*");
    pump.setPropVal(u"Plant.Pump.flow", u"2", u"*");
  }
};

TEST_F(FollowingTest, ANewDefaultReachesElementsWithoutAValue) {
  plant.prototypes().find(u"Machine").getPropertySet().getPropertyByName(u"slots").setDefaultPropertyValue(u"9", u"*");
  plant.prototypes().find(u"Machine").getPropertySet().getPropertyByName(u"power").setDefaultPropertyValue(u"9", u"*");
  EXPECT_TRUE(profiles().p_IsProfileOutdated());
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.slots"), "2");
  EXPECT_EQ(modelFile.checkProfiles().p_ChangedProperties(), (Names{u"Plant.Machine.power", u"Plant.Machine.slots"}));
  modelFile.synchronize();
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.slots"), "9");
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "5 W");
  EXPECT_FALSE(profiles().p_IsProfileOutdated());
  EXPECT_FALSE(modelFile.differences().hasDifferences());
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
  EXPECT_FALSE(modelFile.differences().hasDifferences());
  checkInvariants(model());
}

TEST_F(FollowingTest, WhatIsGoneGoesAndWhatIsNewComes) {
  const auto machine = stereotype(u"Machine");
  machine.getPropertySet().removeProperty(u"power");
  define(machine, u"weight", u"double", u"3", u"kg");
  define(add(plant, u"Motor", u"Plant.Machine"), u"torque", u"double", u"1", u"N*m");
  const auto found = modelFile.checkProfiles();
  EXPECT_EQ(found.p_DeletedProperties(), Names{u"Plant.Machine.power"});
  EXPECT_EQ(found.p_AddedProperties(), Names{u"Plant.Machine.weight"});
  EXPECT_EQ(found.p_AddedPrototypes(), Names{u"Plant.Motor"});
  modelFile.synchronize();
  EXPECT_EQ(reported(), std::vector<std::string>{"Velmora:Property:ValuesDropped"});
  EXPECT_FALSE(pump.hasPropVal(u"Plant.Machine.power"));
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.weight"), "3 kg");
  pump.applyPrototype(stereotype(u"Motor"));
  EXPECT_EQ(valueOf(pump, u"Plant.Motor.torque"), "1 N*m");
  EXPECT_TRUE(model().undo());
  EXPECT_TRUE(model().undo());
  EXPECT_EQ(valueOf(pump, u"Plant.Machine.power"), "5 W") << "a synchronisation is one step";
  checkInvariants(model());
}

TEST_F(FollowingTest, AnotherParentBringsOtherSets) {
  define(add(plant, u"Device"), u"voltage", u"double", u"12", u"V");
  stereotype(u"Pump").setParent(stereotype(u"Device"));
  EXPECT_EQ(modelFile.checkProfiles().p_PrototypeParentChanged(), Names{u"Plant.Pump"});
  modelFile.synchronize();
  EXPECT_EQ(valueOf(pump, u"Plant.Device.voltage"), "12 V");
  EXPECT_FALSE(pump.hasPropVal(u"Plant.Machine.power"));
  EXPECT_FALSE(modelFile.differences().hasDifferences());
}

TEST_F(FollowingTest, AStereotypeThatIsGoneLeavesItsElements) {
  stereotype(u"Pump").setParent({});
  stereotype(u"Machine").destroy();
  EXPECT_EQ(modelFile.checkProfiles().p_DeletedPrototypes(), Names{u"Plant.Machine"});
  modelFile.synchronize();
  EXPECT_EQ(pump.getPropertySetNames(), Names{u"Plant.Pump"});
  EXPECT_EQ(valueOf(pump, u"Plant.Pump.flow"), "2 m^3/s");
  EXPECT_FALSE(modelFile.differences().hasDifferences());
  checkInvariants(model());
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
  EXPECT_TRUE(profiles().p_PropertySets().empty());
  EXPECT_ERROR(profiles().removeProfile(u"Plant"), "Velmora:Architecture:ProfileNotAttached", u"Plant");
  EXPECT_TRUE(model().undo());
  EXPECT_EQ(valueOf(pump, u"Plant.Pump.flow"), "2 m^3/s");
  checkInvariants(model());
}

} // namespace
} // namespace zelkor
