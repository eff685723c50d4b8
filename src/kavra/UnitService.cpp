#include "kavra/UnitService.h"

namespace kavra {

UnitService::~UnitService() = default; // here, so that the type information has one home

double UnitService::convert(double value, std::u16string_view from, std::u16string_view to) const {
  auto map = conversion(from, to);
  return value * map.factor + map.offset;
}

} // namespace kavra
