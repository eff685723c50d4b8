#include "zelkor/property/RealType.impl.h"

#include "zelkor/framework/Errors.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/UnitQueryClientWrapper.h"

namespace zelkor::property {

void RealType::Impl::setUnit(const tavo::String& units) { setUnits(units); }

void RealType::Impl::aboutToSetUnits(const tavo::String& units) {
  if (!units.empty() && isA(Enumeration::metaClass()))
    raise(PropertyError::CantHaveUnit);
  if (const auto checker = getUnitChecker())
    checker.checkUnit(units);
}

} // namespace zelkor::property
