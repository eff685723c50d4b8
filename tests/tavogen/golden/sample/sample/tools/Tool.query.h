// Made by tavogen from Tool.toml; edit that instead.
#pragma once

#include "sample/Named.query.h"
#include "sample/tools/Tool.h"

namespace sample::tools {

class SAMPLE_EXPORT Tool::Constrainables : public sample::Named::Constrainables {
public:
  using Base = sample::Named::Constrainables;
  using Base::Base;
  explicit Constrainables(const tavo::Query& query);

  tavo::ObjectTerms user() const;
};

} // namespace sample::tools
