// Made by tavogen from Plant.toml; edit that instead.
#pragma once

#include "sample/Named.query.h"
#include "sample/Plant.h"
#include "sample/Season.h"
#include "sample/Spot.h"
#include "tavo/core/String.h"
#include "tavo/core/Uuid.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace sample {

class SAMPLE_EXPORT Plant::Constrainables : public Named::Constrainables {
public:
  using Base = Named::Constrainables;
  using Base::Base;
  explicit Constrainables(const tavo::Query& query);

  tavo::ObjectTerms bed() const;
  tavo::AttributeTerms<std::uint32_t> number() const;
  tavo::AttributeTerms<bool> isPerennial() const;
  tavo::AttributeTerms<std::int32_t> offset() const;
  tavo::AttributeTerms<std::int64_t> seeds() const;
  tavo::AttributeTerms<std::uint64_t> leaves() const;
  tavo::AttributeTerms<double> height() const;
  tavo::AttributeTerms<tavo::Uuid> origin() const;
  tavo::AttributeTerms<tavo::String> family() const;
  tavo::AttributeTerms<Season> season() const;
  tavo::AttributeTerms<Spot> spot() const;
  tavo::AttributeTerms<std::optional<double>> maxHeight() const;
  tavo::AttributeTerms<std::vector<std::uint64_t>> yields() const;
  tavo::AttributeTerms<std::vector<tavo::String>> aliases() const;
  tavo::AttributeTerms<tavo::String> code() const;
  tavo::AttributeTerms<tavo::String> uRI() const;
  tavo::AttributeTerms<tavo::String> label() const;
  tavo::ObjectTerms tallest() const;
  tavo::ObjectTerms neighbour() const;
  tavo::CollectionTerms feeds() const;
};

} // namespace sample
