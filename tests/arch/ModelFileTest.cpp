// Models in files, with profiles there, changed and missing.
#include "tests/arch/ModelFixture.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/profile/ProfileUseChecker.h"
#include "zelkor/services/ProxySource.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

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

TEST_F(ModelFileTest, IdentitiesThatNoLongerFollowFromThePlaceComeBack) {
  const auto requireSameAgain = [&] {
    modelFile.save();
    const auto again = ModelFile::open(file("plant.xml"));
    EXPECT_EQ(tavo::modelText(again.model()), tavo::modelText(model()));
    EXPECT_EQ(pumpIn(again).getPrototypeNames(), pump.getPrototypeNames());
    EXPECT_FALSE(again.differences().hasDifferences() || again.isDirty() || again.model().canUndo());
    checkInvariants(again.model());
  };
  requireSameAgain();
  pump.applyPrototype(stereotype(u"Machine"));
  const auto machine = pump.prototypeProxy()[1].Uuid();
  pump.removePrototype(stereotype(u"Pump"));
  EXPECT_EQ(pump.prototypeProxy()[0].Uuid(), machine);
  requireSameAgain();

  pump.applyPrototype(stereotype(u"Pump")); // where an identity would follow that the other one has
  pump.setPropVal(u"Plant.Pump.flow", u"3", u"*");
  requireSameAgain();

  const auto usage = pump.findPropertyUsage(u"Plant.Pump.flow");
  const auto entry = usage.p_ValueTable().p_Entries().find(pump.Uuid());
  pump.clearPropVal(u"Plant.Pump.flow");
  pump.setPropVal(u"Plant.Pump.flow", u"4", u"*");
  EXPECT_TRUE(model().undo());
  EXPECT_TRUE(model().undo());
  EXPECT_TRUE(entry);
  requireSameAgain();
}

TEST_F(ModelFileTest, FilesHaveTheSizesThatWereReviewed) {
  const auto size = [&] { return std::to_string(tavo::modelText(model()).toUtf8().size()); };
  std::string listing = "# Bytes of a file with these elements.\n";
  std::vector<Component> components;
  for (int i = 0; i < 10; ++i)
    components.push_back(hall.addComponent(tavo::String::fromUtf8("c" + std::to_string(i))));
  listing += "10 more components = " + size() + "\n";
  for (const auto& component : components)
    for (const auto* name : {u"Pump", u"Machine"})
      component.applyPrototype(stereotype(name));
  listing += "of 2 stereotypes each = " + size() + "\n";
  for (const auto& component : components)
    for (const auto* name : {u"Plant.Machine.power", u"Plant.Machine.slots"})
      component.setPropVal(name, u"3", u"*");
  listing += "with 2 values of their own each = " + size() + "\n";

  const std::string path = ZELKOR_TEST_DATA "/sizes.txt";
  if (std::getenv("ZELKOR_UPDATE"))
    std::ofstream(path) << listing;
  std::ostringstream reviewed;
  reviewed << std::ifstream(path).rdbuf();
  EXPECT_EQ(listing, reviewed.str()) << "run this test with ZELKOR_UPDATE=1 and review what has grown";
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

    auto other = ModelFile::create(u"other");
    const auto elsewhere = element.clone(other.model(), {}).cast<Component>();
    elsewhere.reparent(Architecture::createArchitecture(other.model(), u"Other"));
    other.synchronize();
    EXPECT_EQ(valueOf(elsewhere, u"Plant.Pump.flow"), "2 m^3/s");
    EXPECT_EQ(elsewhere.getMissingPrototypeNames(), std::vector<tavo::String>{u"Plant.Pump"});
    other.saveAs(file("other.xml"));
  }
  std::filesystem::rename(file("away.xml"), file("Plant.xml"));
  const auto again = ModelFile::open(file("plant.xml"));
  const auto spare = Architecture::getArchitecture(again.model()).findElement(u"Spare").cast<Component>();
  for (const auto& element : {pumpIn(again), spare}) {
    EXPECT_EQ(valueOf(element, u"Plant.Pump.flow"), "2 m^3/s");
    EXPECT_TRUE(element.hasPrototype(u"Plant.Machine"));
  }
  EXPECT_FALSE(again.differences().hasDifferences());

  auto other = ModelFile::open(file("other.xml"));
  other.profiles().addProfile(u"Plant", false);
  const auto elsewhere = Architecture::getArchitecture(other.model()).findElement(u"Main").cast<Component>();
  EXPECT_TRUE(elsewhere.hasPrototype(u"Plant.Machine"));
  EXPECT_EQ(valueOf(elsewhere, u"Plant.Pump.flow"), "2 m^3/s");
  EXPECT_FALSE(other.checkProfiles().hasDifferences());
}

