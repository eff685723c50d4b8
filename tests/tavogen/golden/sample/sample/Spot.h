// Made by tavogen from package.toml; edit that instead.
#pragma once

#include "sample/Export.h"
#include "sample/Season.h"
#include "tavo/core/String.h"
#include "tavo/meta/Datatype.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace sample {

/// A place in a bed.
struct SAMPLE_EXPORT Spot {
  tavo::String label;
  std::int32_t row = 0;
  Season season = Season{};

  Spot& setLabel(const tavo::String& value);
  Spot& setRow(std::int32_t value);
  Spot& setSeason(Season value);

  /// By the fields in their order; -1, 0 or 1.
  int compareWith(const Spot& other) const;
  std::size_t hash() const;
  friend bool operator==(const Spot&, const Spot&) = default;
  friend bool operator<(const Spot& a, const Spot& b) { return a.compareWith(b) < 0; }
};

} // namespace sample

template <>
struct std::hash<sample::Spot> {
  std::size_t operator()(const sample::Spot& value) const { return value.hash(); }
};

template <>
struct SAMPLE_EXPORT tavo::DatatypeOf<sample::Spot> {
  static const Datatype& get();
};
