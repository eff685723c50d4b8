// The classes that the host knows by name.
#pragma once

#include "kavra/EnumerationClass.h"

#include <optional>

namespace kavra {

/// A class as the library sees it: an enumeration, or something else of that name.
struct HostClass {
  std::u16string name;
  const EnumerationClass* enumeration = nullptr;

  bool isEnumeration() const { return enumeration != nullptr; }
};

class KAVRA_EXPORT ClassRegistry {
public:
  virtual ~ClassRegistry();

  /// The class of that name, or nothing. Raises kavra::Error when there is one but it cannot be read.
  virtual std::optional<HostClass> findClass(std::u16string_view name) = 0;

  /// What the host's query for an enumeration's default answers: a position counted from one, and 1 when the answer is
  /// no whole number. It may name no member; raises kavra::Error when the class does not answer.
  virtual std::int64_t defaultMemberPosition(std::u16string_view enumerationName) = 0;
};

} // namespace kavra
