// Files of old releases that are after time or memory: what they make the reader do grows with their size and no
// faster. A few megabytes would take hours otherwise, or all the memory that there is.
#include "tests/zelkor/ProfileFixture.h"

#include "tavo/core/Errors.h"
#include "zelkor/evolution/Evolver.h"

namespace zelkor::profile {
namespace {

class HostileFilesTest : public ProfileFixture {
protected:
  static std::string identity(std::size_t number) {
    const auto digits = std::to_string(number);
    return "22222222-0000-4000-8000-" + std::string(12 - digits.size(), '0') + digits;
  }
  /// A profile of the first release: the example, with other content.
  std::string old(const std::string& content) const {
    const auto example = contentOf(fs::path(ZELKOR_TEST_DATA) / "../../data/releases/Plover/Plant.xml");
    const auto head = example.find("<Profile uuid");
    EXPECT_NE(head, example.npos);
    return example.substr(0, head) + "<Profile uuid=\"" + identity(0) + "\" Name=\"Hostile\">" + content +
           "</Profile></objects></tavo>";
  }
  /// Its only stereotype, with so many properties.
  static std::string properties(std::size_t count, const std::string& name, const std::string& type) {
    std::string all =
        "<stereotypes uuid=\"" + identity(1) + "\" Name=\"S\"><propertySet uuid=\"" + identity(2) + "\" Name=\"S\">";
    const auto end = "\" Name=\"" + name + "\" valueType=\"" + type + "\"/>";
    for (std::size_t i = 0; i < count; ++i)
      all.append("<properties uuid=\"").append(identity(10 + i)).append(end);
    return all + "</propertySet></stereotypes>";
  }
  static std::string type(const std::string& name) {
    return "<valueTypes class=\"FloatType\" uuid=\"" + identity(3) + "\" as=\"t\" Name=\"" + name + "\"/>";
  }
};

constexpr std::size_t many = 50'000;

TEST_F(HostileFilesTest, PropertiesOfOneNameAllGetTheirOwn) {
  write(file("Hostile.xml"), old(type("double") + properties(many, "a", "t")));
  const auto set = Profile::loadFromFile(text(file("Hostile.xml"))).prototypes().front().getPropertySet();
  EXPECT_EQ(set.getAllProperties().size(), many);
  EXPECT_TRUE(set.properties().find(text("a_" + std::to_string(many))));
}

TEST_F(HostileFilesTest, ALongNameIsKeptOnceHoweverManyLeadToIt) {
  const auto content = old(type(std::string(5'000'000, 'x')) + properties(many, "a", "t"));
  write(file("Hostile.xml"), content);
  const auto profile = Profile::loadFromFile(text(file("Hostile.xml")));
  EXPECT_EQ(profile.prototypes().front().getPropertySet().getAllProperties().size(), many);
  // Files of some releases say it again for each.
  EXPECT_ERROR(property::evolution::Evolver::evolve(u"Plover", u"Thrush", text(content), {}),
               "tavo_evo:messages:FileGrowsTooLarge");
}

TEST_F(HostileFilesTest, LinesOfAncestorsEndSomewhere) {
  std::string line;
  for (std::size_t i = 0; i < many; ++i)
    line += "<stereotypes uuid=\"" + identity(10 + i) + "\" Name=\"S" + std::to_string(i) + "\"" +
            (i == 0 ? "" : " parent=\"" + identity(9 + i) + "\"") + "/>";
  write(file("Hostile.xml"), old(line));
  Profile::loadFromFile(text(file("Hostile.xml")));
  ASSERT_EQ(diagnostics_->diagnostics.size(), 1u);
  EXPECT_EQ(diagnostics_->diagnostics.front().id, "Velmora:Profile:ErrorLoadingProfile");
}

TEST_F(HostileFilesTest, VersionsThatNoReleaseWroteTogetherAreRefused) {
  auto content = old("");
  const std::string_view proxies = "\"zelkor_services_proxy\" version=\"";
  content.insert(content.find("</families>"), "<family name=" + std::string(proxies) + "Plover\"/>");
  EXPECT_NO_THROW(property::evolution::Evolver::evolve(u"Plover", u"Avocet", text(content), {}));
  for (const char* version : {"Linnet", "1.0", "1.1"}) {
    auto mixed = content;
    mixed.replace(mixed.find(proxies) + proxies.size(), 6, version);
    write(file("Hostile.xml"), mixed);
    EXPECT_ERROR(Profile::loadFromFile(text(file("Hostile.xml"))), "tavo:messages:InvalidText") << version;
  }
}

TEST_F(HostileFilesTest, WhatPresentFilesMayNotSayOldOnesMayNotEither) {
  const std::string one = "<stereotypes uuid=\"" + identity(1) + "\" Name=\"S\"";
  const struct {
    const char* id;
    std::string content;
  } rows[] = {
      {"tavo:messages:InvalidText", "<stereotypes uuid=\"00000000-0000-0000-0000-000000000000\"/>"},
      {"tavo:messages:InvalidText",
       one + "><propertySet uuid=\"" + identity(2) + "\"/><propertySet uuid=\"" + identity(3) + "\"/></stereotypes>"},
      {"tavo:messages:InvalidText", one + "><appliesTo/><appliesTo/></stereotypes>"},
      {"tavo:messages:InvalidText", one + " parent=\"" + identity(0) + "\"/>"}, // which is the profile
      {"tavo:messages:DanglingReference", one + " parent=\"" + identity(9) + "\"/>"},
      {"tavo:messages:DuplicateIdentity", one + "/>" + one + "/>"},
  };
  for (const auto& row : rows) {
    EXPECT_ERROR(property::evolution::Evolver::evolve(u"Plover", u"Avocet", text(old(row.content)), {}), row.id);
    EXPECT_ERROR(tavo::readModel(text(old(row.content)), "old", tavo::Model::create()), row.id);
  }
}

} // namespace
} // namespace zelkor::profile
