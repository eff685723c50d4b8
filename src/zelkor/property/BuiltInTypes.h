// The value types that everybody starts from.
#pragma once

#include "tavo/model/Model.h"
#include "zelkor/property/ValueType.h"

#include <vector>

namespace zelkor::property {

/// Creates the thirteen built-in types, in their order, at the top of the model; the caller puts them into their owner.
ZELKOR_EXPORT std::vector<ValueType> createBuiltInTypes(const tavo::Model& model);

} // namespace zelkor::property
