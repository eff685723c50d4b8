// What floating-point and integer types have in common: bounds, and a class of array that the root of the type names.
#pragma once

#include "tavo/model/Transaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostCalls.h"
#include "zelkor/property/Dimensions.h"
#include "zelkor/property/FloatType.impl.h"
#include "zelkor/property/IntegerType.impl.h"
#include "zelkor/property/NumericArrays.h"
#include "zelkor/property/TypeLookup.h"
#include "zelkor/property/UnitQueryClientWrapper.h"

#include <limits>
#include <optional>

namespace zelkor::property {

/// What tells the two kinds of numeric types apart.
template <class Type>
struct NumericKind;

template <>
struct NumericKind<FloatType> {
  using Number = double;
  static constexpr Number lowest = -std::numeric_limits<Number>::infinity();
  static constexpr Number highest = std::numeric_limits<Number>::infinity();
  static constexpr kavra::ArrayClass usualRoot = kavra::ArrayClass::Double;
  static constexpr ErrorId wrongValue = PropertyError::InvalidRealPropValue;
  static constexpr ErrorId wrongBound = PropertyError::FloatMaxMinMustBeDouble;
  static constexpr bool isRoot(kavra::ArrayClass c) { return kavra::isFloating(c); }
  static bool isInRange(const kavra::HostArray& array, Number lo, Number hi) {
    return FloatType::checkRange(array, lo, hi);
  }
};

template <>
struct NumericKind<IntegerType> {
  using Number = std::int64_t;
  static constexpr Number lowest = std::numeric_limits<Number>::min();
  static constexpr Number highest = std::numeric_limits<Number>::max();
  static constexpr kavra::ArrayClass usualRoot = kavra::ArrayClass::Int64;
  static constexpr ErrorId wrongValue = PropertyError::InvalidIntegerPropValue;
  static constexpr ErrorId wrongBound = PropertyError::IntegerMaxMinMustBeInt64;
  static constexpr bool isRoot(kavra::ArrayClass c) { return kavra::isInteger(c); }
  static bool isInRange(const kavra::HostArray& array, Number lo, Number hi) {
    return IntegerType::checkRange(array, lo, hi) == IntRangeCheckResult::OK;
  }
};

template <class Type>
using NumberOf = typename NumericKind<Type>::Number;

/// One bound, which may be missing.
template <class Type>
using Bound = std::optional<NumberOf<Type>>;

/// The operations of a numeric type that are the same for both kinds, on behalf of one type.
template <class Type>
class NumericType {
public:
  using Kind = NumericKind<Type>;
  using Number = typename Kind::Number;
  using Impl = typename Type::Impl;

  explicit NumericType(const Impl& object) : type_(object.handle().get()) {}
  explicit NumericType(Type type) : type_(std::move(type)) {}

  static Type make(const tavo::Model& model) {
    if (!model.isOpenForWriting())
      return {};
    tavo::Transaction transaction(model);
    auto type = Type::create(model);
    static_cast<Impl&>(type.object()).setUnitChecker(UnitQueryClientWrapper::get(model));
    transaction.commit();
    return type;
  }

  /// The class of array that holds the values.
  kavra::ArrayClass rootClass() const {
    const auto named = kavra::classNamed(rootOf(type_).p_Name());
    return named && Kind::isRoot(*named) ? *named : Kind::usualRoot;
  }
  bool matches(const kavra::HostArray& array) const {
    return Kind::isRoot(array.arrayClass()) && rootClass() == array.arrayClass();
  }

  /// The bounds, own or inherited from base types of the same kind.
  Bound<Type> min() const { return inherited(&Impl::getMin); }
  Bound<Type> max() const { return inherited(&Impl::getMax); }
  /// Whether a number lies within the own bounds.
  bool satisfiesOwnBounds(Number x) const {
    const Bound<Type> min = object().getMin();
    const Bound<Type> max = object().getMax();
    return (!min || x >= *min) && (!max || *max >= x);
  }
  /// The number within the bounds that is nearest to zero.
  Number nearestToZero() const {
    const Bound<Type> min = this->min();
    const Bound<Type> max = this->max();
    return min && *min > 0 ? *min : max && *max < 0 ? *max : Number{};
  }

  /// Refuses bounds that are wider than those of the base type, or that cross.
  void requireValidMax(Number max) const {
    if (const Bound<Type> base = boundOfBase(&NumericType::max); base && *base < max)
      raise(PropertyError::InvalidMax, max, *base);
    if (const Bound<Type> min = this->min(); min && *min > max)
      raise(PropertyError::MaxLessThanMin, max, *min);
  }
  void requireValidMin(Number min) const {
    if (const Bound<Type> base = boundOfBase(&NumericType::min); base && *base > min)
      raise(PropertyError::InvalidMin, min, *base);
    if (const Bound<Type> max = this->max(); max && *max < min)
      raise(PropertyError::MinGreaterThanMax, min, *max);
  }

  struct Bounds {
    Number min, max;
  };
  /// Refuses what is no array of numbers in this type's shape; answers the bounds that its numbers have to keep.
  Bounds requireNumbers(const kavra::HostArray& array) const {
    if (!kavra::isNumeric(array.arrayClass()))
      raise(Kind::wrongValue);
    requireDimensions(object(), array);
    // Both in one walk, since each value that is set goes this way.
    Bound<Type> min, max;
    BaseTypes chain(type_);
    do {
      const auto same = chain.type().template as<Type>();
      if (!same)
        break;
      const auto& bounds = static_cast<const Impl&>(same.object());
      if (!min)
        min = bounds.getMin();
      if (!max)
        max = bounds.getMax();
    } while (!(min && max) && chain.next());
    if (!min || !max)
      raise(PropertyError::MaxMinMustBeDefined);
    return {*min, *max};
  }

  kavra::HostArray cast(const kavra::HostArray& array) const {
    if (!kavra::isNumeric(array.arrayClass()))
      raise(Kind::wrongValue);
    return castNumbers(array, rootClass());
  }
  /// The array that is given, as a value of this type; without one, `number` in this type's shape.
  template <class AnyNumber>
  kavra::HostArray defaultValue(const kavra::HostArray& array, AnyNumber number) const {
    if (array && !array.isEmpty()) {
      type_.validateValue(array);
      return type_.typeMatches(array) ? array : type_.castArray(array, {});
    }
    return callHost(
        [&] { return castNumbers(kavra::HostArray::filled(asExtents(type_.dimensions()), number), rootClass()); });
  }

private:
  const Impl& object() const { return static_cast<const Impl&>(type_.object()); }

  template <class Own>
  Bound<Type> inherited(Own own) const {
    BaseTypes chain(type_);
    do {
      const auto same = chain.type().template as<Type>();
      if (!same)
        return {};
      if (const Bound<Type> bound = (static_cast<const Impl&>(same.object()).*own)())
        return bound;
    } while (chain.next());
    return {};
  }
  Bound<Type> boundOfBase(Bound<Type> (NumericType::*bound)() const) const {
    const auto base = baseOf(type_).template as<Type>();
    return base ? (NumericType(base).*bound)() : Bound<Type>();
  }

  Type type_;
};

} // namespace zelkor::property
