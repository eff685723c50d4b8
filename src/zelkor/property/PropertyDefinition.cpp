#include "zelkor/property/PropertyDefinition.impl.h"

#include "kavra/Host.h"
#include "tavo/model/Transaction.h"
#include "zelkor/clone/CopyTransaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostNames.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/property/BooleanType.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/NumericTypes.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/StringArrayType.h"
#include "zelkor/property/StringType.h"
#include "zelkor/property/Value.impl.h"
#include "zelkor/services/Proxies.h"

namespace zelkor::property {
namespace {

namespace proxy = services::proxy;
using kavra::HostArray;

template <class Facade>
typename Facade::Impl& objectOf(const Facade& element) {
  return static_cast<typename Facade::Impl&>(element.object());
}

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
NumberOf<Type> boundIn(const HostArray& array) {
  if (array.arrayClass() != kavra::classOf<NumberOf<Type>> || !array.isScalar())
    raise(NumericKind<Type>::wrongBound);
  return array.data<NumberOf<Type>>()[0];
}

/// What `get` answers for a numeric type, as an array; null without a bound, and for other types.
template <class Get>
HostArray boundOf(const ValueType& type, const Get& get) {
  const auto asArray = [](const auto& bound) { return bound ? HostArray::scalar(*bound) : HostArray(); };
  if (const auto real = type.as<FloatType>())
    return asArray(get(real));
  if (const auto integer = type.as<IntegerType>())
    return asArray(get(integer));
  return {};
}

/// The array that the text of a default stands for; null without a text. Without a host nothing is evaluated, so what
/// has no array yet is not checked.
HostArray arrayOf(const Value& value) {
  return value && (value.cachedValue() || kavra::isHostAvailable()) ? value.getValueIfExists() : HostArray();
}

/// Whether the text of a default, if it has one, stays within these bounds.
template <class Type>
bool isWithin(const Value& value, NumberOf<Type> lo, NumberOf<Type> hi) {
  const auto array = arrayOf(value);
  return !array || NumericKind<Type>::isInRange(array, lo, hi);
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

/// Bounds and units that a type has itself must lie within those of its base type; units that only that one has are
/// taken over.
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
  const auto numeric = type.cast<RealType>();
  const auto baseUnits = base.cast<RealType>().units();
  if (numeric.units().empty())
    numeric.setUnits(baseUnits);
  else if (!baseUnits.empty() && numeric.units() != baseUnits)
    raise(PropertyError::UnitMustBeSameAsBaseType, numeric.units(), baseUnits);
}

/// Points a default value at another type and reads its text again; units that the type does not take become its own.
void moveDefault(const Value& value, const ValueType& type) {
  if (!value)
    return;
  const tavo::String text = value.storedExpression();
  const tavo::String units = value.units();
  // Emptied first, so that undo takes the new array back, also where there was none before.
  value.setUnits({});
  value.setExpression({});
  value.setType(type);
  value.setExpression(text);
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

/// The type of a definition; raises UnresolvedPropertyDefinition when there is none, or when it cannot be had.
ValueType requireTypeOf(const PropertyDefinition::Impl& definition) {
  if (auto type = requireType(definition.getTypeProxy()))
    return type;
  raise(PropertyError::UnresolvedPropertyDefinition, definition.getFullyQualifiedName());
}

/// The definition's own type, made from the present one when there is none yet: of the same kind, with the present one
/// as its base, so that a shared type is never changed through a definition.
ValueType ensureOwnedType(PropertyDefinition::Impl& definition) {
  if (auto owned = definition.getOwnedType())
    return owned;
  const auto shared = requireTypeOf(definition);

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

/// Changes the definition's own type in a way that usages must follow.
template <class Change>
void changeOwnedType(PropertyDefinition::Impl& definition, const Change& change) {
  tavo::Transaction transaction(definition.model());
  change(ensureOwnedType(definition));
  definition.updateCurrentVersionId();
  transaction.commit();
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
  return boundOf(getType(), [](const auto& type) { return type.getMinValue(); });
}

kavra::HostArray PropertyDefinition::Impl::getMax() const {
  return boundOf(getType(), [](const auto& type) { return type.getMaxValue(); });
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

void PropertyDefinition::Impl::setType(const ValueType& type) {
  if (const auto present = getTypeProxy(); present && present.pointsTo(type))
    return;
  tavo::Transaction transaction(model());
  proxy::referTo(handle(), at(Index::typeProxy), type);
  updateCurrentVersionId();
  transaction.commit();
}

void PropertyDefinition::Impl::setDefaultPropertyValue(const tavo::String& expression, const tavo::String& units) {
  tavo::Transaction transaction(model());
  updateCurrentVersionId();
  try {
    tavo::Transaction attempt(model());
    if (!getDefaultValue())
      getDefaultValueMutable().add(Value::make(model(), requireTypeOf(*this)));
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
  const auto numeric = asNumeric(requireType(getTypeProxy()));
  if (!numeric)
    raise(PropertyError::CantHaveUnit);
  const auto owned = getOwnedType();
  const auto base = asNumeric(owned ? baseOf(owned) : ValueType(numeric.get()));
  if (base && !base.units().empty() && units != base.units())
    raise(PropertyError::UnitMustBeSameAsBaseType, units, base.units());

  changeOwnedType(*this, [&](const ValueType& type) {
    type.cast<RealType>().setUnits(units);
    if (const auto value = getDefaultValue())
      value.setUnits(units);
  });
}

void PropertyDefinition::Impl::setMinAndMax(const kavra::HostArray& min, const kavra::HostArray& max) {
  withNumericType(requireType(getTypeProxy()), [&](const auto& type) {
    using Type = std::remove_cvref_t<decltype(type)>;
    const auto lo = boundIn<Type>(min);
    const auto hi = boundIn<Type>(max);
    if (hi < lo)
      raise(PropertyError::MaxLessThanMin, hi, lo);
    if (!isWithin<Type>(getDefaultValue(), lo, hi))
      raise(PropertyError::InvalidMinMaxForDefaultValue, getDefaultValue().storedExpression(), lo, hi);

    changeOwnedType(*this, [&](const ValueType& ownedType) {
      const auto owned = ownedType.cast<Type>();
      const auto present = owned.getMinValue();
      // In the order in which the bounds never cross.
      if (present && *present > hi) {
        owned.setMin(lo);
        owned.setMax(hi);
      } else {
        owned.setMax(hi);
        owned.setMin(lo);
      }
    });
  });
}

void PropertyDefinition::Impl::setMin(const kavra::HostArray& min) {
  withNumericType(requireType(getTypeProxy()), [&](const auto& type) {
    using Type = std::remove_cvref_t<decltype(type)>;
    const auto lo = boundIn<Type>(min);
    if (!isWithin<Type>(getDefaultValue(), lo, NumericKind<Type>::highest))
      raise(PropertyError::InvalidMinForDefaultValue, getDefaultValue().storedExpression(), lo);

    changeOwnedType(*this, [&](const ValueType& owned) { owned.cast<Type>().setMin(lo); });
  });
}

void PropertyDefinition::Impl::setMax(const kavra::HostArray& max) {
  withNumericType(requireType(getTypeProxy()), [&](const auto& type) {
    using Type = std::remove_cvref_t<decltype(type)>;
    const auto hi = boundIn<Type>(max);
    if (!isWithin<Type>(getDefaultValue(), NumericKind<Type>::lowest, hi))
      raise(PropertyError::InvalidMaxForDefaultValue, getDefaultValue().storedExpression(), hi);

    changeOwnedType(*this, [&](const ValueType& owned) { owned.cast<Type>().setMax(hi); });
  });
}

void PropertyDefinition::Impl::setDimensions(const std::vector<std::uint64_t>& dimensions) {
  const auto value = getDefaultValue();
  if (const auto array = arrayOf(value); array && !ValueType::staticDimensionsMatch(array, dimensions))
    raise(PropertyError::InvalidDimensionsForDefaultValue);

  changeOwnedType(*this, [&](const ValueType& owned) {
    owned.setDimensions(dimensions);
    if (!value || !kavra::isHostAvailable())
      return;
    try {
      // The text must still be a value when it is read from a file: a literal in quotes has a shape of its own.
      owned.validateExpression(value.storedExpression());
    } catch (const tavo::Error& error) {
      raiseBecause(error, PropertyError::InvalidDimensionsForDefaultValue);
    }
  });
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
    moveDefault(value, owned);
    updateCurrentVersionId();
    transaction.commit();
    return;
  }

  const auto former = getType();
  if (isOwnEnumeration)
    type = Enumeration::makeEnumeration(model(), typeName);
  const bool changesKind = former && &former.objectClass() != &type.objectClass();
  const tavo::String text = value ? value.storedExpression() : tavo::String();
  setType(type);
  try {
    moveDefault(value, type);
  } catch (const tavo::Error& error) {
    if (changesKind && (isTextOrTruth(former) || isTextOrTruth(type)))
      raiseBecause(error, PropertyError::DefaultValueIncompatibleWithType, text);
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
  internal::clone::CopyTransaction transaction(target, context);
  const auto copy = PropertyDefinition::create(target);
  auto& object = objectOf(copy);
  object.setP_Name(getP_Name());
  if (getP_ExternalUID())
    object.setP_ExternalUID(*getP_ExternalUID());
  object.setP_Index(getP_Index());
  copyType(*this, object, context);
  object.setCurrentVersionId(getCurrentVersionId());
  if (const auto value = getDefaultValue())
    object.getDefaultValueMutable().add(copyDefault(value, object));
  if (context)
    context.addSourceTargetPair(uuid(), copy.Uuid());
  transaction.commit();
  return copy;
}

} // namespace zelkor::property
