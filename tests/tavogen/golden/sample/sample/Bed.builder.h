// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Bed.impl.h"
#include "sample/Named.builder.h"

#include <vector>

namespace sample {

class Plant;

class SAMPLE_EXPORT Bed::Impl::BuilderImpl : public Named::Impl::BuilderImpl {
public:
  using Base::BuilderImpl::BuilderImpl;

  void doAddPlants(tavo::ModelElement::Impl::BuilderImpl child);
  void doClearPlants();
  void doAddStones(tavo::ModelElement::Impl::BuilderImpl child);
  void doClearStones();
  void doAddSpades(tavo::ModelElement::Impl::BuilderImpl child);
  void doClearSpades();
  void doAddGnome(tavo::ModelElement::Impl::BuilderImpl child);
  void doClearGnome();
  void doAddMark(tavo::ModelElement::Impl::BuilderImpl child);
  void doClearMark();
  void doAddByNumber(const Plant& value);
  void doClearByNumber();
  std::vector<Plant> getByNumber() const;
  void doAddFavorites(const Plant& value);
  void doClearFavorites();
  std::vector<Plant> getFavorites() const;
  void doSetAnything(const tavo::ModelElement& value);
  tavo::ModelElement getAnything() const;
};

class Bed::Builder : public tavo::BuilderBase<Bed::Impl::BuilderImpl, Bed, Bed::Builder> {
public:
  using BuilderBase::BuilderBase;
};

} // namespace sample
