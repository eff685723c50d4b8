#include "zelkor/property/NormalizedValues.h"

#include "kavra/Rendering.h"
#include "tavo/core/Errors.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/property/NumericArrays.h"
#include "zelkor/property/RealType.h"
#include "zelkor/property/UnitQueryClientWrapper.h"
#include "zelkor/property/Value.h"
#include "zelkor/property/ValueType.h"
#include "zelkor/services/ProxySource.h"

namespace zelkor::property {
namespace {

struct Units {
  tavo::String written; ///< of the text
  tavo::String normal;  ///< of the type
};

Units unitsOf(const Value& value) {
  const auto real = value.getType().as<RealType>();
  return {value.units(), real ? real.units() : tavo::String()};
}

kavra::HostArray converted(const kavra::HostArray& array, const tavo::Model& model, const tavo::String& from,
                           const tavo::String& to) {
  if (from.empty() || to.empty() || from == to || !array || !kavra::isNumeric(array.arrayClass()))
    return array;
  const auto service = UnitQueryClientWrapper::get(model);
  auto numbers = castNumbers(array, kavra::ArrayClass::Double);
  for (auto& number : numbers.mutableData<double>())
    number = service.convert(number, from, to);
  return array.arrayClass() == kavra::ArrayClass::Single ? castNumbers(numbers, kavra::ArrayClass::Single) : numbers;
}

} // namespace

kavra::HostArray normalizedValue(const Value& value) {
  const auto units = unitsOf(value);
  return converted(value.getValueIfExists(), value.model(), units.written, units.normal);
}

tavo::String expressionOfNormalized(const kavra::HostArray& array, const Value& value) {
  const auto units = unitsOf(value);
  const auto text = kavra::expressionText(converted(array, value.model(), units.normal, units.written));
  if (!text)
    raise(tavo::FrameworkError::InvalidValue, kavra::displayText(array), "value",
          value.valueTypeProxy().getTargetName());
  return *text;
}

} // namespace zelkor::property
