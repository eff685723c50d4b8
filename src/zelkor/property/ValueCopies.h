// Copies of values where they belong.
#pragma once

#include "kavra/HostArray.h"
#include "zelkor/property/Value.h"

namespace zelkor::property {

/// What `Value::clone` does, with the copy made in `feature` of `owner`, a containment of one value.
Value cloneInto(const tavo::ModelElement& owner, const tavo::MetaProperty& feature, const Value& value);

/// A value to be: a copy that then takes a text and, unless they are "*", units, with the errors that come of doing one
/// after the other. Mostly all of it can be worked out before anything is made, and what is made is then complete.
class ValueDraft {
public:
  ValueDraft(const Value& original, const tavo::Model& home, const tavo::String& expression, const tavo::String& units);

  /// Makes the value in `feature` of `owner`, which is in the model that was given.
  Value createIn(const tavo::ModelElement& owner, const tavo::MetaProperty& feature) const;

private:
  Value original_;
  tavo::String expression_;
  tavo::String units_;
  kavra::HostArray array_{};
  bool isComplete_ = false;
};

} // namespace zelkor::property
