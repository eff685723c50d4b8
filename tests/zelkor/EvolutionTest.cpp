// Profiles through the releases: down to each, and up again.
#include "tests/zelkor/ProfileFixture.h"

#include "tavo/core/Utf.h"
#include "tavo/evolution/History.h"
#include "zelkor/evolution/Evolver.h"
#include "zelkor/evolution/ReleaseRegistry.h"
#include "zelkor/profile/Tag.h"
#include "zelkor/property/ValueType.h"

namespace zelkor::profile {
namespace {

using property::evolution::Evolver;
using property::evolution::ReleaseRegistry;

class EvolutionTest : public ProfileFixture {
protected:
  /// A profile with everything that all releases know.
  Profile plain() {
    auto profile = Profile::newProfile(u"Plant");
    auto pump = profile.addPrototype(u"Pump", u"zelkor.Component", {});
    const auto set = pump.getPropertySet();
    set.addProperty(u"speed", u"double").setDefaultPropertyValue(u"2*3", u"*");
    const auto stages = set.addProperty(u"stages", u"int32");
    stages.setMinAndMax(kavra::HostArray::scalar(std::int64_t{0}), kavra::HostArray::scalar(std::int64_t{12}));
    set.addProperty(u"label", u"string").setDefaultPropertyValue(u"'none'", u"*");
    set.moveProperty(2, 0);
    profile.addPrototype(u"FirePump", u"Plant.Pump", {});
    return profile;
  }
  tavo::String evolve(const tavo::String& from, const tavo::String& to, const tavo::String& input) {
    return Evolver::evolve(from, to, input, {}, &losses);
  }
  static std::vector<std::string> inWords(const std::vector<tavo::evolution::Loss>& all) {
    std::vector<std::string> words;
    for (const auto& loss : all)
      words.push_back(loss.object + ": " + loss.what + " " + loss.effect);
    return words;
  }

  std::vector<tavo::evolution::Loss> losses;
};

TEST_F(EvolutionTest, ReleasesHaveVersions) {
  const auto versionOf = [](const tavo::String& release) {
    return ReleaseRegistry::getFamilyVersionForKavraRelease(release);
  };
  EXPECT_EQ(versionOf(u"Plover"), u"Plover");
  EXPECT_EQ(versionOf(u"Thrush"), u"2.2");
  EXPECT_EQ(versionOf(u"Oriole"), u"2.6");
  EXPECT_EQ(versionOf(u"Avocet"), u"2.8");
  EXPECT_EQ(versionOf(u"Dodo"), u"");
  EXPECT_EQ(versionOf(u"Dodo"), u"");
  // Each release writes versions that there are.
  const auto exist = [](const char* family, const std::vector<FamilyRelease>& releases) {
    for (const auto& each : releases)
      EXPECT_NE(tavo::evolution::findFamily(family)->find(tavo::toUtf8(each.version)), tavo::evolution::noVersion)
          << family << ' ' << tavo::toUtf8(each.version);
  };
  exist("zelkor_property", ReleaseRegistry::releases());
  exist("zelkor_services_proxy", services::proxy::evolution::ReleaseRegistry::releases());
}

TEST_F(EvolutionTest, WhatAllReleasesKnowComesBack) {
  const auto present = tavo::modelText(plain().model());
  for (const auto& [release, version] : ReleaseRegistry::releases()) {
    SCOPED_TRACE(tavo::toUtf8(release));
    const auto old = evolve(u"Avocet", tavo::String(release), present);
    EXPECT_EQ(inWords(losses), std::vector<std::string>{});
    const auto again = evolve(tavo::String(release), u"Avocet", old);
    EXPECT_EQ(tavo::toUtf8(evolve(u"Avocet", tavo::String(release), again)), tavo::toUtf8(old));
    if (release != u"Avocet")
      continue;
    EXPECT_EQ(tavo::toUtf8(again), tavo::toUtf8(present));
  }
}

TEST_F(EvolutionTest, BuiltInTypesOfAReleaseThatTheProfileLacksAreMade) {
  auto profile = Profile::newProfile(u"Plant");
  const auto set = profile.addPrototype(u"Pump", u"zelkor.Component", {}).getPropertySet();
  set.addProperty(u"stages", u"int8");
  set.addProperty(u"tags", u"stringArray");
  for (const auto& type : profile.valueTypes().toVector())
    if (type.getName() == u"int32" || type.getName() == u"string")
      type.destroy();
  const auto old = evolve(u"Avocet", u"Plover", tavo::modelText(profile.model()));
  EXPECT_EQ(inWords(losses), (std::vector<std::string>{"Plant.Pump.tags: the type stringArray becomes string",
                                                       "Plant.Pump.stages: the type int8 becomes int32"}));
  const auto again = tavo::Model::create();
  tavo::readModel(old, "Plant.xml", again);
  const auto properties = Profile::getProfile(again).prototypes().find(u"Pump").getPropertySet();
  EXPECT_EQ(properties.getPropertyByName(u"stages").type().getName(), u"int32");
  EXPECT_EQ(properties.getPropertyByName(u"tags").type().getName(), u"string");
  again.destroy();
}

TEST_F(EvolutionTest, PropertiesKeepTheTypesOfTheirSets) {
  const auto folder = fs::path(ZELKOR_TEST_DATA) / "../../data/releases/Avocet";
  fs::copy_file(folder / "Dock.xml", file("Dock.xml"));
  auto content = contentOf(folder / "Station.xml");
  const auto replace = [&](const std::string& old, const std::string& fresh) {
    ASSERT_NE(content.find(old), content.npos);
    content.replace(content.find(old), old.size(), fresh);
  };
  replace("Name=\"heads\" typeProxy=\"uint8\"", "Name=\"heads\" typeProxy=\"weight\"");
  replace("<defaultValue valueTypeProxy=\"uint8\"", "<defaultValue valueTypeProxy=\"weight\"");
  replace("as=\"uint8\" targetId=\"12000000-0000-4000-8000-000000000019\" "
          "targetClassId=\"6ba16f5c-cdb1-3795-b773-7f1fb45c073b\" targetName=\"Station.uint8\"",
          "as=\"weight\" targetId=\"12000000-0000-4000-8000-000000000032\" "
          "targetClassId=\"f5adcdf6-ef94-33a0-8be5-393d290530c6\" targetName=\"Station.Crew.Weight\"");
  for (const auto& release : ReleaseRegistry::releases()) {
    write(file("Station.xml"), tavo::toUtf8(evolve(u"Avocet", tavo::String(release.release), text(content))));
    const auto crew = Profile::loadFromFile(u"Station").propertySets().find(u"Crew");
    EXPECT_EQ(crew.getPropertyByName(u"heads").type().getName(), u"Weight") << tavo::toUtf8(release.release);
    catalog().unloadAllProfiles();
  }
}

} // namespace
} // namespace zelkor::profile
