// Made by tavogen from Plant.toml; edit that instead.
#pragma once

#include "sample/Named.builder.h"
#include "sample/Plant.impl.h"
#include "sample/Season.h"
#include "sample/Spot.h"
#include "tavo/core/String.h"
#include "tavo/core/Uuid.h"
#include "tests/tavogen/sample/Clock.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace sample {

class Bee;

class SAMPLE_EXPORT Plant::Impl::BuilderImpl : public Named::Impl::BuilderImpl {
public:
  using Base::BuilderImpl::BuilderImpl;

  void doSetNumber(std::uint32_t value);
  std::uint32_t getNumber() const;
  void doSetIsPerennial(bool value);
  bool getIsPerennial() const;
  void doSetOffset(std::int32_t value);
  std::int32_t getOffset() const;
  void doSetSeeds(std::int64_t value);
  std::int64_t getSeeds() const;
  void doSetLeaves(std::uint64_t value);
  std::uint64_t getLeaves() const;
  void doSetHeight(double value);
  double getHeight() const;
  void doSetOrigin(const tavo::Uuid& value);
  tavo::Uuid getOrigin() const;
  void doSetFamily(const tavo::String& value);
  tavo::String getFamily() const;
  void doSetSeason(Season value);
  Season getSeason() const;
  void doSetSpot(const Spot& value);
  Spot getSpot() const;
  void doSetMaxHeight(const std::optional<double>& value);
  std::optional<double> getMaxHeight() const;
  void doSetYields(const std::vector<std::uint64_t>& value);
  std::vector<std::uint64_t> getYields() const;
  void doSetAliases(const std::vector<tavo::String>& value);
  std::vector<tavo::String> getAliases() const;
  void doSetSownAt(const sample::Clock& value);
  sample::Clock getSownAt() const;
  void doSetCode(const tavo::String& value);
  tavo::String getCode() const;
  void doSetSecret(const tavo::String& value);
  tavo::String getSecret() const;
  void doSetURI(const tavo::String& value);
  tavo::String getURI() const;
  void doSetLastSeen(const sample::Clock& value);
  sample::Clock getLastSeen() const;
  void doSetVisits(std::uint32_t value);
  std::uint32_t getVisits() const;
  void doSetNeighbour(const Plant& value);
  Plant getNeighbour() const;
  void doAddFeeds(const Bee& value);
  void doClearFeeds();
  std::vector<Bee> getFeeds() const;
};

class Plant::Builder : public tavo::BuilderBase<Plant::Impl::BuilderImpl, Plant, Plant::Builder> {
public:
  using BuilderBase::BuilderBase;
};

} // namespace sample
