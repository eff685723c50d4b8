// The extents of values.
#pragma once

#include "kavra/HostArray.h"
#include "zelkor/property/ValueType.h"

#include <cstdint>
#include <vector>

namespace zelkor::property {

using Dimensions = std::vector<std::uint64_t>;

/// Whether a value of these dimensions has exactly one element. None at all count as one.
bool isSingle(const Dimensions& dimensions);

/// The extents as the host's functions take them: two at least, a row for one.
Dimensions asExtents(const Dimensions& dimensions);

/// Raises InvalidDimensions when the array has not the shape that the type asks for.
void requireDimensions(const ValueType::Impl& type, const kavra::HostArray& array);

} // namespace zelkor::property
