// The value types that everybody starts from.
#pragma once

#include "tavo/model/Model.h"
#include "zelkor/property/ValueType.h"

#include <vector>

namespace zelkor::property {

/// Creates the thirteen built-in types, in their order, at the top of the model; the caller puts them into their owner.
/// With one given, their identities follow from the owner's and their names.
ZELKOR_EXPORT std::vector<ValueType> createBuiltInTypes(const tavo::Model& model, const tavo::Uuid& owner = {});

} // namespace zelkor::property
