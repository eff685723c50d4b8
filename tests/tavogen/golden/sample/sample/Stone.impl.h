// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Stone.h"
#include "tavo/meta/MetaRegistry.h"

namespace sample {

class SAMPLE_EXPORT Stone::Impl : public tavo::ModelElement::Impl {
public:
  using Base = tavo::ModelElement::Impl;
  struct Storage : Base::Storage {};
  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + 0;
  class BuilderImpl;

  using Base::Base;
  Stone This() { return Stone(this); }
};

} // namespace sample
