// Models of older releases.
#include "tests/arch/AskedNamespace.impl.h"
#include "tests/zelkor/ProfileFixture.h"

#include "arch/Architecture.h"
#include "arch/Component.h"
#include "zelkor/evolution/V1EvolutionData.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/meta/ValueStruct.h"
#include "zelkor/profile/PrototypeToPrototypableCache.h"
#include "zelkor/property/PropertyDefinition.h"

namespace asked {

void AskedNamespace::Impl::proccessMigrationFromV1() {
  Base::proccessMigrationFromV1();
  setP_LostInMigration(getP_LostInMigration() + 1);
}

} // namespace asked

namespace zelkor {
namespace {

namespace fs = std::filesystem;
using profile::text;

class OldFilesTest : public profile::ProfileFixture {
protected:
  /// A file of the first release, as it was typed, in the folder of the test.
  fs::path bring(const fs::path& place) {
    const auto path = file(place.filename().string());
    fs::copy_file(fs::path(ZELKOR_TEST_DATA) / "../../data/releases/Plover" / place, path);
    return path;
  }
};

// Properties of a set stood in a list, which let several have one name; values follow in the order of these.
TEST_F(OldFilesTest, ValuesFindTheirPropertiesAmongThoseOfOneName) {
  const auto profile = bring("Plant.xml"), path = bring("models/Works.xml");
  const auto insert = [](const fs::path& into, const std::string& before, const std::string& what) {
    auto content = contentOf(into);
    ASSERT_NE(content.find(before), content.npos);
    write(into, content.insert(content.find(before), what));
  };
  const auto oldProfile = contentOf(profile), oldModel = contentOf(path);
  for (const auto& names :
       std::vector<std::vector<std::string>>{{"x", "x", "x_3", "x"},
                                             {"x", "x_2", "x", "x__2"},
                                             {"x", "x_", "x", "x_"},
                                             {"x_", "x", "x_", "x_2", "x", "x__2", "x", "x_"},
                                             {"x__", "x_", "x", "x", "x_", "x__", "x___2", "x", "x_", "x__"}}) {
    SCOPED_TRACE(names.back() + " of " + std::to_string(names.size()));
    std::string properties, values;
    const auto uuid = [](char digit, std::size_t i) {
      return "uuid=\"33333333-0000-4000-8000-0000000000" + std::string(1, digit) + std::to_string(i) + "\" ";
    };
    for (std::size_t i = 0; i < names.size(); ++i) {
      properties += "<properties " + uuid('a', i) + "Name=\"" + names[i] +
                    "\" valueType=\"11111111-0000-4000-8000-000000000013\"/>";
      values += "<p_Values " + uuid('b', i) + "p_PropertyName=\"Plant.FirePump." + names[i] + "\" p_Expression=\"" +
                std::to_string(i) + "\"/>";
    }
    write(profile, oldProfile);
    write(path, oldModel);
    insert(profile, "<properties uuid=\"11111111-0000-4000-8000-000000000032\"", properties);
    insert(path, "<p_Values uuid=\"22222222-0000-4000-8000-000000000015\"", values);
    const auto model = ModelFile::open(path);
    EXPECT_EQ(reported(), std::vector<std::string>{});
    const auto spare = Architecture::getArchitecture(model.model()).findElement(u"Spare");
    const auto set = profile::Profile::findLoadedProfile(u"Plant").prototypes().find(u"FirePump").getPropertySet();
    for (std::uint32_t i = 0; i < names.size(); ++i) {
      const auto name = set.getPropertyByIndex(i).getFullyQualifiedName();
      EXPECT_EQ(spare.getPropVal(name).expression, text(std::to_string(i))) << name.toUtf8();
    }
    catalog().unloadAllProfiles();
  }
}

TEST_F(OldFilesTest, AModelThatCouldNotBeTakenOverDoesNotReplaceItsFile) {
  const auto path = bring("models/Works.xml");
  const auto before = contentOf(path);
  auto model = ModelFile::open(path);
  const auto& reports = diagnostics_->diagnostics;
  ASSERT_EQ(reports.size(), 5u);
  const auto messageOf = [](const auto& id, const std::vector<tavo::String>& arguments) {
    return tavo::Error(id, arguments).message().toUtf8();
  };
  EXPECT_EQ(reports.front().causes.front(),
            messageOf(ArchitectureError::CannotMigrateStereotype, {u"Plant.Pump", u"Main"}));
  EXPECT_EQ(reports.back().causes.front(),
            messageOf(ArchitectureError::CannotMigrateValue, {u"Plant.FirePump.stages", u"Spare", u"3"}));
  EXPECT_EQ(reported(), std::vector<std::string>(5, "Velmora:Architecture:FailedToMigrateLinnetModel"));
  EXPECT_ERROR(model.save(), "Velmora:Architecture:MigrationIncomplete");
  fs::create_symlink(path, file("link.xml"));
  for (const auto& same : {workingFolder() / ".." / "Works.xml", file("link.xml")})
    EXPECT_ERROR(model.saveAs(same), "Velmora:Architecture:MigrationIncomplete") << same;
  EXPECT_EQ(contentOf(path), before);
}

TEST_F(OldFilesTest, AHostIsAskedToTakeOverWhatIsItsOwn) {
  const auto path = bring("models/Works.xml");
  const auto model = tavo::Model::create();
  asked::AskedNamespace::create(model);
  model.create<property::evolution::V1EvolutionData>();
  auto file = ModelFile::take(model, path, {}, "Plover");
  EXPECT_FALSE(model.findTopLevel<property::evolution::V1EvolutionData>());
  EXPECT_ERROR(file.save(), "Velmora:Architecture:MigrationIncomplete", path, "1");
}

TEST_F(OldFilesTest, TakingOverIsOneStepWhereItCanBeTakenBack) {
  bring("Plant.xml");
  const auto model = tavo::Model::create();
  tavo::loadModel(bring("models/Works.xml"), model);
  const auto profiles = profile::ProfileNamespace::getProfileNamespace(model);
  profiles.initializePostLoad();
  model.clearHistory();
  const auto before = tavo::modelText(model);
  const auto former = profiles.p_PrototypeToPrototypableCache();
  profiles.proccessMigrationFromV1();
  EXPECT_EQ(Architecture::getArchitecture(model).findElement(u"Main").getPropVal(u"Plant.Pump.flow").expression,
            u"3/4");
  const auto cache = profiles.p_PrototypeToPrototypableCache();
  EXPECT_TRUE(cache && !former) << "an index of old is not gone on with";
  EXPECT_EQ(cache.getPrototypeNames(), profiles.getPrototypeNames());
  EXPECT_TRUE(model.undo());
  EXPECT_EQ(tavo::modelText(model), before);
  EXPECT_FALSE(model.canUndo());
}

} // namespace
} // namespace zelkor
