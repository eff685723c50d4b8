// Made by tavogen from Bed.toml; edit that instead.
#include "sample/Stone.impl.h"

#include "sample/Stone.builder.h"
#include "sample/Stone.query.h"
#include "sample/package.h"

#include <cstddef>

namespace sample {

const tavo::ClassDecl& Stone::declaration() {
  static const tavo::ClassDecl declared{
      .name = "Stone",
      .qualifiedName = "sample.Stone",
      .id = "3434672d-4d2c-3027-a388-2a10f49595ca",
      .flags = tavo::ClassFlag::derivedIdentity,
      .base = &tavo::ModelElement::declaration,
      .package = &sample::package,
      .storageSize = sizeof(Impl::Storage),
      .builtOn = tavo::detail::layoutOf<Impl::Base>(),
      .construct = &tavo::detail::constructObject<Impl>,
      .destroyStorage = &tavo::detail::destroyStorage<Impl>,
      .properties = {},
      .operations = {},
      .doc = "A stone; its identity follows from where it lies.",
  };
  return declared;
}

const tavo::MetaClass& Stone::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

// The handle

Stone Stone::create(const tavo::Model& model, const tavo::Uuid& uuid) { return model.create<Stone>(uuid); }

// Queries

Stone::Constrainables::Constrainables(const tavo::Query& query)
    : Constrainables(query, Stone::metaClass(), tavo::ClassMatch::withSubclasses) {}

} // namespace sample
