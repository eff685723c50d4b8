// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Stone.h"
#include "tavo/query/Query.h"

namespace sample {

class SAMPLE_EXPORT Stone::Constrainables : public tavo::ModelElement::Constrainables {
public:
  using Base = tavo::ModelElement::Constrainables;
  using Base::Base;
  explicit Constrainables(const tavo::Query& query);
};

} // namespace sample
