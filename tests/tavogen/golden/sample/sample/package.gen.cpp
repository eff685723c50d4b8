// Made by tavogen from package.toml; edit that instead.
#include "sample/package.h"

#include "sample/Bed.h"
#include "sample/Bee.h"
#include "sample/Named.h"
#include "sample/Plant.h"
#include "sample/Season.h"
#include "sample/Spot.h"
#include "sample/Stone.h"
#include "sample/tools/Tool.h"
#include "tavo/meta/MetaRegistry.h"

#include <cstddef>

const tavo::Datatype& tavo::DatatypeOf<sample::Season>::get() {
  static constexpr DatatypeLiteral literals[] = {
      {"SPRING", 0},
      {"SUMMER", 1},
      {"AUTUMN", 2},
      {"WINTER", 3},
  };
  static const Datatype type = makeEnumerationDatatype<sample::Season>("sample.Season", literals);
  return type;
}

namespace sample {

Spot& Spot::setLabel(const tavo::String& value) {
  label = value;
  return *this;
}
Spot& Spot::setRow(std::int32_t value) {
  row = value;
  return *this;
}
Spot& Spot::setSeason(Season value) {
  season = value;
  return *this;
}

int Spot::compareWith(const Spot& other) const {
  if (const int order = tavo::detail::compareValues(label, other.label))
    return order;
  if (const int order = tavo::detail::compareValues(row, other.row))
    return order;
  if (const int order = tavo::detail::compareValues(season, other.season))
    return order;
  return 0;
}

std::size_t Spot::hash() const {
  std::size_t sum = 0;
  tavo::detail::combineHash(sum, label);
  tavo::detail::combineHash(sum, row);
  tavo::detail::combineHash(sum, season);
  return sum;
}

} // namespace sample

const tavo::Datatype& tavo::DatatypeOf<sample::Spot>::get() {
  static constexpr DatatypeField fields[] = {
      {"label", offsetof(sample::Spot, label), &datatypeOf<tavo::String>},
      {"row", offsetof(sample::Spot, row), &datatypeOf<std::int32_t>},
      {"season", offsetof(sample::Spot, season), &datatypeOf<sample::Season>},
  };
  static const Datatype type = makeStructDatatype<sample::Spot>("sample.Spot", fields);
  return type;
}

namespace sample {
namespace {

constexpr tavo::NamespaceDecl namespaces[] = {
    {.name = "sample",
     .uri = "http://schema.zelkor.example/tavo/sample/1.3/sample",
     .doc = "Everything that grows, and where."},
    {.name = "sample.tools",
     .uri = "http://schema.zelkor.example/tavo/sample/1.3/sample.tools",
     .doc = "What the gardener works with."},
};

constexpr tavo::DatatypeDecl datatypes[] = {
    {.qualifiedName = "sample.Season",
     .id = "f67142d3-f3d2-3a94-afdb-d175833f7e08",
     .datatype = &tavo::datatypeOf<sample::Season>,
     .doc = "When a plant is sown."},
    {.qualifiedName = "sample.Spot",
     .id = "3cea20f9-6874-38e5-b7de-fbeea2e0f7c7",
     .datatype = &tavo::datatypeOf<sample::Spot>,
     .doc = "A place in a bed."},
    {.qualifiedName = "sample.metres",
     .id = "47df81d1-527d-3305-b047-ac0f41242e24",
     .datatype = &tavo::datatypeOf<double>,
     .doc = "A length."},
};

constexpr const tavo::ClassDecl& (*classes[])() = {
    &sample::Bed::declaration,
    &sample::Bee::declaration,
    &sample::Stone::declaration,
    &sample::Named::declaration,
    &sample::Plant::declaration,
    &sample::tools::Tool::declaration,
};

constexpr std::string_view versions[] = {"Seedling", "1.1", "1.2", "1.3"};

constexpr tavo::FormerName namesOfSamplePlant[] = {
    {"1.1", "Herb"},
    {"1.2", "Vegetable"},
};

constexpr tavo::FormerName namesOfSamplePlantHeight[] = {
    {"1.2", "size"},
};

constexpr tavo::HistoryDecl history[] = {
    {.metaClass = "sample.Plant",
     .id = "5d0d0f2e-4b5c-3f6a-8a55-0f5a3c1f9b10",
     .names = namesOfSamplePlant},
    {.metaClass = "sample.Plant",
     .id = "5b1726cd-6fe6-3ab8-8f92-5b002d061f44",
     .feature = "height",
     .names = namesOfSamplePlantHeight},
    {.metaClass = "sample.Plant",
     .id = "43c7d8a7-de84-344f-8a36-b194f2528cdf",
     .feature = "family",
     .since = "1.2"},
    {.metaClass = "sample.Plant",
     .id = "c9c4de1d-2573-34cc-b21e-979c60080b37",
     .feature = "scent",
     .kind = tavo::FeatureKind::attribute,
     .removed = "1.2"},
    {.metaClass = "sample.Plant",
     .id = "7d42a1c4-d705-3073-be4e-a00b3dc645fb",
     .feature = "nicknames",
     .kind = tavo::FeatureKind::containsMany,
     .target = "sample.Nickname",
     .removed = "1.2"},
    {.metaClass = "sample.Nickname",
     .id = "ac72a52f-4fee-3c20-a753-187f6a98b027",
     .base = "sample.Named",
     .removed = "1.2"},
    {.metaClass = "sample.Nickname",
     .id = "a60c4710-7175-3a40-8c67-826c56e7eb07",
     .feature = "language",
     .kind = tavo::FeatureKind::attribute,
     .since = "1.1"},
};

} // namespace

const tavo::PackageDecl& package() {
  static const tavo::PackageDecl declared{
      .name = "sample",
      .version = "1.3",
      .uri = "http://schema.zelkor.example/tavo/sample/1.3",
      .depends = {},
      .namespaces = namespaces,
      .datatypes = datatypes,
      .classes = classes,
      .versions = versions,
      .history = history,
  };
  return declared;
}

namespace {

// Loading the library makes its classes known, before anybody asks for one by name.
[[maybe_unused]] const bool registered = tavo::MetaRegistry::instance().registerWhenLoaded(package());

} // namespace
} // namespace sample
