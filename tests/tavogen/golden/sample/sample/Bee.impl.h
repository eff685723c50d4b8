// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Bee.h"
#include "tavo/collection/Views.h"
#include "tavo/meta/MetaRegistry.h"

namespace sample {

class Bed;
class Plant;

class SAMPLE_EXPORT Bee::Impl : public tavo::ModelElement::Impl {
public:
  using Base = tavo::ModelElement::Impl;
  struct Storage : Base::Storage {
    tavo::ListField visited;
    tavo::LinkField home = nullptr;
  };
  struct Index {
    static constexpr tavo::PropertyIndex visited = Base::propertyCount + 0;
    static constexpr tavo::PropertyIndex home = Base::propertyCount + 1;
  };
  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + 2;
  class BuilderImpl;

  using Base::Base;
  Bee This() { return Bee(this); }

  tavo::View<Plant> getVisited() const;
  tavo::Mutable<tavo::View<Plant>> getVisitedMutable();
  bool hasVisited() const;
  Bed getHome() const;
  bool hasHome() const;
  void setHome(const Bed& value);
  void basicSetHome(const Bed& value);

  double dance(const Plant& around) const;

private:
  Storage& storage() { return storageAs<Storage>(); }
  const Storage& storage() const { return storageAs<Storage>(); }
  const tavo::MetaProperty& at(tavo::PropertyIndex index) const { return objectClass().at(index); }
};

} // namespace sample
