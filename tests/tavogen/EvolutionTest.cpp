// The sample package through its versions: files of each are read, and written again.
#include "tavo/evolution/Evolution.h"
#include "sample/Bed.h"
#include "sample/Plant.impl.h"
#include "tavo/core/Errors.h"
#include "tavo/xml/ModelXml.h"
#include "tests/support/ErrorMatchers.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace sample {
namespace {

using tavo::evolution::EvolutionEngine;

/// A bed with a plant as the first version wrote it, when plants were herbs and had a size.
const std::string seedling = [] {
  std::ifstream file(ZELKOR_TEST_DATA "/seedling.xml");
  return std::string(std::istreambuf_iterator<char>(file), {});
}();

class EvolutionTest : public testing::Test {
protected:
  static std::string with(std::string text, std::string_view old, std::string_view fresh) {
    const auto at = text.find(old);
    EXPECT_NE(at, text.npos) << old;
    return text.replace(at, old.size(), fresh);
  }
  void read(const std::string& text, const tavo::ReadOptions& options = {}) {
    tavo::MemorySource source(text);
    tavo::readModel(source, "bed.xml", model, options);
  }
  static std::string bytesOf(const tavo::Model& model) {
    std::string bytes;
    tavo::MemorySink sink(bytes);
    tavo::writeModel(model, sink);
    return bytes;
  }
  std::string evolved(const std::string& text, const std::string& from, const std::string& to) {
    tavo::MemorySource source(text);
    engine = EvolutionEngine({{"sample", from, to}});
    std::string bytes;
    tavo::MemorySink sink(bytes);
    tavo::evolution::write(*engine.run(source, "bed.xml"), sink);
    return bytes;
  }

  tavo::Model model = tavo::Model::create();
  EvolutionEngine engine{{}};
};

TEST_F(EvolutionTest, FilesOfTheFirstVersionOpen) {
  std::vector<std::string> told;
  read(seedling, {.evolved = [&](auto family, auto version) {
         told.push_back(std::string(family) + " " + std::string(version));
       }});
  EXPECT_EQ(told, std::vector<std::string>{"sample Seedling"});
  const auto bed = model.findTopLevel<Bed>();
  const auto basil = bed.plants().find(u"Basil");
  ASSERT_TRUE(basil);
  EXPECT_EQ(basil.height(), 0.5);
  EXPECT_EQ(static_cast<Plant::Impl&>(basil.object()).getAliases(),
            (std::vector<tavo::String>{u"King", u"Saint & Joseph"}));
  EXPECT_TRUE(bed.favorites().contains(basil));
  tavo::checkInvariants(model);
}

TEST_F(EvolutionTest, DownAndUpAgainKeepsWhatBothVersionsKnow) {
  read(seedling);
  const auto present = bytesOf(model);
  const auto old = evolved(present, "1.3", "Seedling");
  EXPECT_TRUE(engine.account().losses().empty());
  EXPECT_EQ(old, seedling);
  EXPECT_EQ(evolved(old, "Seedling", "1.3"), present);
}

TEST_F(EvolutionTest, WhatAnOlderVersionDoesNotKnowIsLeftOutAndPutOnTheAccount) {
  read(seedling);
  const auto basil = model.findTopLevel<Bed>().plants().find(u"Basil");
  static_cast<Plant::Impl&>(basil.object()).setFamily(u"Lamiaceae");
  const auto present = bytesOf(model);
  EXPECT_EQ(evolved(present, "1.3", "1.1").find("Lamiaceae"), std::string::npos);
  ASSERT_EQ(engine.account().losses().size(), 1u);
  const auto& loss = engine.account().losses().front();
  EXPECT_EQ(loss.object + ": " + loss.what + " " + loss.effect, "Kitchen.Basil: family is left out");
}

TEST_F(EvolutionTest, WhatItsVersionDoesNotHaveIsRefused) {
  const std::string version = "version=\"Seedling\"";
  const std::string feature = R"(<feature name="size" id="5b1726cd-6fe6-3ab8-8f92-5b002d061f44"/>)";
  const struct {
    std::string text, id;
  } rows[] = {
      {with(seedling, version, "version=\"Sapling\""), "tavo_evo:messages:InvalidFamilyVersion"},
      {with(seedling, version, "version=\"1.4\""), "tavo_evo:messages:InvalidFamilyVersion"},
      {with(seedling, version, "version=\"\""), "tavo_evo:messages:InvalidFamilyVersion"},
      {with(seedling, version, "version=\"1.3\""), "tavo:messages:UnknownFeature"},
      {with(seedling, feature, feature + R"(<feature name="family" id="43c7d8a7-de84-344f-8a36-b194f2528cdf"/>)"),
       "tavo:messages:UnknownFeature"},
      {with(seedling, "favorites=\"00000000-0000-4000-8000-000000000002\"", "favorites=\"mint\""),
       "tavo:messages:DanglingReference"},
      {with(seedling, "size=\"0.5\"", "size=\"tall\""), "tavo:messages:InvalidText"},
      {with(seedling, " uuid=\"b08bf982-b105-3cd9-82d9-ff4bb7f911d4\"", ""), "tavo:messages:InvalidText"},
      {with(seedling, "uuid=\"b08bf982-b105-3cd9-82d9-ff4bb7f911d4\"", "uuid=\"00000000-0000-4000-8000-000000000001\""),
       "tavo:messages:DuplicateIdentity"},
  };
  for (const auto& row : rows) {
    EXPECT_ERROR(read(row.text), row.id);
    EXPECT_EQ(model.objectCount(), 0u);
  }
  EXPECT_ERROR(read(seedling, {.evolve = false}), "tavo_evo:messages:OldFamilyVersion");
}

} // namespace
} // namespace sample
