#include "kavra/standalone/Concatenation.h"

#include "kavra/EnumerationClass.h"
#include "kavra/standalone/Conversion.h"

#include <algorithm>

namespace kavra::standalone {
namespace {

/// Of an empty array, whose extents nothing else bounds.
constexpr std::uint64_t longestExtent = std::uint64_t{1} << 60;

bool isNothing(const HostArray& array) {
  auto extents = array.dimensions();
  return extents.size() == 2 && extents[0] == 0 && extents[1] == 0;
}

bool anyOf(std::span<const HostArray> pieces, ArrayClass c) {
  return std::any_of(pieces.begin(), pieces.end(), [&](auto& piece) { return piece.arrayClass() == c; });
}

ArrayClass resultClass(std::span<const HostArray> pieces) {
  bool sameClass = std::all_of(pieces.begin(), pieces.end(),
                               [&](auto& piece) { return piece.arrayClass() == pieces[0].arrayClass(); });
  if (sameClass)
    return pieces[0].arrayClass();
  for (auto c : {ArrayClass::Opaque, ArrayClass::Cell, ArrayClass::Enumeration, ArrayClass::String, ArrayClass::Char}) {
    if (anyOf(pieces, c))
      return c;
  }
  for (auto& piece : pieces) {
    if (isInteger(piece.arrayClass()))
      return piece.arrayClass();
  }
  return anyOf(pieces, ArrayClass::Single) ? ArrayClass::Single : ArrayClass::Double;
}

/// A piece in the class of the result; in a cell, everything that is not a cell becomes one element.
HostArray converted(Budget& budget, const HostArray& piece, ArrayClass to, const EnumerationClass* enumeration) {
  if (to == ArrayClass::Enumeration) {
    bool fits = piece.arrayClass() == to && &piece.enumerationClass() == enumeration;
    return fits ? piece : (fail("only members of one enumeration can stand together"), HostArray());
  }
  if (to == ArrayClass::Opaque)
    fail("these objects cannot be put together");
  if (to == ArrayClass::Cell && piece.arrayClass() != ArrayClass::Cell)
    return HostArray::cell({1, 1}, {piece});
  return convert(budget, piece, to);
}

std::uint64_t extentAlong(const HostArray& array, std::size_t dimension) {
  auto extents = array.dimensions();
  return dimension < extents.size() ? extents[dimension] : 1;
}

Dimensions resultExtents(std::size_t dimension, std::span<const HostArray> pieces) {
  auto result = dimensionsOf(pieces[0]);
  result.resize(std::max(result.size(), dimension + 1), 1);
  for (auto& piece : pieces.subspan(1)) {
    for (std::size_t d = 0; d < std::max(result.size(), piece.dimensions().size()); ++d) {
      if (d != dimension && extentAlong(piece, d) != (d < result.size() ? result[d] : 1))
        fail("the dimensions do not match");
    }
    result[dimension] += extentAlong(piece, dimension);
    if (result[dimension] > longestExtent)
      fail("an array is too large");
  }
  return result;
}

/// Where each element of the result stands in the pieces laid end to end. A result is a sequence of slabs, each of
/// which takes one stretch from every piece in turn.
Indices interleaved(const Dimensions& extents, std::size_t dimension, std::span<const HostArray> pieces,
                    std::uint64_t count) {
  Indices indices;
  indices.reserve(static_cast<std::size_t>(count));
  std::uint64_t inner = 1, slabs = 1;
  for (std::size_t d = 0; d < extents.size(); ++d)
    (d < dimension ? inner : slabs) *= d == dimension ? 1 : extents[d];
  for (std::uint64_t slab = 0; slab < slabs; ++slab) {
    std::uint64_t start = 0;
    for (auto& piece : pieces) {
      auto stretch = inner * extentAlong(piece, dimension);
      for (std::uint64_t i = 0; i < stretch; ++i)
        indices.push_back(start + slab * stretch + i);
      start += piece.count();
    }
  }
  return indices;
}

} // namespace

HostArray concatenate(Budget& budget, std::size_t dimension, std::span<const HostArray> pieces) {
  if (pieces.empty())
    return HostArray::zeros(ArrayClass::Double, {0, 0});
  auto c = resultClass(pieces);
  const EnumerationClass* enumeration = nullptr;
  Values kept;
  for (auto& piece : pieces) {
    if (c == ArrayClass::Enumeration && !enumeration && piece.arrayClass() == c)
      enumeration = &piece.enumerationClass();
    bool skipped = isNothing(piece) && !(c == ArrayClass::Cell && piece.arrayClass() == ArrayClass::Char) &&
                   !(c == ArrayClass::String && piece.arrayClass() == ArrayClass::Char);
    if (!skipped)
      kept.push_back(converted(budget, piece, c, enumeration));
  }
  if (kept.empty())
    return c == ArrayClass::Enumeration || c == ArrayClass::Opaque ? pieces[0] : HostArray::zeros(c, {0, 0});
  if (kept.size() == 1)
    return kept[0];

  auto extents = resultExtents(dimension, viewOf(kept));
  auto count = budget.charge(c, extentsOf(extents));
  bool isOneStretch = count == 0 || std::all_of(extents.begin() + static_cast<std::ptrdiff_t>(dimension) + 1,
                                                extents.end(), [](auto extent) { return extent == 1; });
  if (isOneStretch)
    return HostArray::joined(extentsOf(extents), viewOf(kept));
  budget.reserve(count * (sizeof(std::uint64_t) + elementSize(c)));
  auto joined = HostArray::joined({count, 1}, viewOf(kept));
  auto indices = interleaved(extents, dimension, viewOf(kept), count);
  return joined.select(extentsOf(extents), viewOf(indices));
}

} // namespace kavra::standalone
