#include "zelkor/property/PropertyDefinition.impl.h"

#include "kavra/Host.h"
#include "tavo/model/Transaction.h"
#include "zelkor/clone/CloneContext.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostNames.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/property/BooleanType.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/FloatType.impl.h"
#include "zelkor/property/IntegerType.impl.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/RealType.impl.h"
#include "zelkor/property/StringArrayType.h"
#include "zelkor/property/StringType.h"
#include "zelkor/property/UnitQueryClientWrapper.h"
#include "zelkor/property/Value.impl.h"
#include "zelkor/services/Proxies.h"

#include <limits>

namespace zelkor::property {
namespace {

namespace proxy = services::proxy;
using kavra::HostArray;

template <class Facade>
typename Facade::Impl& objectOf(const Facade& element) {
  return static_cast<typename Facade::Impl&>(element.object());
}

/// Numbers with units: an enumeration has none.
RealType asNumeric(const ValueType& type) { return type.as<Enumeration>() ? RealType() : type.as<RealType>(); }

/// Types whose values look nothing like those of another kind.
bool isTextOrTruth(const ValueType& type) {
  return type.as<StringType>() || type.as<StringArrayType>() || type.as<BooleanType>();
}

void requireValidName(const tavo::String& name) {
  if (!isValidName(name))
    raise(ProfileError::InvalidPropertyName, name);
}

/// "Profile.Type" taken apart; no profile for any other number of parts.
struct TypeName {
  std::u16string_view profile;
  std::u16string_view type;
};

TypeName splitTypeName(std::u16string_view name) {
  const auto dot = name.find(u'.');
  if (dot == name.npos || name.find(u'.', dot + 1) != name.npos)
    return {{}, name};
  return {name.substr(0, dot), name.substr(dot + 1)};
}

ValueType findType(const profile::Profile& profile, std::u16string_view name) {
  for (const auto& type : profile.valueTypes())
    if (type.p_Name() == name)
      return type;
  return {};
}

/// The profile that a set belongs to, through its stereotype or directly.
profile::Profile profileOf(const PropertySet& set) {
  if (!set)
    return {};
  const auto prototype = set.prototype();
  return prototype ? prototype.getProfile() : set.profile();
}

/// The type that a definition in `set` means by a name, or empty.
ValueType findType(const PropertySet& set, const tavo::String& name) {
  const auto [profileName, typeName] = splitTypeName(name);
  auto profile = profileName.empty() ? profile::Profile() : profile::Profile::findLoadedProfile(profileName);
  if (!profile)
    profile = profileOf(set);
  if (profile)
    return findType(profile, typeName);
  return set ? set.valueTypes().find(typeName) : ValueType();
}

// Bounds, which come and go as arrays of the class that the kind of type asks for.

template <class Type>
struct Numeric;

template <>
struct Numeric<FloatType> {
  using Number = double;
  static constexpr ErrorId wrongClass = PropertyError::FloatMaxMinMustBeDouble;
  static constexpr Number lowest = -std::numeric_limits<double>::infinity();
  static constexpr Number highest = std::numeric_limits<double>::infinity();
  static FloatType make(const tavo::Model& model) { return FloatType::makeFloatType(model); }
  static bool isInRange(const HostArray& array, Number lo, Number hi) { return FloatType::checkRange(array, lo, hi); }
};

template <>
struct Numeric<IntegerType> {
  using Number = std::int64_t;
  static constexpr ErrorId wrongClass = PropertyError::IntegerMaxMinMustBeInt64;
  static constexpr Number lowest = std::numeric_limits<Number>::min();
  static constexpr Number highest = std::numeric_limits<Number>::max();
  static IntegerType make(const tavo::Model& model) { return IntegerType::makeIntegerType(model); }
  static bool isInRange(const HostArray& array, Number lo, Number hi) {
    return IntegerType::checkRange(array, lo, hi) == IntRangeCheckResult::OK;
  }
};

template <class Type>
typename Numeric<Type>::Number boundIn(const HostArray& array) {
  using Number = typename Numeric<Type>::Number;
  if (array.arrayClass() != kavra::classOf<Number> || !array.isScalar())
    raise(Numeric<Type>::wrongClass);
  return array.data<Number>()[0];
}

template <class Number>
HostArray scalarOf(const std::optional<Number>& bound) {
  return bound ? HostArray::scalar(*bound) : HostArray();
}

/// Calls `use` with the type as a FloatType or an IntegerType.
template <class Use>
auto withNumericType(const ValueType& type, Use&& use) {
  if (const auto real = type.as<FloatType>())
    return use(real);
  if (const auto integer = type.as<IntegerType>())
    return use(integer);
  raise(PropertyError::MaxMinMustOnlyOnFloatOrInteger);
}

/// A type of the same kind, without anything.
ValueType makeSameKind(const tavo::Model& model, const ValueType& type) {
  if (type.as<FloatType>())
    return FloatType::makeFloatType(model);
  if (type.as<IntegerType>())
    return IntegerType::makeIntegerType(model);
  if (const auto enumeration = type.as<Enumeration>())
    return Enumeration::makeEnumeration(model, enumeration.getKavraEnumName());
  return model.create(type.objectClass()).cast<ValueType>();
}

/// Bounds and units that a type has itself must lie within those of its base type.
void requireNarrowing(const ValueType& type, const ValueType& base) {
  const auto check = [](const auto& narrower) {
    auto& object = objectOf(narrower);
    if (object.getMax())
      object.validateMax(*object.getMax());
    if (object.getMin())
      object.validateMin(*object.getMin());
  };
  if (const auto real = type.as<FloatType>())
    check(real);
  if (const auto integer = type.as<IntegerType>())
    check(integer);
  const auto units = type.cast<RealType>().units();
  const auto baseUnits = base.cast<RealType>().units();
  if (!baseUnits.empty() && units != baseUnits)
    raise(PropertyError::UnitMustBeSameAsBaseType, units, baseUnits);
}

/// Points a default value at another type and reads its text again; units that the type does not take become its own.
void moveDefault(const Value& value, const ValueType& type) {
  if (!value)
    return;
  const tavo::String units = value.units();
  value.setUnits({});
  value.setType(type);
  value.setExpression(value.storedExpression());
  const auto numeric = asNumeric(type);
  if (!numeric || numeric.units().empty())
    return;
  try {
    value.setUnits(units.empty() ? numeric.units() : units);
  } catch (const tavo::Error& error) {
    // Units of the former kind of quantity mean nothing any more.
    if (error.id() != PropertyError::UnitsNotConvertible)
      throw;
    value.setUnits(numeric.units());
  }
}

/// The definition's own type, made from the present one when there is none yet: of the same kind, with the present one
/// as its base, so that a shared type is never changed through a definition.
ValueType ensureOwnedType(PropertyDefinition::Impl& definition) {
  if (auto owned = definition.getOwnedType())
    return owned;
  const auto shared = definition.getType();
  if (!shared)
    raise(PropertyError::UnresolvedPropertyDefinition, definition.getFullyQualifiedName());

  tavo::Transaction transaction(definition.model());
  auto owned = makeSameKind(definition.model(), shared);
  owned.setName(shared.getName());
  owned.setDimensions(shared.dimensions());
  if (const auto numeric = asNumeric(shared))
    owned.cast<RealType>().setUnits(numeric.units());
  owned.setBaseType(shared);
  definition.getOwnedTypeMutable().add(owned);
  definition.setType(owned);
  if (const auto value = definition.getDefaultValue())
    value.setType(owned);
  transaction.commit();
  return owned;
}

/// Gives a copied definition its type: a copy of an own one, the copy of one that was copied along, or the original's.
void copyType(const PropertyDefinition::Impl& from, PropertyDefinition::Impl& to,
              const internal::clone::CloneContext& context) {
  if (const auto owned = from.getOwnedType()) {
    const auto copy = owned.clone(to.model(), context).cast<ValueType>();
    to.getOwnedTypeMutable().add(copy);
    to.setType(copy);
    return;
  }
  const auto type = from.getType();
  const auto copied = type && context ? to.model().find<ValueType>(context.getTargetUUID(type.Uuid())) : ValueType();
  if (copied)
    to.setType(copied);
  else
    proxy::referAs(to.handle(), to.objectClass().at(PropertyDefinition::Impl::Index::typeProxy), from.getTypeProxy());
}

/// A copy of a default value with the type of the copied definition.
Value copyDefault(const Value& value, const PropertyDefinition::Impl& to) {
  const auto copy = Value::create(to.model());
  auto& object = objectOf(copy);
  proxy::referAs(copy, object.objectClass().at(Value::Impl::Index::valueTypeProxy), to.getTypeProxy());
  object.setCachedValue(value.cachedValue());
  object.setStoredExpression(value.storedExpression());
  const tavo::FrameworkUpdate unchecked(to.model()); // they have been checked when they came in
  copy.setUnits(value.units());
  return copy;
}

} // namespace

PropertyDefinition PropertyDefinition::make(const tavo::String& name, const PropertySet& propSet) {
  requireValidName(name);
  propSet.checkPropertyName(name);

  tavo::Transaction transaction(propSet.model());
  auto definition = PropertyDefinition::create(propSet.model());
  definition.setName(name);
  auto& object = static_cast<Impl&>(definition.object());
  object.setP_Index(static_cast<std::uint32_t>(propSet.properties().size()));
  object.setPropertySet(propSet);
  transaction.commit();
  return definition;
}

ValueType PropertyDefinition::Impl::getType() const { return proxy::findTarget<ValueType>(getTypeProxy()); }

std::vector<tavo::String> PropertyDefinition::Impl::getDefaultPropertyValue() const {
  const auto value = getDefaultValue();
  return {value ? value.getExpression() : tavo::String(), getUnit()};
}

tavo::String PropertyDefinition::Impl::getUnit() const {
  const auto numeric = asNumeric(getType());
  return numeric ? numeric.units() : tavo::String();
}

kavra::HostArray PropertyDefinition::Impl::getMin() const {
  const auto type = getType();
  if (const auto real = type.as<FloatType>())
    return scalarOf(real.getMinValue());
  if (const auto integer = type.as<IntegerType>())
    return scalarOf(integer.getMinValue());
  return {};
}

kavra::HostArray PropertyDefinition::Impl::getMax() const {
  const auto type = getType();
  if (const auto real = type.as<FloatType>())
    return scalarOf(real.getMaxValue());
  if (const auto integer = type.as<IntegerType>())
    return scalarOf(integer.getMaxValue());
  return {};
}

std::vector<std::uint64_t> PropertyDefinition::Impl::getDimensions() const {
  const auto type = getType();
  return type ? type.dimensions() : std::vector<std::uint64_t>();
}

tavo::String PropertyDefinition::Impl::getBaseType() const {
  const auto owned = getOwnedType();
  if (const auto enumeration = owned.as<Enumeration>())
    return enumeration.getKavraEnumName();
  const auto base = owned ? owned.getBaseType() : getType();
  return base ? base.getName() : tavo::String();
}

tavo::String PropertyDefinition::Impl::getFullyQualifiedName() const {
  const auto set = getPropertySet();
  return set ? tavo::concat(set.getFullyQualifiedName(), u".", getP_Name()) : getP_Name();
}

bool PropertyDefinition::Impl::hasMissingArtifact() const {
  const auto value = getDefaultValue();
  const auto enumeration = (value ? value.getType() : getType()).as<Enumeration>();
  return enumeration && !Enumeration::isValidEnumerationName(enumeration.getKavraEnumName());
}

void PropertyDefinition::Impl::checkHealth() const {
  const auto value = getDefaultValue();
  if (!value || !kavra::isHostAvailable())
    return;
  tavo::String expression = value.storedExpression();
  try {
    const auto type = value.valueTypeProxy().getTargetElement().cast<ValueType>();
    if (expression.empty())
      expression = type.makeDefaultExpression();
    type.validateExpression(expression);
  } catch (const tavo::Error& error) {
    raiseBecause(error, PropertyError::InvalidDefaultValue, getFullyQualifiedName(), expression);
  }
}

void PropertyDefinition::Impl::setName(const tavo::String& name) {
  requireValidName(name);
  if (const auto set = getPropertySet())
    set.checkPropertyName(name);
  setP_Name(name);
}

void PropertyDefinition::Impl::updateCurrentVersionId() { setCurrentVersionId(tavo::randomUuid()); }

void PropertyDefinition::Impl::setType(const ValueType& type) { proxy::referTo(handle(), at(Index::typeProxy), type); }

void PropertyDefinition::Impl::setDefaultPropertyValue(const tavo::String& expression, const tavo::String& units) {
  tavo::Transaction transaction(model());
  updateCurrentVersionId();
  try {
    tavo::Transaction attempt(model());
    if (!getDefaultValue())
      getDefaultValueMutable().add(Value::make(model(), getType()));
    getDefaultValue().setExpression(expression);
    if (units != u"*" && units != getUnit())
      setUnit(units);
    attempt.commit();
  } catch (const tavo::Error&) {
    // The new version stays: whoever follows this definition looks again.
    transaction.commit();
    throw;
  }
  transaction.commit();
}

void PropertyDefinition::Impl::setUnit(const tavo::String& units) {
  const auto numeric = asNumeric(getType());
  if (!numeric)
    raise(PropertyError::CantHaveUnit);
  const auto owned = getOwnedType();
  const auto base = asNumeric(owned ? owned.getBaseType() : ValueType(numeric.get()));
  if (base && !base.units().empty() && units != base.units())
    raise(PropertyError::UnitMustBeSameAsBaseType, units, base.units());

  tavo::Transaction transaction(model());
  ensureOwnedType(*this).cast<RealType>().setUnits(units);
  if (const auto value = getDefaultValue())
    value.setUnits(units);
  updateCurrentVersionId();
  transaction.commit();
}

void PropertyDefinition::Impl::setMinAndMax(const kavra::HostArray& min, const kavra::HostArray& max) {
  withNumericType(getType(), [&](const auto& type) {
    using Type = std::remove_cvref_t<decltype(type)>;
    const auto lo = boundIn<Type>(min);
    const auto hi = boundIn<Type>(max);
    if (hi < lo)
      raise(PropertyError::MaxLessThanMin, hi, lo);
    if (const auto value = getDefaultValue(); value && value.hasValue())
      if (const auto array = value.getValueIfExists(); array && !Numeric<Type>::isInRange(array, lo, hi))
        raise(PropertyError::InvalidMinMaxForDefaultValue, value.storedExpression(), lo, hi);

    tavo::Transaction transaction(model());
    const auto owned = ensureOwnedType(*this).template cast<Type>();
    const auto present = owned.getMinValue();
    // In the order in which the bounds never cross.
    if (present && *present > hi) {
      owned.setMin(lo);
      owned.setMax(hi);
    } else {
      owned.setMax(hi);
      owned.setMin(lo);
    }
    updateCurrentVersionId();
    transaction.commit();
  });
}

void PropertyDefinition::Impl::setMin(const kavra::HostArray& min) {
  withNumericType(getType(), [&](const auto& type) {
    using Type = std::remove_cvref_t<decltype(type)>;
    const auto lo = boundIn<Type>(min);
    if (const auto value = getDefaultValue(); value && value.hasValue())
      if (const auto array = value.getValueIfExists();
          array && !Numeric<Type>::isInRange(array, lo, Numeric<Type>::highest))
        raise(PropertyError::InvalidMinForDefaultValue, value.storedExpression(), lo);

    tavo::Transaction transaction(model());
    ensureOwnedType(*this).template cast<Type>().setMin(lo);
    updateCurrentVersionId();
    transaction.commit();
  });
}

void PropertyDefinition::Impl::setMax(const kavra::HostArray& max) {
  withNumericType(getType(), [&](const auto& type) {
    using Type = std::remove_cvref_t<decltype(type)>;
    const auto hi = boundIn<Type>(max);
    if (const auto value = getDefaultValue(); value && value.hasValue())
      if (const auto array = value.getValueIfExists();
          array && !Numeric<Type>::isInRange(array, Numeric<Type>::lowest, hi))
        raise(PropertyError::InvalidMaxForDefaultValue, value.storedExpression(), hi);

    tavo::Transaction transaction(model());
    ensureOwnedType(*this).template cast<Type>().setMax(hi);
    updateCurrentVersionId();
    transaction.commit();
  });
}

void PropertyDefinition::Impl::setDimensions(const std::vector<std::uint64_t>& dimensions) {
  const auto value = getDefaultValue();
  if (const auto array = value ? value.getValueIfExists() : HostArray();
      array && !ValueType::staticDimensionsMatch(array, dimensions))
    raise(PropertyError::InvalidDimensionsForDefaultValue);

  tavo::Transaction transaction(model());
  const auto owned = ensureOwnedType(*this);
  owned.setDimensions(dimensions);
  if (value && value.hasValue() && kavra::isHostAvailable())
    try {
      // The text must still be a value when it is read from a file: a literal in quotes has a shape of its own.
      owned.validateExpression(value.storedExpression());
    } catch (const tavo::Error& error) {
      raiseBecause(error, PropertyError::InvalidDimensionsForDefaultValue);
    }
  updateCurrentVersionId();
  transaction.commit();
}

void PropertyDefinition::Impl::setBaseType(const tavo::String& typeName) {
  auto type = findType(getPropertySet(), typeName);
  const bool isOwnEnumeration = !type && Enumeration::isValidEnumerationName(typeName);
  if (!type && !isOwnEnumeration)
    raise(PropertyError::CantFindType, typeName);

  tavo::Transaction transaction(model());
  const auto value = getDefaultValue();
  const auto owned = getOwnedType();
  if (owned && asNumeric(owned) && type && &owned.objectClass() == &type.objectClass()) {
    owned.setBaseType(type);
    requireNarrowing(owned, type);
    if (value)
      value.setExpression(value.storedExpression());
    updateCurrentVersionId();
    transaction.commit();
    return;
  }

  const auto former = getType();
  if (isOwnEnumeration)
    type = Enumeration::makeEnumeration(model(), typeName);
  const bool changesKind = former && &former.objectClass() != &type.objectClass();
  setType(type);
  try {
    moveDefault(value, type);
  } catch (const tavo::Error& error) {
    if (changesKind && (isTextOrTruth(former) || isTextOrTruth(type)))
      raiseBecause(error, PropertyError::DefaultValueIncompatibleWithType, value.storedExpression());
    throw;
  }
  if (owned)
    owned.destroy();
  if (isOwnEnumeration)
    getOwnedTypeMutable().add(type);
  updateCurrentVersionId();
  transaction.commit();
}

internal::NamedElement PropertyDefinition::Impl::clone(const tavo::Model& target,
                                                       const internal::clone::CloneContext& context) const {
  tavo::Transaction transaction(target);
  const auto copy = PropertyDefinition::create(target);
  auto& object = objectOf(copy);
  object.setP_Name(getP_Name());
  if (getP_ExternalUID())
    object.setP_ExternalUID(*getP_ExternalUID());
  object.setP_Index(getP_Index());
  object.setCurrentVersionId(getCurrentVersionId());
  copyType(*this, object, context);
  if (const auto value = getDefaultValue())
    object.getDefaultValueMutable().add(copyDefault(value, object));
  if (context)
    context.addSourceTargetPair(uuid(), copy.Uuid());
  transaction.commit();
  return copy;
}

} // namespace zelkor::property
