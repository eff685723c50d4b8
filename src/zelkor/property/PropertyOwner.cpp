#include "zelkor/property/PropertyOwner.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/meta/ValueStruct.h"
#include "zelkor/property/NormalizedValues.h"
#include "zelkor/property/PropertySetUsage.h"
#include "zelkor/property/PropertyUsage.h"
#include "zelkor/property/QualifiedNames.h"
#include "zelkor/property/Value.h"
#include "zelkor/services/ModelEventBroadcastSystem.h"
#include "zelkor/services/Proxies.h"

#include <algorithm>
#include <new>

namespace zelkor::property {

using services::ModelEventBroadcastSystem;
using services::ModelEventType;

namespace {

/// The name of the file that shows a model. Values are set model by model, so the last one will mostly do.
const tavo::String& blockDiagramOf(const tavo::Model& model) {
  struct Known {
    tavo::String name, file;
  };
  static auto& last = *new Known{u"", tavo::String(services::blockDiagramExtension)}; // models may end after all else
  if (auto name = services::proxy::nameForMessages(model); name != last.name) {
    last.file = tavo::concat(name, services::blockDiagramExtension);
    last.name = std::move(name);
  }
  return last.file;
}

/// Tells the application that values of an element are others now, by the name of the model's file.
void announceChange(const PropertyOwner& owner) {
  auto& events = ModelEventBroadcastSystem::instance();
  if (events.isHeard())
    events.triggerEvent(ModelEventType::propertyValueChanged, blockDiagramOf(owner.model()), owner);
}

} // namespace

//----------------------------------------------------------------------------------------------------------------------
// Finding

PropertySetUsage PropertyOwner::Impl::getPropertySet(const tavo::String& propSetUsageName) const {
  return getP_PropertySets().find(propSetUsageName);
}

PropertyUsage PropertyOwner::Impl::findPropertyUsage(const tavo::String& qualifiedName) const {
  const auto [setName, propertyName] = splitAtLastDot(qualifiedName);
  const auto usage = getP_PropertySets().find(setName);
  return usage ? usage.properties().find(propertyName) : PropertyUsage();
}

PropertyUsage PropertyOwner::Impl::requirePropertyUsage(const tavo::String& qualifiedName) const {
  auto usage = findPropertyUsage(qualifiedName);
  if (!usage)
    raise(PropertyError::PropertyNotFound, qualifiedName);
  return usage;
}

std::vector<tavo::String> PropertyOwner::Impl::getPropertySetNames() const {
  std::vector<tavo::String> names;
  for (const auto& usage : getP_PropertySets())
    names.push_back(usage.p_Name());
  return names;
}

std::vector<tavo::String> PropertyOwner::Impl::getPropertyNames() const {
  std::vector<tavo::String> names;
  for (const auto& set : getP_PropertySets())
    for (const auto& usage : set.properties())
      names.push_back(tavo::concat(set.p_Name(), u".", usage.p_Name()));
  return names;
}

//----------------------------------------------------------------------------------------------------------------------
// Values

Value PropertyOwner::Impl::getPropValObject(const tavo::String& qualifiedName) const {
  bool isDefault = false;
  return requirePropertyUsage(qualifiedName).getPropVal(uuid(), isDefault);
}

ValueStruct PropertyOwner::Impl::getPropVal(const tavo::String& qualifiedName) const {
  bool isDefault = false;
  return requirePropertyUsage(qualifiedName).getPropValStruct(uuid(), isDefault);
}

bool PropertyOwner::Impl::isPropValDefault(const tavo::String& qualifiedName) const {
  bool isDefault = false;
  requirePropertyUsage(qualifiedName).getPropVal(uuid(), isDefault);
  return isDefault;
}

bool PropertyOwner::Impl::hasPropVal(const tavo::String& qualifiedName) const {
  return static_cast<bool>(findPropertyUsage(qualifiedName));
}

void PropertyOwner::Impl::setPropVal(const tavo::String& qualifiedName, const tavo::String& expression,
                                     const tavo::String& units) {
  try {
    tavo::Transaction transaction(model());
    requirePropertyUsage(qualifiedName).setPropVal(uuid(), expression, units);
    announceChange(This());
    transaction.commit();
  } catch (const std::bad_alloc&) {
    throw; // says nothing about the value
  } catch (const std::exception& error) {
    raiseBecause(error, PropertyError::ErrorSettingPropertyValue, qualifiedName);
  }
}

void PropertyOwner::Impl::clearPropVal(const tavo::String& qualifiedName) {
  const auto usage = requirePropertyUsage(qualifiedName);
  tavo::Transaction transaction(model());
  usage.clearValue(uuid());
  announceChange(This());
  transaction.commit();
}

kavra::HostArray PropertyOwner::Impl::getNormalizedValue(const tavo::String& qualifiedName) const {
  return normalizedValue(getPropValObject(qualifiedName));
}

void PropertyOwner::Impl::setFromNormalizedValue(const tavo::String& qualifiedName, const kavra::HostArray& value) {
  tavo::String expression;
  try {
    expression = expressionOfNormalized(value, getPropValObject(qualifiedName));
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    raiseBecause(error, PropertyError::ErrorSettingPropertyValue, qualifiedName);
  }
  setPropVal(qualifiedName, expression, u"*");
}

//----------------------------------------------------------------------------------------------------------------------
// Applying sets

void PropertyOwner::Impl::applyPropertySet(const PropertySetUsage& propSetUsage) {
  tavo::Transaction transaction(model());
  for (const auto& usage : propSetUsage.getLineage())
    if (!getP_PropertySets().contains(usage))
      getP_PropertySetsMutable().add(usage);
  transaction.commit();
}

void PropertyOwner::Impl::removePropertySet(const PropertySetUsage& propSetUsage, bool clearValues) {
  tavo::Transaction transaction(model());
  for (const auto& usage : propSetUsage.getLineage()) {
    if (usage != propSetUsage && needsPropertySet(usage))
      break; // and with it all that it derives from
    getP_PropertySetsMutable().remove(usage);
    if (clearValues)
      for (const auto& property : usage.properties())
        property.clearValue(uuid());
  }
  transaction.commit();
}

bool PropertyOwner::Impl::needsPropertySet(const PropertySetUsage& propSetUsage) const {
  for (const auto& usage : getP_PropertySets()) {
    const auto line = usage.getLineage();
    if (usage != propSetUsage && std::ranges::find(line, propSetUsage) != line.end())
      return true;
  }
  return false;
}

//----------------------------------------------------------------------------------------------------------------------
// The scripting layer

std::vector<PropertyOwner> PropertyOwner::Impl::getElementsToNotifyOnPropertyChange() const {
  return {PropertyOwner(handle().get())};
}

void PropertyOwner::Impl::updateCachedWrapperForNewProperty(const tavo::String& qualifiedName) {
  const auto& wrapper = getCachedWrapper();
  if (!wrapper || !wrapper->isVessaObject())
    return;
  const auto name = kavra::HostArray::chars(qualifiedName);
  wrapper->call(u"addProperty", {&name, 1});
}

} // namespace zelkor::property
