// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Export.h"
#include "tavo/model/Model.h"
#include "tavo/model/ModelElement.h"

namespace sample {

/// A stone; its identity follows from where it lies.
class SAMPLE_EXPORT Stone : public tavo::ModelElement {
public:
  class Impl;
  class Builder;
  class Constrainables;

  Stone() noexcept = default;
  explicit Stone(tavo::ModelElement::Impl* object) noexcept : tavo::ModelElement(object) {}

  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();
  static Stone create(const tavo::Model& model, const tavo::Uuid& uuid = {});
};

} // namespace sample
