#include "tavo/meta/MetaRegistry.h"

#include "tests/support/ErrorMatchers.h"

#include <gtest/gtest.h>

namespace {

/// A package of one class, as wide as a test wants it.
struct Wide {
  static inline std::vector<tavo::PropertyDecl> properties;

  static const tavo::ClassDecl& declaration() {
    static tavo::ClassDecl declared{.name = "Wide",
                                    .qualifiedName = "wide.Wide",
                                    .id = "00000000-0000-3000-8000-000000000200",
                                    .flags = tavo::ClassFlag::isAbstract,
                                    .base = &tavo::ModelElement::declaration,
                                    .package = &package,
                                    .storageSize = 0,
                                    .construct = nullptr,
                                    .destroyStorage = nullptr,
                                    .properties = {},
                                    .operations = {}};
    declared.properties = properties;
    return declared;
  }
  static const tavo::PackageDecl& package() {
    static const tavo::ClassDecl& (*const classes[])() = {&declaration};
    static const tavo::PackageDecl declared{.name = "wide",
                                            .version = "1.0",
                                            .uri = "http://schema.zelkor.example/tavo/wide/1.0",
                                            .depends = {},
                                            .namespaces = {},
                                            .datatypes = {},
                                            .classes = classes};
    return declared;
  }
};

TEST(MetaRegistryTest, APackageThatIsRefusedLeavesNothingBehind) {
  constexpr std::size_t most = 65'535;
  std::vector<std::string> texts;
  texts.reserve(2 * (most + 1));
  for (std::size_t i = 0; i <= most; ++i) {
    const std::string& name = texts.emplace_back("f" + std::to_string(i));
    const std::string& id = texts.emplace_back(tavo::toText(tavo::nameUuid({}, name)));
    Wide::properties.push_back(
        {.name = name, .id = id, .kind = tavo::FeatureKind::attribute, .datatype = &tavo::datatypeOf<bool>});
  }
  auto& registry = tavo::MetaRegistry::instance();
  EXPECT_ERROR(registry.registerPackage(Wide::package()), "tavo:messages:LimitExceeded", "wide.Wide",
               "the features of a class", most);
  EXPECT_FALSE(registry.findPackage("wide"));
  EXPECT_FALSE(registry.findClass("wide.Wide"));

  Wide::properties.resize(2);
  Wide::properties[1].name = Wide::properties[0].name;
  EXPECT_ERROR(registry.registerPackage(Wide::package()), "tavo:messages:DuplicateIdentity", "wide.Wide", "f0");
  EXPECT_FALSE(registry.findClass("wide.Wide"));
}

} // namespace
