// What is left when memory runs out in the middle: nothing.
#include "tests/support/Allocations.h"
#include "tests/zelkor/ProfileFixture.h"

#include "zelkor/property/ValueType.h"
#include "zelkor/services/ProxySource.h"

namespace zelkor::profile {
namespace {

class ProfileFaultTest : public ProfileFixture {};

TEST_F(ProfileFaultTest, AStereotypeIsAddedWholeOrNotAtAll) {
  add(Profile::newProfile(u"Parent"), u"Base");
  const auto profile = Profile::newProfile(u"P");
  const auto model = profile.model();
  const auto before = tavo::modelText(model);
  const auto objects = model.objectCount();
  const auto failures =
      testsupport::failEachAllocation([&] { profile.addPrototype(u"Stereotype", u"Parent.Base", {u"Component"}); },
                                      [&](std::size_t) {
                                        EXPECT_EQ(tavo::modelText(model), before);
                                        EXPECT_EQ(model.objectCount(), objects);
                                        EXPECT_FALSE(model.canUndo());
                                        tavo::checkInvariants(model);
                                      });
  EXPECT_GT(failures, 10u);
  const auto after = tavo::modelText(model);
  ASSERT_TRUE(model.undo());
  EXPECT_EQ(tavo::modelText(model), before) << "it was more than one step";
  ASSERT_TRUE(model.redo());
  EXPECT_EQ(tavo::modelText(model), after);
  EXPECT_EQ(profile.prototypes().front().getParent().getName(), u"Base");
}

TEST_F(ProfileFaultTest, AProfileIsRenamedForEverybodyOrForNobody) {
  const auto parent = Profile::newProfile(u"Parent");
  add(parent, u"Base");
  const auto child = Profile::newProfile(u"Child");
  add(child, u"Derived", u"Parent.Base");
  tavo::String before = parent.getName(), after = u"YetAnotherLongName";
  int round = 0;
  const auto expectName = [&](const tavo::String& name) {
    EXPECT_EQ(parent.getName(), name);
    parent.setDescription(text(std::to_string(++round))); // who ran out of memory while following tries again
    EXPECT_EQ(catalog().getLoadedProfileNames(), (Texts{u"Child", name}));
    EXPECT_EQ(child.getDependentProfiles(), (Texts{name}));
  };
  testsupport::failEachAllocation([&] { parent.setName(after); }, [&](std::size_t) { expectName(before); },
                                  [&] {
                                    expectName(after);
                                    before = std::exchange(after, before);
                                  });
  expectName(after);
  EXPECT_GT(round, 5);
}

TEST_F(ProfileFaultTest, AProfileIsLoadedWithWhatItNeedsOrNotAtAll) {
  std::string announced;
  const auto token = services::ModelEventBroadcastSystem::instance().subscribe(
      [&](const services::ModelEvent& event) { announced += event.name.toUtf8(); });
  for (const auto* release : {u"Avocet", u"Thrush"}) {
    saveParentAndChildFor(release);
    announced.clear();
    const auto models = tavo::Constellation::process().models().size();
    const auto failures =
        testsupport::failEachAllocation([&] { Profile::loadFromFile(u"Child"); },
                                        [&](std::size_t) {
                                          EXPECT_EQ(catalog().getLoadedProfileNames(), Texts{});
                                          EXPECT_EQ(tavo::Constellation::process().models().size(), models);
                                          EXPECT_EQ(announced, "");
                                        });
    EXPECT_GT(failures, 100u);
    EXPECT_FALSE(Profile::findLoadedProfile(u"Child").getIsUnhealthyOnLoad());
    EXPECT_EQ(catalog().getLoadedProfileNames(), (Texts{u"Child", u"Parent"}));
    catalog().unloadAllProfiles();
  }
}

TEST_F(ProfileFaultTest, AProfileIsMadeOrNot) {
  saveParentAndChild();
  const auto child = Profile::loadFromFile(u"Child"); // refers to what is going to be made
  Profile::unload(u"Parent");
  const auto models = tavo::Constellation::process().models().size();
  const auto failures =
      testsupport::failEachAllocation([&] { Profile::newProfile(u"Parent"); },
                                      [&](std::size_t) {
                                        EXPECT_EQ(catalog().getLoadedProfileNames(), Texts{u"Child"});
                                        EXPECT_EQ(tavo::Constellation::process().models().size(), models);
                                        EXPECT_TRUE(child.prototypes().front().hasParent());
                                      });
  EXPECT_GT(failures, 50u);
}

TEST_F(ProfileFaultTest, AProfileKnowsWhetherItWasSaved) {
  const auto profile = Profile::newProfile(u"ProfileWithALongName");
  const auto path = file("ProfileWithALongName.xml");
  save(profile);
  int round = 0;
  std::string before;
  const auto failures = testsupport::failEachAllocation([&] { profile.saveToFile(u""); },
                                                        [&](std::size_t) {
                                                          const auto after = contentOf(path);
                                                          EXPECT_EQ(profile.dirty(), after == before);
                                                          before = after;
                                                          profile.setDescription(text(std::to_string(++round)));
                                                        });
  EXPECT_GT(failures, 10u);
  EXPECT_FALSE(profile.dirty());
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 2); // the profile and the working folder
}

TEST_F(ProfileFaultTest, AProfileIsExportedOrWhatWasThereStays) {
  const auto profile = Profile::newProfile(u"P");
  add(profile, u"Stereotype");
  save(profile);
  profile.setDescription(u"changed since");
  write(file("old.xml"), "what was there");
  const auto models = tavo::Constellation::process().models().size();
  const auto exportIt = [&](const char* name) { profile.exportToPrevious(text(file(name)), u"Plover"); };
  exportIt("whole.xml");
  const auto whole = contentOf(file("whole.xml"));
  const auto failures = testsupport::failEachAllocation(
      [&] { exportIt("old.xml"); },
      [&](std::size_t) {
        EXPECT_EQ(contentOf(file("old.xml")), "what was there");
        EXPECT_EQ(tavo::Constellation::process().models().size(), models);
        EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 4); // the files and the working folder
      },
      [&] { // sorting does without memory
        EXPECT_EQ(contentOf(file("old.xml")), whole);
        write(file("old.xml"), "what was there");
      });
  EXPECT_GT(failures, 100u);
  EXPECT_EQ(contentOf(file("old.xml")), whole);
  EXPECT_TRUE(profile.dirty());
  EXPECT_EQ(profile.filePath(), text(file("P.xml")));
}

TEST_F(ProfileFaultTest, AProfileIsUnloadedOrStays) {
  saveParentAndChild();
  const auto child = Profile::loadFromFile(u"Child");
  const auto parent = Profile::findLoadedProfile(u"Parent");
  const auto failures =
      testsupport::failEachAllocation([&] { Profile::unload(u"Parent"); },
                                      [&](std::size_t) {
                                        EXPECT_EQ(Profile::findLoadedProfile(u"Parent"), parent);
                                        EXPECT_EQ(child.prototypes().front().getParent(), parent.prototypes().front());
                                      });
  EXPECT_GT(failures, 0u);
  EXPECT_FALSE(parent);
  EXPECT_EQ(child.prototypes().front().getParent().getName(), u"Base");
}

} // namespace
} // namespace zelkor::profile
