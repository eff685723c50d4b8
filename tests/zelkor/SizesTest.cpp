// The memory of an object and the bytes of a file, so that growth is seen where it is made.
#include "tests/support/AllClasses.h"
#include "tests/zelkor/PropertyFixture.h"

#include "zelkor/profile/Prototype.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace zelkor::test {
namespace {

class SizesTest : public PropertyTest {
protected:
  static std::string profileBytes(int stereotypes, int properties) {
    const auto made = tavo::Model::create();
    const auto profile = profile::Profile::createProfile(made, u"Metals");
    for (int i = 0; i < stereotypes; ++i) {
      const auto name = tavo::String::fromUtf8("Stereotype" + std::to_string(i));
      const auto set = profile.addPrototype(name, {}, {u"Component"}).getPropertySet();
      for (int p = 0; p < properties; ++p)
        set.addProperty(tavo::String::fromUtf8("property" + std::to_string(p)), u"double")
            .setDefaultPropertyValue(u"1.5", u"kg");
    }
    return std::to_string(tavo::modelText(made).toUtf8().size());
  }

  static std::string listing() {
    std::string text =
        "# Bytes of an object of each class in memory, without what its collections and long texts hold.\n";
    for (const auto* metaClass : testsupport::concreteClasses({"zelkor_services_proxy", "zelkor_property"}))
      text += std::string(metaClass->qualifiedName()) + " = " +
              std::to_string(sizeof(tavo::ModelElement::Impl) + (metaClass->declaration().storageSize + 7) / 8 * 8) +
              "\n";
    text += "\n# Bytes of files.\nan empty profile = " + profileBytes(0, 0) + "\n";
    text += "with 10 stereotypes = " + profileBytes(10, 0) + "\n";
    text += "of 3 properties each = " + profileBytes(10, 3) + "\n";
    return text;
  }
};

TEST_F(SizesTest, AreThoseThatWereReviewed) {
  const std::string path = ZELKOR_TEST_DATA "/sizes.txt";
  if (std::getenv("ZELKOR_UPDATE"))
    std::ofstream(path) << listing();
  std::ostringstream reviewed;
  reviewed << std::ifstream(path).rdbuf();
  EXPECT_EQ(listing(), reviewed.str()) << "run this test with ZELKOR_UPDATE=1 and review what has grown";
}

} // namespace
} // namespace zelkor::test
