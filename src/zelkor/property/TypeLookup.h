// Finding value types: behind references, by kind, and along base types.
#pragma once

#include "zelkor/property/RealType.h"
#include "zelkor/property/ValueType.h"
#include "zelkor/services/ProxySource.h"

namespace zelkor::property {

/// The type that a reference leads to, empty without a reference. Raises UnresolvedPropertyDefinition when it cannot be
/// had: whoever is about to change something needs it.
ValueType requireType(const services::proxy::ProxySource& reference);

/// The type as one of numbers, which may have units. Empty for all others, enumerations among them.
RealType asNumeric(const ValueType& type);

/// A walk from a type to the root of its chain of base types. A base type that cannot be had raises
/// FailedProxyResolve, since a type whose base is missing is not a root; base types that lead back to themselves, as
/// files may have them, raise BaseTypeCycle.
class BaseTypes {
public:
  explicit BaseTypes(ValueType type) : type_(std::move(type)), passed_(type_) {}

  const ValueType& type() const { return type_; }
  /// Goes on to the base type; false at the root.
  bool next();

private:
  ValueType type_;
  ValueType passed_; ///< a type passed earlier, renewed ever more seldom: a ring comes back to it
  std::size_t steps_ = 0;
  std::size_t renewAt_ = 1;
};

/// The last type of the chain.
ValueType rootOf(const ValueType& type);

/// The next type of the chain, or empty at a root.
ValueType baseOf(const ValueType& type);

} // namespace zelkor::property
