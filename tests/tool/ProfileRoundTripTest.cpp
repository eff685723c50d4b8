// Profiles that were made through the library, described as text and built again.
#include "tools/zelkor/text/ProfileBuilder.h"
#include "tools/zelkor/text/ProfileDescriber.h"
#include "tools/zelkor/text/ProfileReader.h"
#include "tools/zelkor/text/ProfileWriter.h"

#include "tavo/xml/ModelXml.h"
#include "zelkor/profile/DefaultStereotypeMap.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/profile/Tag.h"
#include "zelkor/property/FloatType.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/Value.h"
#include "zelkor/services/ModelIdentifier.h"

#include <gtest/gtest.h>

#include <random>

namespace zelkor::text {
namespace {

using profile::Profile;
using tavo::String;

class ProfileRoundTrip : public ::testing::Test {
protected:
  ProfileRoundTrip() {
    auto parts = kavra::standaloneParts();
    classes = std::make_shared<kavra::StandaloneClassRegistry>(parts.searchPath);
    parts.classes = classes;
    parts.workspaces = std::make_shared<kavra::StandaloneWorkspaces>(classes);
    host = std::make_unique<kavra::ScopedHost>(std::make_shared<kavra::Host>(std::move(parts)));
    classes->defineEnumeration({u"Hue", {{u"Red", 3}, {u"Green", 7}}, 2});
  }
  ~ProfileRoundTrip() override { Profile::unload(u"all"); }

  /// Describes, writes, reads and builds; the result must be the model again.
  void expectComesBack(const tavo::Model& model) {
    Findings findings("P.toml");
    std::string written;
    try {
      written = writeProfileText(describeProfile(model, "P.xml", *classes));
    } catch (const tavo::Error& error) {
      FAIL() << error.what();
    }
    auto read = readProfileText(written, "P.toml", findings);
    auto built = buildProfile(read, {}, *classes, findings);
    for (auto& finding : findings.sorted())
      ADD_FAILURE() << finding.line() << "\n" << written;
    ASSERT_TRUE(built);
    EXPECT_EQ(tavo::modelText(built).toUtf8(), tavo::modelText(model).toUtf8()) << written;
  }

