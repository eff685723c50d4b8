#include "zelkor/property/NumericArrays.h"

#include "zelkor/framework/HostCalls.h"

#include <cmath>
#include <limits>

namespace zelkor::property {
namespace {

template <class To, class From>
To castNumber(From number) {
  if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
    using Limits = std::numeric_limits<To>;
    if (std::isnan(number))
      return 0;
    // The largest of a 64-bit class is no double; what rounds up to it is beyond it.
    if (number >= std::ldexp(static_cast<From>(1), Limits::digits))
      return Limits::max();
    if (number <= static_cast<From>(Limits::min()))
      return Limits::min();
  }
  return static_cast<To>(number);
}

} // namespace

kavra::HostArray castNumbers(const kavra::HostArray& array, kavra::ArrayClass to) {
  return callHost([&] {
    return kavra::withElementType(to, [&](auto target) {
      using To = decltype(target);
      return kavra::withElementType(array.arrayClass(), [&](auto source) {
        const auto numbers = array.data<decltype(source)>();
        if (array.isScalar())
          return kavra::HostArray::scalar(castNumber<To>(numbers[0]));
        auto result = kavra::HostArray::zeros(to, array.dimensions());
        const auto out = result.template mutableData<To>();
        for (std::size_t i = 0; i < numbers.size(); ++i)
          out[i] = castNumber<To>(numbers[i]);
        return result;
      });
    });
  });
}

} // namespace zelkor::property
