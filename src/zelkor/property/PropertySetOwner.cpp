#include "zelkor/property/PropertySetOwner.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/property/PropertyOwner.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/PropertySetUsage.h"

namespace zelkor::property {

void PropertySetOwner::Impl::initializePostLoad() {
  for (const auto& usage : getP_PropertySets())
    usage.intializeListener();
}

PropertySetUsage PropertySetOwner::Impl::usePropertySet(const PropertySet& propSet,
                                                        const tavo::String& propSetUsageName) {
  if (auto present = getPropertySet(propSetUsageName))
    return present;
  tavo::Transaction transaction(model());
  auto usage = PropertySetUsage::make(model(), propSetUsageName, propSet);
  getP_PropertySetsMutable().add(usage);
  transaction.commit();
  return usage;
}

void PropertySetOwner::Impl::discardPropertySet(const tavo::String& propSetUsageName) {
  if (const auto usage = getPropertySet(propSetUsageName))
    usage.destroy();
}

PropertySetUsage PropertySetOwner::Impl::getPropertySet(const tavo::String& propSetUsageName) const {
  return getP_PropertySets().find(propSetUsageName);
}

bool PropertySetOwner::Impl::isPropertySetApplied(const PropertyOwner& elem,
                                                  const tavo::String& propSetUsageName) const {
  const auto usage = getPropertySet(propSetUsageName);
  return usage && usage.isPropertySetApplied(elem);
}

} // namespace zelkor::property