  std::shared_ptr<kavra::StandaloneClassRegistry> classes;
  std::unique_ptr<kavra::ScopedHost> host;
};

TEST_F(ProfileRoundTrip, KeepsWhatDoesNotFollowFromNames) {
  auto other = Profile::newProfile(u"Other");
  auto base = other.addPrototype(u"Base", u"zelkor.Component", {});
  auto profile = Profile::newProfile(u"P");
  profile.setDescription(u"one \"quoted\"\ntwo\t\u2028");
  profile.setExternalUID(u"");
  auto kind = profile.addPrototype(u"Kind", u"Other.Base", {u"Component", u"Special"});
  auto first = profile.addPrototype(u"Aaa", {}, {});
  kind.defaultStereotypeMap().setPortDefault(first);
  kind.defaultStereotypeMap().setArchitectureDefault(base);
  profile.setDefaultPrototype(kind);
  auto set = kind.getPropertySet();
  auto hue = set.addProperty(u"hue", u"Hue");
  hue.setDefaultPropertyValue(u"Hue.Red", u"*");
  auto length = set.addProperty(u"length", u"double");
  length.setUnit(u"m");
  length.setMin(kavra::HostArray::scalar(-0.0));
  length.setDefaultPropertyValue(u"[1,2 ; 3,4]", u"*");
  length.defaultValue().setUnits(u"km");
  set.addProperty(u"gone", u"int8");
  set.moveProperty(2, 0);
  set.removeProperty(u"gone");
  set.renameProperty(u"hue", u"colour");
  first.setName(u"Zzz");
  profile.addTag(u"tag").setDescription(u"''");
  expectComesBack(profile.model());
}

TEST_F(ProfileRoundTrip, KeepsWhatNoEditorMakes) {
  auto profile = Profile::newProfile(u"P");
  const std::u16string halfPair(1, char16_t(0xD800));
  profile.setDescription(halfPair + u"\\ 1\u00e9");
  auto stereotype = profile.addPrototype(u"Aaa", {}, {u"Component"});
  stereotype.setComponentHeaderColor(profile::RGBValueStruct{256, 0, 4294967295});
  auto set = stereotype.getPropertySet();
  set.createBuiltInTypes();
  set.addProperty(u"own", u"double").setType(set.valueTypes().find(u"uint8"));
  set.addProperty(u"note", u"string").setDefaultPropertyValue(u"'" + halfPair + u"'", u"*");
  set.addProperty(u"hue", u"Hue").setDefaultPropertyValue(u"'Green'", u"*");
  classes->defineEnumeration({u"Hue", {{u"Red", 3}}, 1}); // the default is none of its members any more
  profile.addPropertySet(u"Free").createBuiltInTypes();
  auto types = profile.valueTypes().toVector();
  types[2].destroy();
  auto& feature = profile.objectClass().property("valueTypes");
  profile.object().remove(feature, types[0].get());
  profile.object().add(feature, types[0].get(), 5);
  auto identifier = profile.model().findTopLevel<services::proxy::ModelIdentifier>();
  services::proxy::ModelIdentifier::create(profile.model());
  expectComesBack(profile.model());
  identifier.destroy();
  expectComesBack(profile.model());
}

TEST_F(ProfileRoundTrip, NeedsNothingButTheProfileItself) {
  auto other = Profile::newProfile(u"Other");
  auto base = other.addPrototype(u"Base", {}, {});
  auto type = property::FloatType::makeFloatType(other.model());
  type.setName(u"Mass");
  type.setBaseType(other.valueTypes().toVector()[9]);
  type.setMax(10);
  type.setUnits(u"kg");
  other.object().add(other.objectClass().property("valueTypes"), type.get());
  auto profile = Profile::newProfile(u"P");
  auto kind = profile.addPrototype(u"Kind", u"Other.Base", {});
  auto set = kind.getPropertySet();
  set.addProperty(u"mass", u"Other.Mass").setMax(kavra::HostArray::scalar(5.0));
  set.addProperty(u"hue", u"Hue").setDefaultPropertyValue(u"Hue.Red", u"*");
  const auto before = tavo::modelText(profile.model());

  Profile::unload(u"Other");
  classes->removeClass(u"Hue");
  auto written = writeProfileText(describeProfile(profile.model(), "P.xml", *classes));
  EXPECT_EQ(tavo::modelText(profile.model()), before);
  EXPECT_NE(written.find("parent = \"Other.Base\""), std::string::npos) << written;
  EXPECT_NE(written.find("type = \"Other.Mass\""), std::string::npos) << written;
  EXPECT_NE(written.find("type = \"Hue\""), std::string::npos) << written;
  EXPECT_EQ(written.find("[[enumeration]]"), std::string::npos) << written;
}

/// One random change of a profile, as an editor makes it; what the library refuses is no change.
void change(const Profile& profile, std::mt19937& random) {
  auto below = [&](std::size_t count) { return static_cast<std::uint32_t>(random() % count); };
  auto name = [&] { return String(std::u16string(1, static_cast<char16_t>(u'a' + below(12)))); };
  auto stereotypes = profile.prototypes().toVector();
  try {
    if (stereotypes.empty() || below(6) == 0) {
      profile.addPrototype(name(), {}, {u"Component"});
      return;
    }
    auto stereotype = stereotypes[below(stereotypes.size())];
    auto set = stereotype.getPropertySet();
    auto definition = set.getPropertyByIndex(below(4));
    constexpr const char16_t* types[] = {u"double", u"int8", u"string", u"boolean", u"Hue", u"stringArray", u"single"};
    constexpr const char16_t* texts[] = {u"1", u"1.5", u"'text'", u"true", u"[1 2]", u"{'a'}", u"2*pi", u"'Red'", u""};
    switch (below(13)) {
    case 0:
      stereotype.setName(name());
      break;
    case 1:
      stereotype.setParent(stereotypes[below(stereotypes.size())]);
      break;
    case 2:
      set.removeProperty(name());
      break;
    case 3:
      set.moveProperty(below(4), below(4));
      break;
    case 4:
      stereotype.setIcon(static_cast<profile::PrototypeIcon>(below(14)));
      break;
    case 5:
      set.addProperty(name(), types[below(std::size(types))]);
      break;
    case 6:
      if (definition)
        definition.setDefaultPropertyValue(texts[below(std::size(texts))], below(2) ? u"*" : u"m");
      break;
    case 7:
      if (definition)
        definition.setBaseType(types[below(std::size(types))]);
      break;
    case 8:
      if (definition)
        definition.setDimensions(std::vector<std::uint64_t>(below(3), below(3)));
      break;
    case 10:
      stereotype.setDescription(std::u16string(1, static_cast<char16_t>(0xD7F0 + below(0x900))));
      break;
    case 11:
      stereotype.setConnectorLineColor(profile::RGBValueStruct{below(300), below(300), below(300)});
      break;
    case 12:
      stereotype.defaultStereotypeMap().insertDefault(below(2) ? u"port" : u"odd", stereotypes.front());
      break;
    default:
      if (definition)
        definition.setMax(kavra::HostArray::scalar(static_cast<double>(below(100))));
    }
  } catch (const tavo::Error&) {
    // The editor would tell its user.
  }
}

TEST_F(ProfileRoundTrip, HoldsForRandomHistories) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    auto profile = Profile::newProfile(u"P");
    for (int step = 0; step < 60; ++step)
      change(profile, random);
    expectComesBack(profile.model());
    Profile::unload(u"P");
    if (HasFatalFailure())
      return;
  }
}

