// The errors of the text form.
#pragma once

#include "tavo/core/Error.h"

namespace zelkor::text {

using tavo::ErrorId;

struct TextError {
  /// (name) A type takes the name of a built-in one.
  static constexpr ErrorId BuiltInName{"zelkor:text:BuiltInName"};
  /// (file, difference) A profile holds something that the text form cannot say.
  static constexpr ErrorId CannotDescribe{"zelkor:text:CannotDescribe"};
  /// () The standard output takes no more.
  static constexpr ErrorId CannotPrint{"zelkor:text:CannotPrint"};
  /// (things) Parents, base types or profiles lead back to where they started.
  static constexpr ErrorId Cycle{"zelkor:text:Cycle"};
  /// (kind, name, line) A name stands twice.
  static constexpr ErrorId DuplicateName{"zelkor:text:DuplicateName"};
  /// (text) An identity is not written as one.
  static constexpr ErrorId InvalidIdentity{"zelkor:text:InvalidIdentity"};
  /// (kind, name) A name is not valid.
  static constexpr ErrorId InvalidName{"zelkor:text:InvalidName"};
  /// (enumeration) The members of an enumeration cannot be found.
  static constexpr ErrorId MissingEnumeration{"zelkor:text:MissingEnumeration"};
  /// (table, key) A key that must be there is not.
  static constexpr ErrorId MissingKey{"zelkor:text:MissingKey"};
  /// (name, reference) Something refers to a thing that cannot be had.
  static constexpr ErrorId MissingTarget{"zelkor:text:MissingTarget"};
  /// (name) A property refers to no type at all.
  static constexpr ErrorId MissingType{"zelkor:text:MissingType"};
  /// (keys) Two keys exclude each other.
  static constexpr ErrorId OneOf{"zelkor:text:OneOf"};
  /// (file, name, name) An output holds another profile than the one that is to be written there.
  static constexpr ErrorId OtherProfile{"zelkor:text:OtherProfile"};
  /// (file) What is read would be overwritten with something else.
  static constexpr ErrorId OutputIsInput{"zelkor:text:OutputIsInput"};
  /// (file, name) An output is not named after its profile.
  static constexpr ErrorId OutputName{"zelkor:text:OutputName"};
  /// (identity, path, path) Two objects are to have one identity.
  static constexpr ErrorId SharedIdentity{"zelkor:text:SharedIdentity"};
  /// (problem) The text is no TOML.
  static constexpr ErrorId Syntax{"zelkor:text:Syntax"};
  /// (profile) A profile is referred to that `dependsOn` does not list.
  static constexpr ErrorId UndeclaredDependency{"zelkor:text:UndeclaredDependency"};
  /// (message) The health check finds a fault.
  static constexpr ErrorId Unhealthy{"zelkor:text:Unhealthy"};
  /// (units, units of the base) A type is given other units than its base type has.
  static constexpr ErrorId UnitsOfBase{"zelkor:text:UnitsOfBase"};
  /// (key, value, choices) A value is none of those there are.
  static constexpr ErrorId UnknownChoice{"zelkor:text:UnknownChoice"};
  /// (name) Nothing had the name before that something says it had.
  static constexpr ErrorId UnknownFormer{"zelkor:text:UnknownFormer"};
  /// (table, key, suggestion) A key means nothing.
  static constexpr ErrorId UnknownKey{"zelkor:text:UnknownKey"};
  /// (kind, name, suggestion) There is nothing of that name.
  static constexpr ErrorId UnknownName{"zelkor:text:UnknownName"};
  /// (path) A path of [exact] leads to nothing, or to what cannot be as it says.
  static constexpr ErrorId UnknownPath{"zelkor:text:UnknownPath"};
  /// (key, expected) The value of a key is of the wrong kind.
  static constexpr ErrorId WrongKind{"zelkor:text:WrongKind"};
};

} // namespace zelkor::text
