// What is left when memory runs out in the middle: nothing.
#include "tests/support/Allocations.h"
#include "tests/zelkor/ProfileFixture.h"

#include "zelkor/property/ValueType.h"

namespace zelkor::profile {
namespace {

using Texts = std::vector<tavo::String>;

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
  EXPECT_EQ(profile.prototypes().front().getParent().getName(), u"Base");
}

TEST_F(ProfileFaultTest, AProfileIsRenamedForEverybodyOrForNobody) {
  const auto parent = Profile::newProfile(u"Parent");
  add(parent, u"Base");
  const auto child = Profile::newProfile(u"Child");
  add(child, u"Derived", u"Parent.Base");
  parent.model().clearHistory();
  testsupport::failEachAllocation([&] { parent.setName(u"AnotherLongName"); },
                                  [&](std::size_t) {
                                    EXPECT_EQ(parent.getName(), u"Parent");
                                    EXPECT_EQ(catalog().getLoadedProfileNames(), (Texts{u"Child", u"Parent"}));
                                    EXPECT_EQ(child.getDependentProfiles(), (Texts{u"Parent"}));
                                  });
}

TEST_F(ProfileFaultTest, AProfileIsLoadedWithWhatItNeedsOrNotAtAll) {
  saveParentAndChild();
  std::string announced;
  const auto token = services::ModelEventBroadcastSystem::instance().subscribe(
      [&](const services::ModelEvent& event) { announced += event.name.toUtf8(); });
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
}

} // namespace
} // namespace zelkor::profile
