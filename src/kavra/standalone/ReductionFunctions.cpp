#include "kavra/standalone/Arithmetic.h"
#include "kavra/standalone/Functions.h"

namespace kavra::standalone {
namespace {

/// The elements of an array along one dimension, at one place in all others.
template <class W>
struct Line {
  const W* first;
  std::size_t stride;
  std::size_t count;

  W operator[](std::size_t i) const { return first[i * stride]; }
};

template <class W>
W sumOf(Line<W> line) {
  W sum = 0;
  for (std::size_t i = 0; i < line.count; ++i)
    sum += line[i];
  return sum;
}

template <class W>
W productOf(Line<W> line) {
  W product = 1;
  for (std::size_t i = 0; i < line.count; ++i)
    product *= line[i];
  return product;
}

/// NaN counts only where there is nothing else.
template <class W>
W smallestOf(Line<W> line) {
  W smallest = line[0];
  for (std::size_t i = 1; i < line.count; ++i)
    smallest = std::fmin(smallest, line[i]);
  return smallest;
}

template <class W>
W largestOf(Line<W> line) {
  W largest = line[0];
  for (std::size_t i = 1; i < line.count; ++i)
    largest = std::fmax(largest, line[i]);
  return largest;
}

template <class W>
W anyOf(Line<W> line) {
  for (std::size_t i = 0; i < line.count; ++i) {
    if (line[i] != 0 && !std::isnan(line[i]))
      return 1;
  }
  return 0;
}

template <class W>
W allOf(Line<W> line) {
  for (std::size_t i = 0; i < line.count; ++i) {
    if (line[i] == 0)
      return 0;
  }
  return 1;
}

/// A reduction in each working type.
struct Reduction {
  double (*ofDoubles)(Line<double>);
  float (*ofSingles)(Line<float>);
  long double (*ofLongs)(Line<long double>);
};

struct Layout {
  std::size_t inner = 1, extent = 1, outer = 1;
  Dimensions result;
};

Layout layoutOf(const HostArray& array, std::size_t dimension) {
  Layout layout;
  layout.result = dimensionsOf(array);
  for (std::size_t d = 0; d < layout.result.size(); ++d) {
    auto extent = static_cast<std::size_t>(layout.result[d]);
    (d < dimension ? layout.inner : d == dimension ? layout.extent : layout.outer) *= extent;
  }
  if (dimension < layout.result.size())
    layout.result[dimension] = 1;
  return layout;
}

std::size_t firstRealDimension(const HostArray& array) {
  auto extents = array.dimensions();
  for (std::size_t d = 0; d < extents.size(); ++d) {
    if (extents[d] != 1)
      return d;
  }
  return 0;
}

template <class W, class R>
HostArray reduceIn(Budget& budget, const HostArray& array, const Layout& layout, W (*function)(Line<W>)) {
  HostArray result = makeArray(budget, classOf<R>, extentsOf(layout.result));
  if (result.isEmpty())
    return result; // the other extents may be anything
  Operand<W> operand(budget, array);
  budget.spend(array.count());
  auto out = result.mutableData<R>();
  for (std::size_t o = 0; o < layout.outer; ++o) {
    for (std::size_t i = 0; i < layout.inner; ++i) {
      Line<W> line{operand.values().data() + o * layout.extent * layout.inner + i, layout.inner, layout.extent};
      out[o * layout.inner + i] = store<R>(function(line));
    }
  }
  return result;
}

HostArray reduce(Budget& budget, const HostArray& array, const Layout& layout, const Reduction& reduction,
                 ArrayClass to) {
  return withElementType(to, [&](auto zero) {
    using R = decltype(zero);
    using W = WorkType<R>;
    if constexpr (std::is_same_v<W, float>)
      return reduceIn<W, R>(budget, array, layout, reduction.ofSingles);
    else if constexpr (std::is_same_v<W, long double>)
      return reduceIn<W, R>(budget, array, layout, reduction.ofLongs);
    else
      return reduceIn<W, R>(budget, array, layout, reduction.ofDoubles);
  });
}

void requireNumbers(const HostArray& array) {
  if (!isNumberLike(array.arrayClass()))
    fail("this is for numbers");
}

/// Nothing at all (0-by-0) reduces to one value, as a column of nothing would.
HostArray nothingAsColumn(const HostArray& array) {
  auto extents = array.dimensions();
  bool isNothing = extents.size() == 2 && extents[0] == 0 && extents[1] == 0;
  return isNothing ? array.reshaped({0, 1}) : array;
}

HostArray total(const Call& call, const Reduction& reduction) {
  requireNumbers(call[0]);
  auto array = call.count() == 1 ? nothingAsColumn(call[0]) : call[0];
  auto dimension = call.count() == 2 ? dimensionFromArgument(call[1]) : firstRealDimension(array);
  auto to = isNumeric(array.arrayClass()) ? array.arrayClass() : ArrayClass::Double;
  return reduce(call.budget, array, layoutOf(array, dimension), reduction, to);
}

HostArray sum(const Call& call) { return total(call, {sumOf<double>, sumOf<float>, sumOf<long double>}); }
HostArray prod(const Call& call) { return total(call, {productOf<double>, productOf<float>, productOf<long double>}); }

HostArray truthOf(const Call& call, double (*function)(Line<double>)) {
  requireNumbers(call[0]);
  auto array = call.count() == 1 ? nothingAsColumn(call[0]) : call[0];
  auto dimension = call.count() == 2 ? dimensionFromArgument(call[1]) : firstRealDimension(array);
  return reduceIn<double, bool>(call.budget, array, layoutOf(array, dimension), function);
}

HostArray any(const Call& call) { return truthOf(call, anyOf<double>); }
HostArray all(const Call& call) { return truthOf(call, allOf<double>); }

/// The extreme of two arrays element by element, or of one along a dimension: min(a,b), min(a), min(a,[],dimension).
HostArray extreme(const Call& call, const PairFunction& ofTwo, const Reduction& ofMany) {
  if (call.count() == 2)
    return elementwise(call.budget, ofTwo, call[0], call[1]);
  if (call.count() == 3 && !call[1].isEmpty())
    fail("a dimension is for one array");
  auto& array = call[0];
  requireNumbers(array);
  auto dimension = call.count() == 3 ? dimensionFromArgument(call[2]) : firstRealDimension(array);
  auto layout = layoutOf(array, dimension);
  auto to = isNumeric(array.arrayClass()) ? array.arrayClass() : ArrayClass::Double;
  if (layout.extent == 0) {
    layout.result[dimension] = 0; // nothing has no extreme
    return HostArray::zeros(to, extentsOf(layout.result));
  }
  return reduce(call.budget, array, layout, ofMany, to);
}

template <class W>
W smaller(W x, W y) {
  return std::fmin(x, y);
}
template <class W>
W larger(W x, W y) {
  return std::fmax(x, y);
}

HostArray min(const Call& call) {
  return extreme(call, {smaller<double>, smaller<float>, smaller<long double>},
                 {smallestOf<double>, smallestOf<float>, smallestOf<long double>});
}

HostArray max(const Call& call) {
  return extreme(call, {larger<double>, larger<float>, larger<long double>},
                 {largestOf<double>, largestOf<float>, largestOf<long double>});
}

constexpr FunctionEntry entries[] = {
    {u"sum", 1, 2, sum}, {u"prod", 1, 2, prod}, {u"any", 1, 2, any},
    {u"all", 1, 2, all}, {u"min", 1, 3, min},   {u"max", 1, 3, max},
};

} // namespace

std::span<const FunctionEntry> reductionFunctions() { return entries; }

} // namespace kavra::standalone
