#include "tests/support/AllClasses.h"

#include "zelkor/profile/Profile.h"

#include <gtest/gtest.h>

namespace {

std::vector<const tavo::MetaClass*> classes() {
  zelkor::profile::Profile::metaClass(); // registers both packages
  auto found = testsupport::concreteClasses({"zelkor_services_proxy", "zelkor_property"});
  EXPECT_GT(found.size(), 40u);
  return found;
}

TEST(AllClassesTest, FilledObjectsComeBackFromTheirFiles) {
  for (const auto* metaClass : classes())
    testsupport::expectXmlRoundTrip(*metaClass);
}

TEST(AllClassesTest, FillingAndDestroyingIsUndoneAndRedone) {
  for (const auto* metaClass : classes())
    testsupport::expectUndoAndRedo(*metaClass);
}

TEST(AllClassesTest, ReflectionRefusesWhatIsReadOnlyOrOfAnotherType) {
  for (const auto* metaClass : classes())
    testsupport::expectRefusals(*metaClass);
}

TEST(AllClassesTest, KeysFollowTheirObjects) {
  for (const auto* metaClass : classes())
    testsupport::expectKeysFollow(*metaClass);
}

} // namespace
