// Copies of values where they belong.
#pragma once

#include "zelkor/property/Value.h"

namespace zelkor::property {

/// What `Value::clone` does, with the copy made in `feature` of `owner`, a containment of one value.
Value cloneInto(const tavo::ModelElement& owner, const tavo::MetaProperty& feature, const Value& value);

} // namespace zelkor::property
