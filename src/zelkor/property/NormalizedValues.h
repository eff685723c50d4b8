// Values in the units of their type, which is what computations work with.
#pragma once

#include "kavra/HostArray.h"
#include "tavo/core/String.h"

namespace zelkor::property {

class Value;

/// The array of a value, converted from the units that it is written in to those of its type. Numbers that had to be
/// converted are doubles, or singles where they were. Null without text; unchanged where either has no units. Errors of
/// the evaluation and of the unit service pass through.
kavra::HostArray normalizedValue(const Value& value);

/// An expression for an array that is given in the units of the value's type: in the units that the value is written
/// in, such that it reads back exactly. Raises InvalidValue for an array that no expression can say.
tavo::String expressionOfNormalized(const kavra::HostArray& array, const Value& value);

} // namespace zelkor::property
