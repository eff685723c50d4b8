// The errors of the commands that work on models.
#pragma once

#include "tavo/core/Error.h"

namespace zelkor::command {

using tavo::ErrorId;

struct ModelCommandError {
  /// (name, candidates) A short name could mean several things.
  static constexpr ErrorId AmbiguousName{"zelkor:model:AmbiguousName"};
  /// (line, problem) A table cannot be read.
  static constexpr ErrorId BadTable{"zelkor:model:BadTable"};
  /// (file) A model would be written over a file that is there.
  static constexpr ErrorId FileExists{"zelkor:model:FileExists"};
  /// (column, columns) A table has no such column, or lacks one.
  static constexpr ErrorId MissingColumn{"zelkor:model:MissingColumn"};
  /// (file) A model has no architecture, so it has no elements.
  static constexpr ErrorId NoArchitecture{"zelkor:model:NoArchitecture"};
  /// (element, property) A value is given twice.
  static constexpr ErrorId SetTwice{"zelkor:model:SetTwice"};
  /// (element, suggestion) There is no such element.
  static constexpr ErrorId UnknownElement{"zelkor:model:UnknownElement"};
  /// (element, property, suggestion) An element has no such property.
  static constexpr ErrorId UnknownProperty{"zelkor:model:UnknownProperty"};
  /// (stereotype, suggestion) The model's profiles have no such stereotype.
  static constexpr ErrorId UnknownStereotype{"zelkor:model:UnknownStereotype"};
};

} // namespace zelkor::command
