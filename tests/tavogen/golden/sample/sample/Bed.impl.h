// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Bed.h"
#include "sample/Named.impl.h"
#include "tavo/collection/Views.h"
#include "tavo/core/String.h"
#include "tavo/meta/MetaRegistry.h"

#include <cstdint>
#include <string_view>

namespace sample::tools {
class Tool;
}

namespace sample {

class Plant;
class Stone;

class SAMPLE_EXPORT Bed::Impl : public Named::Impl {
public:
  using Base = Named::Impl;
  struct Storage : Base::Storage {
    tavo::ListField plants;
    tavo::ListField stones;
    tavo::ListField spades;
    tavo::ChildField gnome = nullptr;
    tavo::ChildField mark = nullptr;
    tavo::ListField byNumber;
    tavo::ListField favorites;
    tavo::LinkField anything = nullptr;
  };
  struct Index {
    static constexpr tavo::PropertyIndex plants = Base::propertyCount + 0;
    static constexpr tavo::PropertyIndex stones = Base::propertyCount + 1;
    static constexpr tavo::PropertyIndex spades = Base::propertyCount + 2;
    static constexpr tavo::PropertyIndex gnome = Base::propertyCount + 3;
    static constexpr tavo::PropertyIndex mark = Base::propertyCount + 4;
    static constexpr tavo::PropertyIndex byNumber = Base::propertyCount + 5;
    static constexpr tavo::PropertyIndex favorites = Base::propertyCount + 6;
    static constexpr tavo::PropertyIndex anything = Base::propertyCount + 7;
  };
  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + 8;
  class BuilderImpl;

  using Base::Base;
  Bed This() { return Bed(this); }

  tavo::IndexedMapView<Plant, std::u16string_view, std::uint32_t> getPlants() const;
  tavo::Mutable<tavo::IndexedMapView<Plant, std::u16string_view, std::uint32_t>> getPlantsMutable();
  bool hasPlants() const;
  Plant createIntoPlants(const tavo::ModelElement::Impl::BuilderImpl& builder, const tavo::Uuid& uuid = {});
  tavo::View<Stone> getStones() const;
  tavo::Mutable<tavo::View<Stone>> getStonesMutable();
  bool hasStones() const;
  Stone createIntoStones(const tavo::ModelElement::Impl::BuilderImpl& builder, const tavo::Uuid& uuid = {});
  tavo::View<sample::tools::Tool> getSpades() const;
  tavo::Mutable<tavo::View<sample::tools::Tool>> getSpadesMutable();
  bool hasSpades() const;
  sample::tools::Tool createIntoSpades(const tavo::ModelElement::Impl::BuilderImpl& builder,
                                       const tavo::Uuid& uuid = {});
  Stone getGnome() const;
  bool hasGnome() const;
  void setGnome(const Stone& value);
  tavo::MutableChild<Stone> getGnomeMutable();
  Stone createIntoGnome(const tavo::ModelElement::Impl::BuilderImpl& builder, const tavo::Uuid& uuid = {});
  Stone getMark() const;
  bool hasMark() const;
  void setMark(const Stone& value);
  tavo::MutableChild<Stone> getMarkMutable();
  Stone createIntoMark(const tavo::ModelElement::Impl::BuilderImpl& builder, const tavo::Uuid& uuid = {});
  tavo::MapView<Plant, std::uint32_t> getByNumber() const;
  tavo::Mutable<tavo::MapView<Plant, std::uint32_t>> getByNumberMutable();
  bool hasByNumber() const;
  tavo::View<Plant> getFavorites() const;
  tavo::Mutable<tavo::View<Plant>> getFavoritesMutable();
  bool hasFavorites() const;
  tavo::ModelElement getAnything() const;
  bool hasAnything() const;
  void setAnything(const tavo::ModelElement& value);
  void basicSetAnything(const tavo::ModelElement& value);

  tavo::String describe(std::uint32_t length) const override;

private:
  Storage& storage() { return storageAs<Storage>(); }
  const Storage& storage() const { return storageAs<Storage>(); }
  const tavo::MetaProperty& at(tavo::PropertyIndex index) const { return objectClass().at(index); }
};

} // namespace sample
