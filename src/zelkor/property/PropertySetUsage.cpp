#include "zelkor/property/PropertySetUsage.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/PropertyOwner.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/PropertySetListener.h"
#include "zelkor/property/PropertySetOwner.impl.h"
#include "zelkor/property/PropertyUsage.impl.h"
#include "zelkor/property/Value.h"
#include "zelkor/property/ValueTable.h"
#include "zelkor/property/ValueTableEntry.h"
#include "zelkor/services/Proxies.h"

#include <algorithm>
#include <set>

namespace zelkor::property {

namespace proxy = services::proxy;

namespace {

PropertySetUsage::Impl& objectOf(const PropertySetUsage& usage) {
  return static_cast<PropertySetUsage::Impl&>(usage.object());
}
PropertyUsage::Impl& objectOf(const PropertyUsage& usage) { return static_cast<PropertyUsage::Impl&>(usage.object()); }

} // namespace

PropertySetUsage PropertySetUsage::make(const tavo::Model& model, const tavo::String& name,
                                        const PropertySet& propSet) {
  tavo::Transaction transaction(model);
  auto usage = PropertySetUsage::create(model);
  auto& object = objectOf(usage);
  object.setP_Name(name);
  proxy::referTo(usage, object.objectClass().at(Impl::Index::propertySetProxy), propSet);
  for (const auto& definition : propSet.getAllProperties())
    object.getPropertiesMutable().add(PropertyUsage::createPropertyUsage(definition, model));
  transaction.commit();
  usage.intializeListener();
  return usage;
}

PropertySet PropertySetUsage::Impl::getPropertySet() const {
  try {
    if (const auto source = getPropertySetProxy())
      return source.getTargetElement().as<PropertySet>();
  } catch (const tavo::Error& error) {
    if (error.id() != PropertyError::FailedProxyResolve)
      throw;
    raiseBecause(error, PropertyError::UnresolvedPropertySet, getP_Name());
  }
  raise(PropertyError::UnresolvedPropertySet, getP_Name());
}

std::vector<PropertySetUsage> PropertySetUsage::Impl::getLineage() const {
  std::vector<PropertySetUsage> line;
  for (auto next = PropertySetUsage(handle().get()); next && std::ranges::find(line, next) == line.end();
       next = next.p_Parent())
    line.push_back(next);
  return line;
}

PropertyUsage PropertySetUsage::Impl::getPropertyUsage(const tavo::String& propUsageName) const {
  return getProperties().find(propUsageName);
}

bool PropertySetUsage::Impl::isPropertySetApplied(const PropertyOwner& elem) const {
  return elem && getP_AppliedElements().contains(elem);
}

//----------------------------------------------------------------------------------------------------------------------
// Following the set

void PropertySetUsage::Impl::intializeListener() {
  const auto set = proxy::findTarget<PropertySet>(getPropertySetProxy());
  if (!set)
    return;
  if (!getP_Listener())
    setP_Listener(std::make_shared<PropertySetListener>());
  getP_Listener()->listenTo(set, PropertySetUsage(handle().get()));
}

void PropertySetUsage::Impl::toggleListener(bool enable) {
  intializeListener();
  if (const auto& listener = getP_Listener())
    listener->setEnabled(enable);
}

bool PropertySetUsage::Impl::isInSyncWithPropSet() const {
  const auto set = getPropertySet();
  const auto inStep = [](const PropertyUsage& usage) { return usage.isInSyncWithPropDef(); };
  return set.properties().size() == getProperties().size() && std::ranges::all_of(getProperties().toVector(), inStep);
}

void PropertySetUsage::Impl::synchronizePostLoad() {
  intializeListener();
  if (isInSyncWithPropSet())
    return;

  tavo::Transaction transaction(model());
  const auto definitions = getPropertySet().getAllProperties();
  const auto isDefined = [&](const PropertyUsage& usage) {
    return std::ranges::any_of(definitions, [id = proxy::targetIdOf(usage.propertyDefProxy())](const auto& each) {
      return each.Uuid() == id;
    });
  };
  for (const auto& usage : getProperties().toVector())
    if (!isDefined(usage)) {
      objectOf(usage).reportValues();
      usage.destroy();
    }
  followNames();
  for (const auto& usage : getProperties().toVector())
    if (!usage.isInSyncWithPropDef()) {
      usage.updateDefaultValue();
      objectOf(usage).updateValueTypes();
    }
  for (const auto& definition : definitions)
    if (!getProperties().has(definition.p_Name()))
      getPropertiesMutable().add(PropertyUsage::createPropertyUsage(definition, model()));
  transaction.commit();
}

void PropertySetUsage::Impl::followNames() {
  std::vector<PropertyUsage> renamed;
  for (const auto& usage : getProperties()) {
    const auto definition = proxy::findTarget<PropertyDefinition>(usage.propertyDefProxy());
    if (definition && definition.p_Name() != usage.p_Name())
      renamed.push_back(usage);
  }
  tavo::Transaction transaction(model());
  // Names are keys, and may have been swapped: all give up theirs before the first takes another.
  if (renamed.size() > 1)
    for (const auto& usage : renamed)
      objectOf(usage).setP_Name(usage.getQKIdentifier());
  for (const auto& usage : renamed)
    usage.synchronizePostLoad();
  transaction.commit();
}

void PropertySetUsage::Impl::adoptSet(const PropertySet& propSet) {
  const auto source = getPropertySetProxy();
  if (source && source.pointsTo(propSet))
    return;
  tavo::Transaction transaction(model());
  proxy::referTo(This(), at(Index::propertySetProxy), propSet);
  for (const auto& usage : getProperties())
    if (const auto definition = propSet.getPropertyByName(usage.p_Name()))
      proxy::referTo(usage, usage.objectClass().at(PropertyUsage::Impl::Index::propertyDefProxy), definition);
  synchronizePostLoad();
  transaction.commit();
}

//----------------------------------------------------------------------------------------------------------------------
// Copying

void PropertySetUsage::Impl::initializeFrom(const PropertySetUsage& other) {
  tavo::Transaction transaction(model());
  for (const auto& usage : getProperties())
    if (const auto theirs = other.getPropertyUsage(usage.p_Name()))
      usage.initializeFrom(theirs);
  transaction.commit();
}

PropertySetUsage PropertySetUsage::Impl::cloneUsage(const std::vector<PropertyOwner>& elemsToClone,
                                                    const std::vector<PropertyOwner>& targetElems,
                                                    const PropertySetOwner& targetOwner, bool isUnique) {
  auto& owner = static_cast<PropertySetOwner::Impl&>(targetOwner.object());
  const auto home = targetOwner.model();

  tavo::Transaction transaction(home);
  auto copy = isUnique ? PropertySetUsage() : targetOwner.getPropertySet(getP_Name());
  if (!copy) {
    copy = PropertySetUsage::create(home);
    auto& object = objectOf(copy);
    object.setP_Name(getP_Name());
    proxy::referAs(copy, at(Index::propertySetProxy), getPropertySetProxy());
    owner.getP_PropertySetsMutable().add(copy);
  }
  for (const auto& usage : getProperties())
    objectOf(usage).copyValues(elemsToClone, targetElems, copy);
  transaction.commit();
  copy.intializeListener();
  return copy;
}

} // namespace zelkor::property
