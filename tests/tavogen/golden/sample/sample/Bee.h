// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Export.h"
#include "tavo/collection/Views.h"
#include "tavo/model/Model.h"
#include "tavo/model/ModelElement.h"

namespace sample {

class Bed;
class Plant;

/// A visitor.
class SAMPLE_EXPORT Bee : public tavo::ModelElement {
public:
  class Impl;
  class Builder;
  class Constrainables;

  Bee() noexcept = default;
  explicit Bee(tavo::ModelElement::Impl* object) noexcept : tavo::ModelElement(object) {}

  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();
  static Bee create(const tavo::Model& model, const tavo::Uuid& uuid = {});

  tavo::View<Plant> visited() const;
  Bed home() const;

  /// How far it is.
  double dance(const Plant& around) const;
};

} // namespace sample
