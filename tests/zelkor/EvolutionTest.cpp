// Types of profiles through the releases: down to each, and up again.
#include "tests/zelkor/ProfileFixture.h"

#include "tavo/core/Utf.h"
#include "zelkor/evolution/Evolver.h"
#include "zelkor/evolution/ReleaseRegistry.h"
#include "zelkor/property/ValueType.h"

namespace zelkor::profile {
namespace {

using property::evolution::Evolver;
using property::evolution::ReleaseRegistry;

class EvolutionTest : public ProfileFixture {};

TEST_F(EvolutionTest, BuiltInTypesOfAReleaseThatTheProfileLacksAreMade) {
  auto profile = Profile::newProfile(u"Plant");
  const auto set = profile.addPrototype(u"Pump", u"zelkor.Component", {}).getPropertySet();
  set.addProperty(u"stages", u"int8");
  set.addProperty(u"tags", u"stringArray");
  for (const auto& type : profile.valueTypes().toVector())
    if (type.getName() == u"int32" || type.getName() == u"string")
      type.destroy();
  std::vector<tavo::evolution::Loss> losses;
  const tavo::String present(ReleaseRegistry::releases().back().release);
  const auto old = Evolver::evolve(present, u"Plover", tavo::modelText(profile.model()), {}, &losses);
  EXPECT_EQ(losses, (std::vector<tavo::evolution::Loss>{{"Plant.Pump.tags", "the type stringArray", "becomes string"},
                                                        {"Plant.Pump.stages", "the type int8", "becomes int32"}}));
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
    write(file("Station.xml"),
          tavo::toUtf8(Evolver::evolve(u"Avocet", tavo::String(release.release), text(content), {})));
    const auto crew = Profile::loadFromFile(u"Station").propertySets().find(u"Crew");
    EXPECT_EQ(crew.getPropertyByName(u"heads").type().getName(), u"Weight") << tavo::toUtf8(release.release);
    catalog().unloadAllProfiles();
  }
}

} // namespace
} // namespace zelkor::profile
