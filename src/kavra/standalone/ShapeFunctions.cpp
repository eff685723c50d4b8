#include "kavra/standalone/Concatenation.h"
#include "kavra/standalone/Functions.h"
#include "kavra/standalone/Indexing.h"
#include "kavra/standalone/Matrices.h"

#include <algorithm>

namespace kavra::standalone {
namespace {

HostArray number(std::uint64_t value) { return HostArray::scalar(static_cast<double>(value)); }

HostArray size(const Call& call) {
  auto extents = call[0].dimensions();
  if (call.count() == 2) {
    auto dimension = dimensionFromArgument(call[1]);
    return number(dimension < extents.size() ? extents[dimension] : 1);
  }
  std::vector<double> row(extents.begin(), extents.end());
  return HostArray::of<double>({1, row.size()}, std::span<const double>(row));
}

HostArray numel(const Call& call) { return number(call[0].count()); }
HostArray ndims(const Call& call) { return number(call[0].dimensions().size()); }
HostArray isempty(const Call& call) { return HostArray::scalar(call[0].isEmpty()); }

HostArray length(const Call& call) {
  auto extents = call[0].dimensions();
  return number(call[0].isEmpty() ? 0 : *std::max_element(extents.begin(), extents.end()));
}

HostArray reshape(const Call& call) {
  auto extents = extentsFromArguments(call.arguments.subspan(1));
  auto& array = call[0];
  if (call.count() == 2 && call[1].isScalar())
    fail("extents are a row of at least two numbers");
  if (call.budget.charge(array.arrayClass(), extentsOf(extents)) != array.count())
    fail("another shape has as many elements");
  return array.reshaped(extentsOf(extents));
}

HostArray transposed(const Call& call) { return transpose(call.budget, call[0]); }

/// One array beside and below itself.
HostArray repmat(const Call& call) {
  auto times = extentsFromArguments(call.arguments.subspan(1));
  auto extents = dimensionsOf(call[0]);
  extents.resize(std::max(extents.size(), times.size()), 1);
  times.resize(extents.size(), 1);
  auto result = extents;
  for (std::size_t d = 0; d < result.size(); ++d) {
    std::uint64_t factors[] = {extents[d], times[d]};
    result[d] = checkedProduct(factors).value_or(HostArray::maxElements + 1);
  }
  call.budget.charge(call[0].arrayClass(), extentsOf(result));

  Values subscripts;
  for (std::size_t d = 0; d < result.size(); ++d) {
    auto positions = makeArray(call.budget, ArrayClass::Double, {1, result[d]});
    auto out = positions.mutableData<double>();
    for (std::size_t i = 0; i < out.size(); ++i)
      out[i] = static_cast<double>(i % extents[d] + 1);
    subscripts.push_back(std::move(positions));
  }
  return elementsAt(call.budget, call[0], viewOf(subscripts));
}

HostArray horzcat(const Call& call) { return concatenate(call.budget, 1, call.arguments); }
HostArray vertcat(const Call& call) { return concatenate(call.budget, 0, call.arguments); }
HostArray cat(const Call& call) {
  return concatenate(call.budget, dimensionFromArgument(call[0]), call.arguments.subspan(1));
}

constexpr FunctionEntry entries[] = {
    {u"size", 1, 2, size},
    {u"numel", 1, 1, numel},
    {u"ndims", 1, 1, ndims},
    {u"length", 1, 1, length},
    {u"isempty", 1, 1, isempty},
    {u"reshape", 2, anyNumber, reshape},
    {u"transpose", 1, 1, transposed},
    {u"repmat", 2, anyNumber, repmat},
    {u"horzcat", 0, anyNumber, horzcat},
    {u"vertcat", 0, anyNumber, vertcat},
    {u"cat", 1, anyNumber, cat},
};

} // namespace

std::span<const FunctionEntry> shapeFunctions() { return entries; }

} // namespace kavra::standalone
