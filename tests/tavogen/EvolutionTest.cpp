// The sample package through its versions: files of each are read, and written again.
#include "tavo/evolution/Evolution.h"
#include "sample/Bed.h"
#include "sample/Plant.impl.h"
#include "tavo/core/Errors.h"
#include "tavo/xml/ModelXml.h"
#include "tests/support/ErrorMatchers.h"

#include <gtest/gtest.h>

namespace sample {
namespace {

using tavo::evolution::EvolutionEngine;

/// A bed with a plant as the first version wrote it, when plants were herbs and had a size.
const std::string seedling = R"(<?xml version="1.0" encoding="UTF-8"?>
<tavo format="1">
  <families>
    <family name="sample" version="Seedling" uri="http://schema.zelkor.example/tavo/sample/Seedling"/>
  </families>
  <dictionary>
    <class name="Bed" family="sample" id="BED">
      <feature name="Name" id="NAME"/>
      <feature name="plants" id="PLANTS"/>
      <feature name="favorites" id="FAVORITES"/>
    </class>
    <class name="Herb" family="sample" id="5d0d0f2e-4b5c-3f6a-8a55-0f5a3c1f9b10">
      <feature name="Name" id="NAME"/>
      <feature name="number" id="NUMBER"/>
      <feature name="size" id="HEIGHT"/>
      <feature name="nicknames" id="NICKNAMES"/>
    </class>
    <class name="Nickname" family="sample" id="NICKNAME">
      <feature name="Name" id="NAME"/>
    </class>
  </dictionary>
  <objects>
    <Bed uuid="00000000-0000-4000-8000-000000000001" Name="Kitchen" favorites="00000000-0000-4000-8000-000000000002">
      <plants uuid="00000000-0000-4000-8000-000000000002" Name="Basil" number="1" size="0.5">
        <nicknames uuid="UUID1" Name="King"/>
        <nicknames uuid="UUID2" Name="Saint &amp; Joseph"/>
      </plants>
    </Bed>
  </objects>
</tavo>
)";

class EvolutionTest : public testing::Test {
protected:
  static std::string filled(std::string text) {
    const auto idOf = [](std::string_view owner, std::string_view feature) {
      return tavo::toText(tavo::evolution::classNamed(owner).feature(feature).id);
    };
    const auto uuid = *tavo::parseUuid("00000000-0000-4000-8000-000000000002");
    for (const auto& [mark, value] : {std::pair{"\"BED\"", tavo::toText(Bed::metaClass().id())},
                                      {"\"NICKNAME\"", tavo::toText(tavo::evolution::classNamed("sample.Nickname").id)},
                                      {"\"NAME\"", idOf("sample.Plant", "Name")},
                                      {"\"PLANTS\"", idOf("sample.Bed", "plants")},
                                      {"\"FAVORITES\"", idOf("sample.Bed", "favorites")},
                                      {"\"NUMBER\"", idOf("sample.Plant", "number")},
                                      {"\"HEIGHT\"", idOf("sample.Plant", "height")},
                                      {"\"FAMILY\"", idOf("sample.Plant", "family")},
                                      {"\"NICKNAMES\"", idOf("sample.Plant", "nicknames")},
                                      {"\"UUID1\"", tavo::toText(tavo::nameUuid(uuid, "King"))},
                                      {"\"UUID2\"", tavo::toText(tavo::nameUuid(uuid, "Saint & Joseph"))}})
      for (auto at = text.find(mark); at != text.npos; at = text.find(mark))
        text.replace(at, std::strlen(mark), '"' + value + '"');
    return text;
  }
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
  read(filled(seedling), {.evolved = [&](auto family, auto version) {
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
  read(filled(seedling));
  const auto present = bytesOf(model);
  const auto old = evolved(present, "1.3", "Seedling");
  EXPECT_TRUE(engine.account().losses().empty());
  EXPECT_EQ(old, filled(seedling));
  EXPECT_EQ(evolved(old, "Seedling", "1.3"), present);
}

TEST_F(EvolutionTest, WhatAnOlderVersionDoesNotKnowIsLeftOutAndPutOnTheAccount) {
  read(filled(seedling));
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
  const std::string feature = R"(<feature name="size" id="HEIGHT"/>)";
  const struct {
    std::string text, id;
  } rows[] = {
      {with(seedling, version, "version=\"Sapling\""), "tavo_evo:messages:InvalidFamilyVersion"},
      {with(seedling, version, "version=\"1.4\""), "tavo_evo:messages:InvalidFamilyVersion"},
      {with(seedling, version, "version=\"\""), "tavo_evo:messages:InvalidFamilyVersion"},
      {with(seedling, version, "version=\"1.3\""), "tavo:messages:UnknownFeature"},
      {with(seedling, feature, feature + R"(<feature name="family" id="FAMILY"/>)"), "tavo:messages:UnknownFeature"},
      {with(seedling, "favorites=\"00000000-0000-4000-8000-000000000002\"", "favorites=\"mint\""),
       "tavo:messages:DanglingReference"},
      {with(seedling, "size=\"0.5\"", "size=\"tall\""), "tavo:messages:InvalidText"},
      {with(seedling, " uuid=\"UUID1\"", ""), "tavo:messages:InvalidText"},
      {with(seedling, "uuid=\"UUID1\"", "uuid=\"00000000-0000-4000-8000-000000000001\""),
       "tavo:messages:DuplicateIdentity"},
  };
  for (const auto& row : rows) {
    EXPECT_ERROR(read(filled(row.text)), row.id);
    EXPECT_EQ(model.objectCount(), 0u);
  }
  EXPECT_ERROR(read(filled(seedling), {.evolve = false}), "tavo_evo:messages:OldFamilyVersion");
}

} // namespace
} // namespace sample
