// Made by tavogen from Plant.toml; edit that instead.
#pragma once

#include "sample/Named.impl.h"
#include "sample/Plant.h"
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

class SAMPLE_EXPORT Plant::Impl : public Named::Impl {
public:
  using Base = Named::Impl;
  struct Storage : Base::Storage {
    double height = 0.25;
    tavo::String family = u"Rosaceae";
    Spot spot;
    std::vector<tavo::String> aliases;
    sample::Clock sownAt;
    tavo::String code;
    tavo::String secret;
    tavo::String URI;
    sample::Clock lastSeen;
    tavo::LinkField neighbour = nullptr;
    tavo::ListField feeds;
    std::uint32_t number = 0;
    Season season = Season::SUMMER;
    std::uint32_t visits = 0;
    bool isPerennial = true;
  };
  struct Index {
    static constexpr tavo::PropertyIndex bed = Base::propertyCount + 0;
    static constexpr tavo::PropertyIndex number = Base::propertyCount + 1;
    static constexpr tavo::PropertyIndex isPerennial = Base::propertyCount + 2;
    static constexpr tavo::PropertyIndex height = Base::propertyCount + 3;
    static constexpr tavo::PropertyIndex family = Base::propertyCount + 4;
    static constexpr tavo::PropertyIndex season = Base::propertyCount + 5;
    static constexpr tavo::PropertyIndex spot = Base::propertyCount + 6;
    static constexpr tavo::PropertyIndex aliases = Base::propertyCount + 7;
    static constexpr tavo::PropertyIndex sownAt = Base::propertyCount + 8;
    static constexpr tavo::PropertyIndex code = Base::propertyCount + 9;
    static constexpr tavo::PropertyIndex secret = Base::propertyCount + 10;
    static constexpr tavo::PropertyIndex URI = Base::propertyCount + 11;
    static constexpr tavo::PropertyIndex label = Base::propertyCount + 12;
    static constexpr tavo::PropertyIndex tallest = Base::propertyCount + 13;
    static constexpr tavo::PropertyIndex lastSeen = Base::propertyCount + 14;
    static constexpr tavo::PropertyIndex visits = Base::propertyCount + 15;
    static constexpr tavo::PropertyIndex neighbour = Base::propertyCount + 16;
    static constexpr tavo::PropertyIndex feeds = Base::propertyCount + 17;
  };
  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + 18;
  class BuilderImpl;

  using Base::Base;
  Plant This() { return Plant(this); }

  Bed getBed() const;
  bool hasBed() const;
  void setBed(const Bed& value);
  std::uint32_t getNumber() const { return storage().number; }
  void setNumber(std::uint32_t value);
  bool getIsPerennial() const { return storage().isPerennial; }
  void setIsPerennial(bool value);
  double getHeight() const { return storage().height; }
  void setHeight(double value);
  const tavo::String& getFamily() const { return storage().family; }
  void setFamily(const tavo::String& value);
  Season getSeason() const { return storage().season; }
  void setSeason(Season value);
  const Spot& getSpot() const { return storage().spot; }
  void setSpot(const Spot& value);
  const std::vector<tavo::String>& getAliases() const { return storage().aliases; }
  void setAliases(const std::vector<tavo::String>& value);
  const sample::Clock& getSownAt() const { return storage().sownAt; }
  void setSownAt(const sample::Clock& value);
  const tavo::String& getCode() const { return storage().code; }
  void setCode(const tavo::String& value);
  const tavo::String& getSecret() const { return storage().secret; }
  void setSecret(const tavo::String& value);
  const tavo::String& getURI() const { return storage().URI; }
  void setURI(const tavo::String& value);
  const sample::Clock& getLastSeen() const { return storage().lastSeen; }
  void setLastSeen(const sample::Clock& value);
  std::uint32_t getVisits() const { return storage().visits; }
  void setVisits(std::uint32_t value);
  Plant getNeighbour() const;
  bool hasNeighbour() const;
  void setNeighbour(const Plant& value);
  void basicSetNeighbour(const Plant& value);
  tavo::View<Bee> getFeeds() const;
  tavo::Mutable<tavo::View<Bee>> getFeedsMutable();
  bool hasFeeds() const;

  // Run before the setters write; raise to refuse the value.
  void aboutToSetHeight(double value);
  void aboutToSetLastSeen(const sample::Clock& value);

  Plant getTallest() const;
  double grow(double by);
  double grow(double by, const std::vector<Season>& seasons);
  double measure(const std::optional<tavo::String>& unit, bool& isRough) const;
  std::vector<Plant> plants(const std::vector<Plant>& among) const;
  void wilted(const sample::Clock& at);
  bool isIn(const tavo::Model& model, const tavo::MetaClass& metaClass) const;
  tavo::String describe(std::uint32_t length) const override;
  void rename(const tavo::String& name) override;
  virtual void rename(const tavo::String& first, const tavo::String& second);
  void setP_Name(const tavo::String& name) override;
  void aboutToDestroy() override;

private:
  Storage& storage() { return storageAs<Storage>(); }
  const Storage& storage() const { return storageAs<Storage>(); }
  const tavo::MetaProperty& at(tavo::PropertyIndex index) const { return objectClass().at(index); }
};

} // namespace sample
