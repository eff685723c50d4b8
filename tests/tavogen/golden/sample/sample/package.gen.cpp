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
  };
  return declared;
}

namespace {

// Loading the library makes its classes known, before anybody asks for one by name.
[[maybe_unused]] const bool registered = tavo::MetaRegistry::instance().registerWhenLoaded(package());

} // namespace
} // namespace sample
