// Made by tavogen from Plant.toml; edit that instead.
#pragma once

#include "sample/Named.h"
#include "tavo/core/String.h"
#include "tavo/query/Query.h"

#include <optional>

namespace sample {

class SAMPLE_EXPORT Named::Constrainables : public tavo::ModelElement::Constrainables {
public:
  using Base = tavo::ModelElement::Constrainables;
  using Base::Base;
  explicit Constrainables(const tavo::Query& query);

  tavo::AttributeTerms<tavo::String> p_Name() const;
  tavo::AttributeTerms<std::optional<tavo::String>> note() const;
};

} // namespace sample
