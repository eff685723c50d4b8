// Models in files, with profiles there, changed and missing.
#include "tests/arch/ModelFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/profile/ProfileUseChecker.h"

namespace zelkor {
namespace {

class ModelFileTest : public ModelFixture {
protected:
  ModelFileTest() {
    pump.applyPrototype(stereotype(u"Pump"));
    pump.setPropVal(u"Plant.Pump.flow", u"2", u"*");
    modelFile.saveAs(file("plant.xml"));
  }
  static Component pumpIn(const ModelFile& file) {
    return Architecture::getArchitecture(file.model()).findElement(u"Hall/Main").cast<Component>();
  }
};

TEST_F(ModelFileTest, AModelComesBackAsItWas) {
  const auto again = ModelFile::open(file("plant.xml"));
  EXPECT_EQ(valueOf(pumpIn(again), u"Plant.Pump.flow"), "2 m^3/s");
  EXPECT_EQ(valueOf(pumpIn(again), u"Plant.Machine.power"), "100 W");
  EXPECT_FALSE(again.differences().hasDifferences());
  EXPECT_FALSE(again.isDirty());
  EXPECT_FALSE(again.model().canUndo());
  EXPECT_EQ(tavo::modelText(again.model()), tavo::modelText(model()));
  checkInvariants(again.model());
}

TEST_F(ModelFileTest, AMissingProfileCostsNothing) {
  catalog().unloadAllProfiles();
  std::filesystem::rename(file("Plant.xml"), file("away.xml"));
  {
    auto again = ModelFile::open(file("plant.xml"));
    EXPECT_EQ(again.differences().p_MissingProfiles(), std::vector<tavo::String>{u"Plant"});
    EXPECT_TRUE(again.differences().p_DeletedPrototypes().empty());
    const auto element = pumpIn(again);
    EXPECT_EQ(valueOf(element, u"Plant.Pump.flow"), "2 m^3/s");
    EXPECT_EQ(element.getMissingPrototypeNames(), std::vector<tavo::String>{u"Plant.Pump"});
    EXPECT_ERROR(element.setPropVal(u"Plant.Pump.flow", u"3", u"*"), "Velmora:Property:ErrorSettingPropertyValue");
    EXPECT_ERROR(element.getPropertySet(u"Plant.Pump").getPropertySet(), "Velmora:Property:UnresolvedPropertySet",
                 u"Plant.Pump");
    EXPECT_ERROR(element.findPropertyUsage(u"Plant.Pump.flow").getPropertyDef(),
                 "Velmora:Property:UnresolvedPropertyDefinition", u"flow");
    reported();
    EXPECT_ERROR(again.profiles().removeProfile(u"Plant"), "Velmora:Profile:RemoveProfileFailed", u"Plant");
    EXPECT_EQ(reported(), std::vector<std::string>{"Velmora:qkFixitWorkflows:ProfileOutdated"});
    again.synchronize();
    const auto copy = element.clone(again.model(), {}).cast<Component>();
    copy.setName(u"Spare");
    copy.reparent(Architecture::getArchitecture(again.model()));
    again.save();
  }
  std::filesystem::rename(file("away.xml"), file("Plant.xml"));
  const auto again = ModelFile::open(file("plant.xml"));
  const auto spare = Architecture::getArchitecture(again.model()).findElement(u"Spare").cast<Component>();
  for (const auto& element : {pumpIn(again), spare}) {
    EXPECT_EQ(valueOf(element, u"Plant.Pump.flow"), "2 m^3/s");
    EXPECT_TRUE(element.hasPrototype(u"Plant.Machine"));
  }
  EXPECT_FALSE(again.differences().hasDifferences());
}

TEST_F(ModelFileTest, WhatOthersWroteIsNotOverwritten) {
  auto first = ModelFile::open(file("plant.xml"));
  auto second = ModelFile::open(file("plant.xml"));
  pumpIn(first).setPropVal(u"Plant.Pump.flow", u"3", u"*");
  first.save();
  EXPECT_FALSE(first.isDirty());
  pumpIn(second).setPropVal(u"Plant.Pump.flow", u"4", u"*");
  EXPECT_ERROR(second.save(), "tavo:io:FileChangedOnDisk");
  EXPECT_TRUE(second.isDirty());
  EXPECT_EQ(valueOf(pumpIn(ModelFile::open(file("plant.xml"))), u"Plant.Pump.flow"), "3 m^3/s");
}

TEST_F(ModelFileTest, AModelIsCalledLikeTheFileThatItIsIn) {
  EXPECT_ERROR_UNCHANGED(model(), modelFile.saveAs(file("nowhere") / "other.xml"), "tavo:io:CannotWrite");
  EXPECT_EQ(modelFile.path(), file("plant.xml"));
  EXPECT_EQ(model().name(), u"plant");
  modelFile.saveAs(file("other.xml"));
  EXPECT_EQ(model().name(), u"other");
  EXPECT_EQ(ModelFile::open(file("other.xml")).model().name(), u"other");

  ModelFile::create(u"fresh").save();
  EXPECT_TRUE(std::filesystem::exists(workingFolder() / "fresh.xml"));
}

TEST_F(ModelFileTest, OnlyModelsAreOpened) {
  EXPECT_ERROR(ModelFile::open(file("Plant.xml")), "Velmora:Architecture:NotAnArchitectureModel");
  EXPECT_ERROR(ModelFile::open(file("nowhere.xml")), "tavo:io:FileNotFound");
}

} // namespace
} // namespace zelkor
