#include "zelkor/property/UnitQueryClientWrapper.impl.h"

#include "kavra/Host.h"
#include "tavo/model/Transaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostCalls.h"

namespace zelkor::property {
namespace {

/// The service that a wrapper asks: its own, else the installed host's; null without a host, which then takes any text.
/// A wrapper that comes out of a file has none of its own.
std::shared_ptr<kavra::UnitService> serviceOf(const UnitQueryClientWrapper::Impl& wrapper) {
  if (wrapper.getClient())
    return wrapper.getClient();
  return kavra::isHostAvailable() ? kavra::host().sharedUnits() : nullptr;
}

} // namespace

UnitQueryClientWrapper UnitQueryClientWrapper::get(const tavo::Model& model) {
  if (auto present = model.findTopLevel<UnitQueryClientWrapper>())
    return present;
  tavo::Transaction transaction(model);
  auto wrapper = UnitQueryClientWrapper::create(model);
  if (kavra::isHostAvailable())
    static_cast<Impl&>(wrapper.object()).setClient(kavra::host().sharedUnits());
  transaction.commit();
  return wrapper;
}

void UnitQueryClientWrapper::Impl::checkUnit(const tavo::String& text) const {
  if (const auto service = serviceOf(*this))
    callHost([&] { service->checkUnit(text); });
}

void UnitQueryClientWrapper::Impl::checkCompatible(const tavo::String& unitA, const tavo::String& unitB) const {
  const auto service = serviceOf(*this);
  if (!service)
    return;
  const bool compatible = callHost([&] {
    service->checkUnit(unitA);
    if (unitA == unitB)
      return true;
    service->checkUnit(unitB);
    return service->areEquivalent(unitA, unitB) || service->areConvertible(unitA, unitB);
  });
  if (!compatible)
    raise(PropertyError::UnitsNotConvertible, unitA, unitB);
}

kavra::UnitConversion UnitQueryClientWrapper::Impl::getConversionInfo(const tavo::String& unitA,
                                                                      const tavo::String& unitB) const {
  const auto service = serviceOf(*this);
  return service ? callHost([&] { return service->conversion(unitA, unitB); }) : kavra::UnitConversion();
}

double UnitQueryClientWrapper::Impl::convert(double value, const tavo::String& unitA, const tavo::String& unitB) const {
  const auto service = serviceOf(*this);
  return service ? callHost([&] { return service->convert(value, unitA, unitB); }) : value;
}

std::vector<tavo::String> UnitQueryClientWrapper::Impl::getSimilarUnits(const tavo::String& text) const {
  const auto service = serviceOf(*this);
  if (!service)
    return {};
  const auto similar = callHost([&] { return service->similarUnits(text); });
  return {similar.begin(), similar.end()};
}

} // namespace zelkor::property
