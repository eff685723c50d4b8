#include "tests/support/AllClasses.h"

#include "zelkor/profile/Profile.h"

#include <gtest/gtest.h>

namespace {

TEST(AllClassesTest, EachKeepsWhatMustHoldForAll) {
  zelkor::profile::Profile::metaClass(); // registers both packages
  const auto classes = testsupport::concreteClasses({"zelkor_services_proxy", "zelkor_property"});
  EXPECT_GT(classes.size(), 40u);
  testsupport::expectWhatMustHoldForAll(classes);
}

} // namespace
