#include "zelkor/property/Dimensions.h"

#include "zelkor/framework/Errors.h"
#include "zelkor/property/ValueType.impl.h"

#include <algorithm>

namespace zelkor::property {

bool isSingle(const Dimensions& dimensions) {
  return std::all_of(dimensions.begin(), dimensions.end(), [](std::uint64_t extent) { return extent == 1; });
}

Dimensions asExtents(const Dimensions& dimensions) {
  if (dimensions.empty())
    return {1, 1};
  if (dimensions.size() == 1)
    return {1, dimensions.front()};
  return dimensions;
}

void requireDimensions(const ValueType::Impl& type, const kavra::HostArray& array) {
  if (!type.dimensionsMatch(array))
    raise(PropertyError::InvalidDimensions, type.renderValueDimensionsAsString(array),
          type.renderDimensionsAsString(type.getDimensions()));
}

} // namespace zelkor::property
