// Arrays as numbers of one working type, and the rules by which results are stored.
#pragma once

#include "kavra/standalone/Budget.h"

#include <boost/container/small_vector.hpp>

#include <cmath>
#include <limits>

namespace kavra::standalone {

/// The floating type in which elements of a class are computed: wide enough to hold each of them exactly.
template <class T>
using WorkType = std::conditional_t<std::is_same_v<T, float>, float,
                                    std::conditional_t<std::is_integral_v<T> && sizeof(T) == 8, long double, double>>;

inline bool needsExtendedPrecision(ArrayClass c) { return c == ArrayClass::Int64 || c == ArrayClass::Uint64; }
inline bool isNumberLike(ArrayClass c) { return c >= ArrayClass::Double && c <= ArrayClass::Char; }

/// A floating number as an element: integers are rounded, halves away from zero, and saturate; NaN becomes zero there.
template <class To, class From>
To store(From value) {
  if constexpr (std::is_same_v<To, bool>) {
    return value != 0;
  } else if constexpr (!std::is_integral_v<To>) {
    return static_cast<To>(value);
  } else {
    if (std::isnan(value))
      return To{};
    value = std::round(value);
    // One past the largest is a power of two, so it is exact even where the largest itself is not.
    const From end = std::ldexp(From{1}, std::numeric_limits<To>::digits);
    if (value >= end)
      return std::numeric_limits<To>::max();
    if (value < static_cast<From>(std::numeric_limits<To>::min()))
      return std::numeric_limits<To>::min();
    return static_cast<To>(value);
  }
}

/// The elements of a numeric, logical or char array as numbers of type W; a view where they are that already.
template <class W>
class Operand {
public:
  Operand(Budget& budget, const HostArray& array) : extents_(array.dimensions()) {
    if constexpr (classOf<W> != ArrayClass::None) {
      if (array.arrayClass() == classOf<W>) {
        values_ = array.data<W>();
        return;
      }
    }
    auto count = static_cast<std::size_t>(array.count());
    if (count > storage_.capacity())
      budget.reserve(count * sizeof(W));
    storage_.resize(count);
    withElementType(array.arrayClass(), [&](auto zero) {
      auto from = array.data<decltype(zero)>();
      for (std::size_t i = 0; i < count; ++i)
        storage_[i] = static_cast<W>(from[i]);
    });
    values_ = {storage_.data(), count};
  }
  Operand(const Operand&) = delete;
  Operand& operator=(const Operand&) = delete;

  std::span<const W> values() const { return values_; }
  std::span<const std::uint64_t> extents() const { return extents_; }

private:
  std::span<const W> values_;
  std::span<const std::uint64_t> extents_;
  boost::container::small_vector<W, 4> storage_;
};

using Dimensions = boost::container::small_vector<std::uint64_t, 4>;
using Indices = boost::container::small_vector<std::uint64_t, 16>;
using Values = boost::container::small_vector<HostArray, 8>;

inline Dimensions dimensionsOf(const HostArray& array) {
  auto extents = array.dimensions();
  return {extents.begin(), extents.end()};
}
inline std::span<const HostArray> viewOf(const Values& values) { return {values.data(), values.size()}; }
inline std::span<const std::uint64_t> viewOf(const Indices& indices) { return {indices.data(), indices.size()}; }
inline Extents extentsOf(const Dimensions& dimensions) { return std::span(dimensions.data(), dimensions.size()); }

/// An array of zeros, paid for.
inline HostArray makeArray(Budget& budget, ArrayClass arrayClass, Extents extents) {
  budget.charge(arrayClass, extents);
  return HostArray::zeros(arrayClass, extents);
}

} // namespace kavra::standalone
