#include "sample/Plant.impl.h"

#include "sample/Bed.impl.h"
#include "sample/Plant.builder.h"
#include "tavo/core/Errors.h"
#include "tavo/model/Transaction.h"

namespace sample {

// Named

tavo::String Named::Impl::getLabel() const { return getP_Name(); }

void Named::Impl::rename(const tavo::String& name) { setP_Name(name); }

// Plant

Plant Plant::make(const Bed& bed, const tavo::String& name, std::uint32_t number) {
  Builder builder;
  builder.doSetP_Name(name);
  builder.doSetNumber(number);
  return static_cast<Bed::Impl&>(bed.object()).createIntoPlants(builder);
}

Plant Plant::Impl::getTallest() const {
  Plant tallest(handle().get());
  if (const Bed bed = getBed())
    for (const Plant plant : bed.plants())
      if (plant.height() > tallest.height())
        tallest = plant;
  return tallest;
}

double Plant::Impl::grow(double by) {
  setHeight(getHeight() + by);
  return getHeight();
}

double Plant::Impl::grow(double by, const std::vector<Season>& seasons) {
  for (std::size_t i = 0; i < seasons.size(); ++i)
    grow(by);
  return getHeight();
}

double Plant::Impl::measure(const std::optional<tavo::String>& unit, bool& isRough) const {
  isRough = !unit.has_value();
  return getHeight();
}

std::vector<Plant> Plant::Impl::plants(const std::vector<Plant>& among) const {
  std::vector<Plant> found;
  for (const Plant& plant : among)
    if (plant.family() == getFamily())
      found.push_back(plant);
  return found;
}

void Plant::Impl::wilted(const Clock& at) { setLastSeen(at); }

bool Plant::Impl::isIn(const tavo::Model& model, const tavo::MetaClass& metaClass) const {
  return handle().model() == model && isA(metaClass);
}

tavo::String Plant::Impl::describe(std::uint32_t length) const {
  return std::u16string_view(getP_Name()).substr(0, length);
}

void Plant::Impl::rename(const tavo::String& name) { Named::Impl::rename(name); }

void Plant::Impl::rename(const tavo::String& first, const tavo::String& second) {
  std::u16string joined(first);
  joined += u' ';
  joined += std::u16string_view(second);
  rename(joined);
}

void Plant::Impl::setP_Name(const tavo::String& name) {
  if (std::u16string_view(name).empty())
    tavo::raise(tavo::FrameworkError::InvalidValue, name, "Name", "a name");
  Named::Impl::setP_Name(name);
}

void Plant::Impl::aboutToSetHeight(double height) {
  if (height < 0)
    tavo::raise(tavo::FrameworkError::InvalidValue, height, "height", "a height");
}

void Plant::Impl::aboutToSetLastSeen(const Clock&) { setVisits(getVisits() + 1); }

void Plant::Impl::aboutToDestroy() { setHeight(0); }

} // namespace sample
