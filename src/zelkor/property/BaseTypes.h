// Walking from a value type along its base types.
#pragma once

#include "kavra/HostArray.h"
#include "zelkor/property/ValueType.h"

namespace zelkor::property {

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

/// The class of array that the root's name names, when `accepts` it; else `otherwise`.
kavra::ArrayClass rootClass(const ValueType& type, bool (*accepts)(kavra::ArrayClass), kavra::ArrayClass otherwise);

/// The first bound that a type or its base types of the same class hold themselves.
template <class Type, class Bound>
Bound inheritedBound(const Type& type, Bound (*own)(const Type&)) {
  BaseTypes chain(type);
  do {
    const auto same = chain.type().template as<Type>();
    if (!same)
      return {};
    if (const Bound bound = own(same))
      return bound;
  } while (chain.next());
  return {};
}

} // namespace zelkor::property
