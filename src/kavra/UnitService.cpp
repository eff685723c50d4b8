#include "kavra/UnitService.h"

namespace kavra {

UnitService::~UnitService() = default; // here, so that the type information has one home

} // namespace kavra
