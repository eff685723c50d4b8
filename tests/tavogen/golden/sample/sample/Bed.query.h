// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Bed.h"
#include "sample/Named.query.h"

namespace sample {

class SAMPLE_EXPORT Bed::Constrainables : public Named::Constrainables {
public:
  using Base = Named::Constrainables;
  using Base::Base;
  explicit Constrainables(const tavo::Query& query);

  tavo::CollectionTerms plants() const;
  tavo::CollectionTerms stones() const;
  tavo::CollectionTerms spades() const;
  tavo::ObjectTerms gnome() const;
  tavo::ObjectTerms mark() const;
  tavo::CollectionTerms byNumber() const;
  tavo::CollectionTerms favorites() const;
  tavo::ObjectTerms anything() const;
};

} // namespace sample
