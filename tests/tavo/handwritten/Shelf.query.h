#pragma once

#include "tavo/query/Query.h"
#include "tests/tavo/handwritten/Shelf.h"

namespace library {

class Labelled::Constrainables : public tavo::ModelElement::Constrainables {
public:
  using Base = tavo::ModelElement::Constrainables;
  using Base::Base;
  explicit Constrainables(const tavo::Query& query);

  tavo::AttributeTerms<tavo::String> p_Name() const;
  tavo::AttributeTerms<std::optional<tavo::String>> note() const;
};

class Book::Constrainables : public Labelled::Constrainables {
public:
  using Base = Labelled::Constrainables;
  using Base::Base;
  explicit Constrainables(const tavo::Query& query);

  tavo::ObjectTerms shelf() const;
  tavo::AttributeTerms<std::uint32_t> p_Index() const;
  tavo::AttributeTerms<double> price() const;
  tavo::AttributeTerms<std::vector<std::uint64_t>> editions() const;
  tavo::CollectionTerms writers() const;
  tavo::ObjectTerms sequel() const;
};

} // namespace library
