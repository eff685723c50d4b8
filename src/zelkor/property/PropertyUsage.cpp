#include "zelkor/property/PropertyUsage.impl.h"

#include "kavra/Host.h"
#include "tavo/model/Transaction.h"
#include "zelkor/framework/Diagnostics.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/meta/ValueStruct.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertyOwner.h"
#include "zelkor/property/PropertySetUsage.impl.h"
#include "zelkor/property/UnitQueryClientWrapper.h"
#include "zelkor/property/Value.impl.h"
#include "zelkor/property/ValueTable.impl.h"
#include "zelkor/property/ValueTableEntry.h"
#include "zelkor/property/ValueType.h"
#include "zelkor/services/Proxies.h"

#include <algorithm>
#include <map>

namespace zelkor::property {

namespace proxy = services::proxy;

namespace {

PropertyUsage::Impl& objectOf(const PropertyUsage& usage) { return static_cast<PropertyUsage::Impl&>(usage.object()); }

/// The name by which elements know the property.
tavo::String qualifiedName(const PropertyUsage::Impl& usage) {
  const auto set = usage.getPropertySet();
  return set ? tavo::concat(set.p_Name(), u".", usage.getP_Name()) : usage.getP_Name();
}

/// Type, text and units of a definition's default.
void takeDefault(const Value& initial, const Value& from, const ValueType& type) {
  initial.setUnits({}); // units of the former type mean nothing to the new one
  initial.setType(type);
  initial.setExpression(from.storedExpression());
  initial.setUnits(from.units());
}

/// Whether `action` can be done, as far as the library has a say in it.
template <class Action>
bool succeeds(Action action) {
  try {
    action();
    return true;
  } catch (const tavo::Error&) {
    return false;
  }
}

/// A copy of a value that no longer fits its type: whoever copies an element does not want another value.
Value asItStands(const Value& value, const tavo::Model& target) {
  const tavo::FrameworkUpdate unchecked(target);
  auto copy = Value::create(target);
  proxy::referAs(copy, copy.objectClass().at(Value::Impl::Index::valueTypeProxy), value.valueTypeProxy());
  static_cast<Value::Impl&>(copy.object()).setStoredExpression(value.storedExpression());
  copy.setUnits(value.units());
  return copy;
}

} // namespace

PropertyUsage PropertyUsage::createPropertyUsage(const PropertyDefinition& propDef, const tavo::Model& model) {
  tavo::Transaction transaction(model);
  auto usage = PropertyUsage::create(model);
  auto& object = objectOf(usage);
  object.setP_Name(propDef.p_Name());
  proxy::referTo(usage, object.objectClass().at(Impl::Index::propertyDefProxy), propDef);
  object.setLastDefVersionSynced(propDef.currentVersionId());

  const auto given = propDef.defaultValue();
  const auto initial = given ? given.clone(model) : Value::make(model, propDef.getType());
  if (const auto type = initial.getType(); type && initial.hasValue())
    try {
      initial.setExpression(initial.storedExpression());
    } catch (const tavo::Error& error) {
      // A default that its type no longer accepts must not keep a model from using everything else. A host that fails
      // says nothing about it.
      if (!error.id().text().starts_with("Velmora:Property:"))
        throw;
      initial.setExpression(type.makeDefaultExpression());
    }
  object.getInitialValueMutable().add(initial);
  object.getP_ValueTableMutable().add(ValueTable::make(model));
  transaction.commit();
  return usage;
}

PropertyDefinition PropertyUsage::Impl::getPropertyDef() const {
  try {
    if (const auto source = getPropertyDefProxy())
      return source.getTargetElement().as<PropertyDefinition>();
  } catch (const tavo::Error& error) {
    if (error.id() != PropertyError::FailedProxyResolve)
      throw;
    raiseBecause(error, PropertyError::UnresolvedPropertyDefinition, getP_Name());
  }
  raise(PropertyError::UnresolvedPropertyDefinition, getP_Name());
}

//----------------------------------------------------------------------------------------------------------------------
// Values of elements

Value PropertyUsage::Impl::getPropVal(const tavo::Uuid& elemUUID, bool& isDefault) const {
  const auto table = getP_ValueTable();
  auto own = table ? table.getValue(elemUUID) : Value();
  isDefault = !own;
  return isDefault ? getInitialValue() : own;
}

ValueStruct PropertyUsage::Impl::getPropValStruct(const tavo::Uuid& elemUUID, bool& isDefault) const {
  const auto value = getPropVal(elemUUID, isDefault);
  return value ? ValueStruct{value.getExpression(), value.units()} : ValueStruct();
}

void PropertyUsage::Impl::setPropVal(const tavo::Uuid& elemUUID, const tavo::String& expression,
                                     const tavo::String& unit) {
  const auto table = getP_ValueTable();
  if (const auto entry = table.p_Entries().find(elemUUID))
    entry.setValue(expression, unit);
  else
    table.addEntry(elemUUID, expression, unit);
}

void PropertyUsage::Impl::setPropUnits(const tavo::Uuid& elemUUID, const tavo::String& unit) {
  if (unit == u"*")
    return;
  if (const auto own = getP_ValueTable().getValue(elemUUID))
    own.setUnit(unit);
}

void PropertyUsage::Impl::clearValue(const tavo::Uuid& elemUUID) { getP_ValueTable().removeEntry(elemUUID); }

void PropertyUsage::Impl::clearValueForAllElements() { getP_ValueTable().destroyAllEntries(); }

void PropertyUsage::Impl::validateExpression(const tavo::String& expression) const {
  const auto source = getInitialValue().valueTypeProxy();
  const auto type = proxy::findTarget<ValueType>(source);
  if (!type)
    raise(PropertyError::UnresolvedPropertyDefinition, source ? source.getTargetName() : getP_Name());
  type.validateExpression(expression);
}

std::vector<tavo::ModelElement> PropertyUsage::Impl::getElementsWithValues() const {
  std::vector<tavo::ModelElement> elements;
  for (const auto& entry : getP_ValueTable().p_Entries())
    if (auto element = model().find(entry.p_ElemUUID()))
      elements.push_back(std::move(element));
  return elements;
}

std::vector<tavo::String> PropertyUsage::Impl::getSimilarUnits() const {
  const auto units = getPropertyDef().getUnit();
  return units.empty() ? std::vector<tavo::String>() : UnitQueryClientWrapper::get(model()).getSimilarUnits(units);
}

//----------------------------------------------------------------------------------------------------------------------
// Following the definition

bool PropertyUsage::Impl::isInSyncWithPropDef() const {
  const auto definition = proxy::findTarget<PropertyDefinition>(getPropertyDefProxy());
  return definition && definition.p_Name() == getP_Name() && isDefaultInSync(definition);
}

bool PropertyUsage::Impl::isDefaultInSync(const PropertyDefinition& definition) const {
  if (definition.currentVersionId() != getLastDefVersionSynced())
    return false;
  const auto initial = getInitialValue();
  const auto given = definition.defaultValue();
  const auto type = definition.getType();
  if (!initial || (type && proxy::targetIdOf(initial.valueTypeProxy()) != type.Uuid()))
    return false;
  return !given || (initial.storedExpression() == given.storedExpression() && initial.units() == given.units());
}

void PropertyUsage::Impl::updateDefaultValue() {
  const auto definition = getPropertyDef();
  if (isDefaultInSync(definition))
    return;

  const auto given = definition.defaultValue();
  const auto initial = getInitialValue();
  tavo::Transaction transaction(model());
  const auto type = definition.getType();
  try {
    if (given)
      takeDefault(initial, given, type);
    else
      initial.initFromType(type);
  } catch (const tavo::Error& error) {
    raiseBecause(error, PropertyError::InvalidDefaultValue, definition.getFullyQualifiedName(),
                 given ? given.getExpression() : tavo::String());
  }
  setLastDefVersionSynced(definition.currentVersionId());
  transaction.commit();
}

void PropertyUsage::Impl::updateValueTypes() {
  const auto type = getPropertyDef().getType();
  if (!type)
    return;
  tavo::Transaction transaction(model());
  std::size_t misfits = 0;
  std::map<tavo::String, bool> unitsFit; // few, for many values
  for (const auto& entry : getP_ValueTable().p_Entries()) {
    const auto value = entry.getValue();
    value.setType(type);
    // What the user has written is not for us to change; setting the units that are there only checks them.
    const auto [units, isNew] = unitsFit.try_emplace(value.units(), true);
    if (isNew)
      units->second = succeeds([&] { value.setUnits(value.units()); });
    misfits += !units->second || !succeeds([&] {
      if (value.hasValue() && kavra::isHostAvailable())
        type.validateExpression(value.storedExpression());
    });
  }
  transaction.commit();
  if (misfits != 0)
    warn(PropertyError::ValuesNoLongerFit, qualifiedName(*this), misfits);
}

void PropertyUsage::Impl::synchronizePostLoad() {
  try {
    const auto definition = getPropertyDef();
    if (definition.p_Name() != getP_Name())
      setP_Name(definition.p_Name());
  } catch (const tavo::Error&) {
    // What cannot be had, or named so, keeps its name.
  }
}

void PropertyUsage::Impl::reportValues() const {
  if (const auto count = getP_ValueTable().p_Entries().size(); count != 0)
    warn(PropertyError::ValuesDropped, qualifiedName(*this), count);
}

//----------------------------------------------------------------------------------------------------------------------
// Copying

void PropertyUsage::Impl::copyValues(const std::vector<PropertyOwner>& from, const std::vector<PropertyOwner>& to,
                                     const PropertySetUsage& target) const {
  const auto home = target.model();
  tavo::Transaction transaction(home);
  auto copy = target.getPropertyUsage(getP_Name());
  if (!copy) {
    copy = PropertyUsage::create(home);
    auto& object = objectOf(copy);
    object.setP_Name(getP_Name());
    proxy::referAs(copy, objectClass().at(Index::propertyDefProxy), getPropertyDefProxy());
    object.setLastDefVersionSynced(getLastDefVersionSynced());
    object.getInitialValueMutable().add(getInitialValue().clone(home));
    object.getP_ValueTableMutable().add(ValueTable::make(home));
    static_cast<PropertySetUsage::Impl&>(target.object()).getPropertiesMutable().add(copy);
  }
  const auto table = copy.p_ValueTable();
  auto& values = static_cast<ValueTable::Impl&>(table.object());
  for (std::size_t i = 0; i < std::min(from.size(), to.size()); ++i)
    if (const auto value = getP_ValueTable().getValue(from[i].Uuid())) {
      table.removeEntry(to[i].Uuid());
      if (!succeeds([&] { values.addCopy(to[i].Uuid(), value); }))
        values.getP_EntriesMutable().add(ValueTableEntry::make(home, to[i].Uuid(), asItStands(value, home)));
    }
  transaction.commit();
}

void PropertyUsage::Impl::initializeFrom(const PropertyUsage& other) {
  const auto mine = proxy::targetIdOf(getPropertyDefProxy());
  if (mine == tavo::Uuid{} || mine != proxy::targetIdOf(other.propertyDefProxy()))
    raise(PropertyError::InitFromPropertyUsageMismatch);
  getInitialValue().initializeFrom(other.initialValue());
}

} // namespace zelkor::property
