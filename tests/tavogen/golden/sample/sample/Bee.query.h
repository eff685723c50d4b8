// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Bee.h"
#include "tavo/query/Query.h"

namespace sample {

class SAMPLE_EXPORT Bee::Constrainables : public tavo::ModelElement::Constrainables {
public:
  using Base = tavo::ModelElement::Constrainables;
  using Base::Base;
  explicit Constrainables(const tavo::Query& query);

  tavo::CollectionTerms visited() const;
  tavo::ObjectTerms home() const;
};

} // namespace sample
