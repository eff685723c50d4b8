// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Bee.impl.h"
#include "tavo/meta/Builder.h"

#include <vector>

namespace sample {

class Bed;
class Plant;

class SAMPLE_EXPORT Bee::Impl::BuilderImpl : public tavo::ModelElement::Impl::BuilderImpl {
public:
  using Base::BuilderImpl::BuilderImpl;

  void doAddVisited(const Plant& value);
  void doClearVisited();
  std::vector<Plant> getVisited() const;
  void doSetHome(const Bed& value);
  Bed getHome() const;
};

class Bee::Builder : public tavo::BuilderBase<Bee::Impl::BuilderImpl, Bee, Bee::Builder> {
public:
  using BuilderBase::BuilderBase;
};

} // namespace sample
