// Models of older releases.
#include "tests/zelkor/ProfileFixture.h"

#include "arch/Architecture.h"
#include "arch/Component.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/meta/ValueStruct.h"

namespace zelkor {
namespace {

namespace fs = std::filesystem;

class OldFilesTest : public profile::ProfileFixture {
protected:
  /// A file of the first release, as it was typed, in the folder of the test.
  fs::path bring(const fs::path& place) {
    const auto path = file(place.filename().string());
    fs::copy_file(fs::path(ZELKOR_TEST_DATA) / "../../data/releases/Plover" / place, path);
    return path;
  }
};

TEST_F(OldFilesTest, ModelsOfTheFirstReleaseKeepStereotypesAndValues) {
  bring("Plant.xml");
  const auto path = bring("models/Works.xml");
  auto model = ModelFile::open(path);
  const auto works = Architecture::getArchitecture(model.model());
  const auto main = works.findElement(u"Main");
  const auto spare = works.findElement(u"Spare");
  EXPECT_EQ(reported(), std::vector<std::string>{});
  EXPECT_EQ(main.getPrototypeNames(), std::vector<tavo::String>{u"Plant.Pump"});
  EXPECT_EQ(main.getPropVal(u"Plant.Pump.flow").expression, u"3/4");
  EXPECT_EQ(main.getPropVal(u"Plant.Pump.maker").expression, u"'Cope & Sons'");
  EXPECT_TRUE(main.isPropValDefault(u"Plant.Pump.curve"));
  EXPECT_EQ(spare.getPropVal(u"Plant.FirePump.stages").expression, u"3");
  EXPECT_TRUE(spare.hasPropVal(u"Plant.Pump.flow"));
  EXPECT_EQ(reported(), std::vector<std::string>{});
  EXPECT_FALSE(model.isDirty());
  model.save();
  tavo::checkInvariants(model.model());
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

} // namespace
} // namespace zelkor
