// Made by tavogen from Plant.toml; edit that instead.
#pragma once

#include "sample/Export.h"
#include "sample/Named.h"
#include "sample/Season.h"
#include "sample/Spot.h"
#include "tavo/collection/Views.h"
#include "tavo/core/String.h"
#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/Model.h"
#include "tests/tavogen/sample/Clock.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace sample {

class Bed;
class Bee;

/// A plant in a bed.
class SAMPLE_EXPORT Plant : public Named {
public:
  class Impl;
  class Builder;
  class Constrainables;

  Plant() noexcept = default;
  explicit Plant(tavo::ModelElement::Impl* object) noexcept : Named(object) {}

  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();
  static Plant create(const tavo::Model& model, const tavo::Uuid& uuid = {});
  using Named::rename;

  /// Where it stands.
  Bed bed() const;
  /// Its number in the bed.
  std::uint32_t number() const;
  void setNumber(std::uint32_t value) const;
  bool isPerennial() const;
  /// The height above the ground, not below zero.
  double height() const;
  void setHeight(double value) const;
  const tavo::String& family() const;
  Season season() const;
  void setSeason(Season value) const;
  const Spot& spot() const;
  void setSpot(const Spot& value) const;
  const std::vector<tavo::String>& aliases() const;
  const sample::Clock& sownAt() const;
  const tavo::String& code() const;
  const tavo::String& uRI() const;
  tavo::String label() const;
  Plant tallest() const;
  /// When somebody looked at it.
  const sample::Clock& lastSeen() const;
  void setLastSeen(const sample::Clock& value) const;
  std::uint32_t visits() const;
  /// A plant that it likes.
  Plant neighbour() const;
  void setNeighbour(const Plant& value) const;
  /// The bees that come.
  tavo::View<Bee> feeds() const;

  /// A new plant in a bed.
  static Plant make(const Bed& bed, const tavo::String& name, std::uint32_t number);
  /// The tallest of the bed; itself without a bed.
  Plant getTallest() const;
  /// Adds to the height and returns the new one.
  double grow(double by) const;
  /// Grows once for each season.
  double grow(double by, const std::vector<Season>& seasons) const;
  /// The height, and whether it is a guess.
  double measure(const std::optional<tavo::String>& unit, bool& isRough) const;
  /// Those of its family.
  std::vector<Plant> plants(const std::vector<Plant>& among) const;
  /// Whether it is in that model and has that class.
  bool isIn(const tavo::Model& model, const tavo::MetaClass& metaClass) const;
  /// Gives a name of two words.
  void rename(const tavo::String& first, const tavo::String& second) const;
};

} // namespace sample
