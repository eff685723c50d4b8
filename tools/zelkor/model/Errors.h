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
  /// (column) The first row of a table names a column twice.
  static constexpr ErrorId ColumnTwice{"zelkor:model:ColumnTwice"};
  /// () A row of a table has no value.
  static constexpr ErrorId EmptyCell{"zelkor:model:EmptyCell"};
  /// (cell) A row has more cells than the table has columns.
  static constexpr ErrorId ExtraCell{"zelkor:model:ExtraCell"};
  /// (file) A model would be written over a file that is there.
  static constexpr ErrorId FileExists{"zelkor:model:FileExists"};
  /// (column) A table lacks a column.
  static constexpr ErrorId MissingColumn{"zelkor:model:MissingColumn"};
  /// (profile) A profile that cannot be had is to be removed.
  static constexpr ErrorId MissingProfile{"zelkor:model:MissingProfile"};
  /// (stereotype) A stereotype that cannot be had is to be taken off.
  static constexpr ErrorId MissingStereotype{"zelkor:model:MissingStereotype"};
  /// (name) A file is called what an architecture cannot be called.
  static constexpr ErrorId NameOfFile{"zelkor:model:NameOfFile"};
  /// (file) A model has no architecture, so it has no elements.
  static constexpr ErrorId NoArchitecture{"zelkor:model:NoArchitecture"};
  /// (element, stereotype) The element does not carry it, or does so only as an ancestor of another.
  static constexpr ErrorId NotCarried{"zelkor:model:NotCarried"};
  /// (what becomes of it) A release cannot hold something.
  static constexpr ErrorId NotInRelease{"zelkor:model:NotInRelease"};
  /// (cell) A cell says neither yes nor no.
  static constexpr ErrorId NotYesOrNo{"zelkor:model:NotYesOrNo"};
  /// (element, property, line) A value is given twice.
  static constexpr ErrorId SetTwice{"zelkor:model:SetTwice"};
  /// (column, suggestion) A table has a column that means nothing.
  static constexpr ErrorId UnknownColumn{"zelkor:model:UnknownColumn"};
  /// (element, suggestion) There is no such element.
  static constexpr ErrorId UnknownElement{"zelkor:model:UnknownElement"};
  /// (element, property, suggestion) An element has no such property.
  static constexpr ErrorId UnknownProperty{"zelkor:model:UnknownProperty"};
  /// (stereotype, suggestion) The model's profiles have no such stereotype.
  static constexpr ErrorId UnknownStereotype{"zelkor:model:UnknownStereotype"};
  /// (element, kind) An element is not of the kind that is needed.
  static constexpr ErrorId WrongKind{"zelkor:model:WrongKind"};
};

} // namespace zelkor::command
