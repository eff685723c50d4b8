// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Export.h"
#include "sample/Named.h"
#include "tavo/collection/Views.h"
#include "tavo/core/String.h"
#include "tavo/model/Model.h"

#include <cstdint>
#include <string_view>

namespace sample::tools {
class Tool;
}

namespace sample {

class Plant;
class Stone;

/// A bed with plants.
class SAMPLE_EXPORT Bed : public Named {
public:
  class Impl;
  class Builder;
  class Constrainables;

  Bed() noexcept = default;
  explicit Bed(tavo::ModelElement::Impl* object) noexcept : Named(object) {}

  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();
  static Bed create(const tavo::Model& model, const tavo::Uuid& uuid = {});
  using tavo::ModelElement::get;

  /// By name and by number.
  tavo::IndexedMapView<Plant, std::u16string_view, std::uint32_t> plants() const;
  /// In order.
  tavo::View<Stone> stones() const;
  tavo::View<sample::tools::Tool> spades() const;
  Stone gnome() const;
  tavo::MutableChild<Stone> getGnomeMutable() const;
  Stone mark() const;
  tavo::MapView<Plant, std::uint32_t> byNumber() const;
  tavo::View<Plant> favorites() const;
  tavo::Mutable<tavo::View<Plant>> getFavoritesMutable() const;
  tavo::ModelElement anything() const;

  /// Always an empty handle.
  static Bed get(const tavo::String& name);
};

} // namespace sample