TEST_F(ModelFileTest, AProfileThatWasRenamedOnDiskIsFoundByItsNewName) {
  catalog().unloadAllProfiles();
  std::filesystem::rename(file("Plant.xml"), file("Works.xml"));
  {
    auto again = ModelFile::open(file("plant.xml"));
    EXPECT_EQ(again.differences().p_MissingProfiles(), std::vector<tavo::String>{u"Plant"});
    again.profiles().addProfile(u"Works", false);
    EXPECT_EQ(again.profiles().getProfiles().size(), 1u);
    EXPECT_EQ(again.profiles().p_PropertySets().size(), 2u) << "those that there were";
    again.synchronize();
    EXPECT_FALSE(again.differences().hasDifferences());
    EXPECT_EQ(valueOf(pumpIn(again), u"Works.Pump.flow"), "2 m^3/s");
    EXPECT_EQ(pumpIn(again).getPrototypeNames(), std::vector<tavo::String>{u"Works.Pump"});
    EXPECT_TRUE(again.model().undo());
    EXPECT_TRUE(again.model().undo());
    checkInvariants(again.model());
  }
  // The same when the profile is at hand under its new name already.
  auto again = ModelFile::open(file("plant.xml"));
  EXPECT_TRUE(again.differences().p_MissingProfiles().empty());
  again.synchronize();
  again.save();
  catalog().unloadAllProfiles();
  again = ModelFile::open(file("plant.xml"));
  EXPECT_FALSE(again.differences().hasDifferences());
  EXPECT_EQ(valueOf(pumpIn(again), u"Works.Pump.flow"), "2 m^3/s");
}

TEST_F(ModelFileTest, AProfileThatWasGivenUpIsFoundAgain) {
  catalog().unloadAllProfiles();
  std::filesystem::rename(file("Plant.xml"), file("away.xml"));
  auto again = ModelFile::open(file("plant.xml"));
  again.profiles().synchronizePostLoad(again.differences());
  std::filesystem::rename(file("away.xml"), file("Plant.xml"));
  again.profiles().addProfile(u"Plant", false);
  EXPECT_FALSE(again.checkProfiles().hasDifferences());
  EXPECT_TRUE(pumpIn(again).hasPrototype(u"Plant.Machine"));
  EXPECT_EQ(valueOf(pumpIn(again), u"Plant.Pump.flow"), "2 m^3/s");
  pumpIn(again).setPropVal(u"Plant.Pump.flow", u"3", u"*");
  again.profiles().removeProfile(u"Plant");
  EXPECT_TRUE(pumpIn(again).getPropertySetNames().empty());
  checkInvariants(again.model());
}

TEST_F(ModelFileTest, AnotherProfileOfTheNameTakesOverWhenItIsImported) {
  catalog().unloadAllProfiles();
  std::filesystem::rename(file("Plant.xml"), file("away.xml"));
  plant = profile::Profile::newProfile(u"Plant");
  define(add(plant, u"Pump"), u"flow", u"double", u"7", u"l/s");
  save(plant);
  {
    auto again = ModelFile::open(file("plant.xml"));
    EXPECT_EQ(again.differences().p_MissingProfiles(), std::vector<tavo::String>{u"Plant"});
    EXPECT_EQ(valueOf(pumpIn(again), u"Plant.Pump.flow"), "2 m^3/s");
    plant.setName(u"Other"); // is nothing to a model that means another one
    plant.setName(u"Plant");
    pumpIn(again).setName(u"Main2");
    again.save();

    again.profiles().addProfile(u"Plant", false);
    const auto main = Architecture::getArchitecture(again.model()).findElement(u"Hall/Main2");
    EXPECT_EQ(main.getPrototypes(), std::vector{stereotype(u"Pump")});
    EXPECT_EQ(valueOf(main, u"Plant.Pump.flow"), "2 m^3/s");
    EXPECT_EQ(main.getPropertySetNames(), std::vector<tavo::String>{u"Plant.Pump"});
    checkInvariants(again.model());
  }
  catalog().unloadAllProfiles();
  std::filesystem::rename(file("away.xml"), file("Plant.xml"));
  auto again = ModelFile::open(file("plant.xml"));
  EXPECT_FALSE(again.differences().hasDifferences());
  const auto main = Architecture::getArchitecture(again.model()).findElement(u"Hall/Main2");
  EXPECT_EQ(valueOf(main, u"Plant.Pump.flow"), "2 m^3/s");
  EXPECT_TRUE(main.hasPrototype(u"Plant.Machine"));
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
  auto text = contentOf(file("plant.xml"));
  const auto from = text.find("<initialValue");
  write(file("part.xml"), text.erase(from, text.find("/>", from) + 2 - from));
  EXPECT_ERROR(ModelFile::open(file("part.xml")), "Velmora:Architecture:IncompleteModel");
  EXPECT_ERROR(ModelFile::open(file("nowhere.xml")), "tavo:io:FileNotFound");
}

} // namespace
} // namespace zelkor
