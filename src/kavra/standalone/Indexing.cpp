#include "kavra/standalone/Indexing.h"

#include <algorithm>

namespace kavra::standalone {
namespace {

/// One subscript as indices that count from zero, and the shape that was asked for.
struct Selection {
  Indices indices;
  Dimensions extents;
};

Selection everything(Budget& budget, std::uint64_t extent) {
  budget.charge(ArrayClass::Uint64, {extent});
  Selection selection{Indices(static_cast<std::size_t>(extent)), {extent, 1}};
  for (std::size_t i = 0; i < selection.indices.size(); ++i)
    selection.indices[i] = i;
  return selection;
}

/// The positions of the truths, as the host's "find" orders and shapes them.
Selection positionsOfTruths(Budget& budget, const HostArray& mask, std::uint64_t extent) {
  budget.charge(ArrayClass::Uint64, mask.dimensions());
  Selection selection;
  auto truths = mask.data<bool>();
  for (std::size_t i = 0; i < truths.size(); ++i) {
    if (!truths[i])
      continue;
    if (i >= extent)
      fail("a position is beyond the end");
    selection.indices.push_back(i);
  }
  bool isRow = mask.dimensions().size() == 2 && mask.dimensions()[0] == 1 && mask.dimensions()[1] != 1;
  auto count = std::uint64_t{selection.indices.size()};
  selection.extents = isRow ? Dimensions{1, count} : Dimensions{count, 1};
  if (mask.isEmpty())
    selection.extents = dimensionsOf(mask);
  return selection;
}

Selection positions(Budget& budget, const HostArray& array, std::uint64_t extent) {
  if (!isNumberLike(array.arrayClass()))
    fail("a position is a number");
  budget.charge(ArrayClass::Uint64, array.dimensions());
  Selection selection{{}, dimensionsOf(array)};
  selection.indices.reserve(static_cast<std::size_t>(array.count()));
  Operand<double> numbers(budget, array);
  for (double position : numbers.values()) {
    if (!(position >= 1) || position != std::floor(position))
      fail("a position is a whole number from 1");
    if (position > static_cast<double>(extent))
      fail("a position is beyond the end");
    selection.indices.push_back(static_cast<std::uint64_t>(position) - 1);
  }
  return selection;
}

Selection resolve(Budget& budget, const Subscript& subscript, std::uint64_t extent) {
  if (!subscript)
    return everything(budget, extent);
  if (subscript.arrayClass() == ArrayClass::Logical)
    return positionsOfTruths(budget, subscript, extent);
  return positions(budget, subscript, extent);
}

bool isRowOrColumn(std::span<const std::uint64_t> extents) {
  return extents.size() == 2 && (extents[0] == 1) != (extents[1] == 1);
}

/// a(i): a vector of positions in a vector keeps the direction of the array, all else has the shape of the positions.
HostArray byOnePosition(Budget& budget, const HostArray& array, const Subscript& subscript) {
  auto selection = resolve(budget, subscript, array.count());
  auto count = std::uint64_t{selection.indices.size()};
  bool keepsDirection = subscript && isRowOrColumn(array.dimensions()) && isRowOrColumn(extentsOf(selection.extents));
  if (keepsDirection)
    selection.extents = array.dimensions()[0] == 1 ? Dimensions{1, count} : Dimensions{count, 1};
  budget.charge(array.arrayClass(), extentsOf(selection.extents));
  return array.select(extentsOf(selection.extents), viewOf(selection.indices));
}

/// a(i,j,...): every combination, the first subscript running fastest.
HostArray byPositions(Budget& budget, const HostArray& array, std::span<const Subscript> subscripts) {
  boost::container::small_vector<Selection, 3> selections;
  Dimensions extents;
  for (std::size_t place = 0; place < subscripts.size(); ++place) {
    selections.push_back(resolve(budget, subscripts[place], lastPosition(array, place, subscripts.size())));
    extents.push_back(selections.back().indices.size());
  }
  auto count = budget.charge(array.arrayClass(), extentsOf(extents));
  budget.reserve(count * sizeof(std::uint64_t));

  Indices indices(static_cast<std::size_t>(count), 0);
  std::uint64_t stride = 1, repeat = 1;
  for (std::size_t place = 0; place < selections.size() && count > 0; ++place) {
    auto& chosen = selections[place].indices;
    budget.spend(count);
    for (std::size_t i = 0; i < indices.size(); ++i)
      indices[i] += stride * chosen[static_cast<std::size_t>(i / repeat % chosen.size())];
    stride *= lastPosition(array, place, subscripts.size());
    repeat *= chosen.size();
  }
  return array.select(extentsOf(extents), viewOf(indices));
}

} // namespace

HostArray elementsAt(Budget& budget, const HostArray& array, std::span<const Subscript> subscripts) {
  if (array.arrayClass() == ArrayClass::Opaque)
    fail("this object has no elements");
  if (subscripts.empty())
    return array;
  if (subscripts.size() == 1)
    return byOnePosition(budget, array, subscripts[0]);
  return byPositions(budget, array, subscripts);
}

std::uint64_t lastPosition(const HostArray& array, std::size_t place, std::size_t count) {
  auto extents = array.dimensions();
  if (place >= extents.size())
    return 1;
  if (place + 1 < count)
    return extents[place];
  std::uint64_t last = 1;
  for (auto extent : extents.subspan(place))
    last *= extent;
  return last;
}

} // namespace kavra::standalone