/// A document that somebody has edited by hand, or that a disk has spoiled.
std::u16string edited(std::u16string_view document, std::mt19937& random) {
  auto below = [&](std::size_t count) { return random() % count; };
  std::u16string result(document);
  auto lineAt = [&](std::size_t place) {
    auto start = document.rfind(u'\n', place) + 1;
    return document.substr(start, document.find(u'\n', place) - start + 1);
  };
  auto valueAt = [&](std::size_t place) {
    auto start = document.find(u"=\"", place);
    return start == document.npos ? document.substr(document.size())
                                  : document.substr(start + 2, document.find(u'"', start + 2) - start - 2);
  };
  auto line = lineAt(below(document.size() - 1));
  auto start = static_cast<std::size_t>(line.data() - document.data());
  auto value = valueAt(below(document.size()));
  switch (below(6)) {
  case 0:
    return result.erase(start, line.size());
  case 1:
    return result.insert(start, lineAt(below(document.size() - 1)));
  case 2:
    return result.replace(static_cast<std::size_t>(value.data() - document.data()), value.size(),
                          std::u16string(valueAt(below(document.size()))));
  case 3:
    return result.replace(static_cast<std::size_t>(value.data() - document.data()), value.size(), u"");
  case 4:
    return result.substr(0, below(document.size()));
  default:
    result[below(document.size())] = static_cast<char16_t>(below(0x80));
    return result;
  }
}

TEST_F(ProfileRoundTrip, HoldsForEditedFilesOrTheyAreRefused) {
  int described = 0;
  for (unsigned seed = 1; seed <= 800; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    auto profile = Profile::newProfile(u"P");
    for (unsigned step = 0; step < 10 + seed % 20; ++step)
      change(profile, random);
    auto document = edited(tavo::modelText(profile.model()), random);
    Profile::unload(u"P");
    auto model = tavo::Model::create();
    try {
      tavo::readModel(document, "P.xml", model);
      describeProfile(model, "P.xml", *classes);
    } catch (const tavo::Error&) {
      continue;
    }
    expectComesBack(model);
    ++described;
    if (HasFailure())
      return;
  }
  EXPECT_GT(described, 40);
}

} // namespace
} // namespace zelkor::text
