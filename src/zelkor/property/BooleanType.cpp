#include "zelkor/property/BooleanType.impl.h"

#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostCalls.h"
#include "zelkor/property/DefaultTexts.h"

namespace zelkor::property {

BooleanType BooleanType::makeBooleanType(const tavo::Model& model) { return BooleanType::create(model); }

void BooleanType::Impl::validateValue(const kavra::HostArray& array) const {
  if (array.arrayClass() != kavra::ArrayClass::Logical)
    raise(PropertyError::InvalidBooleanPropValue);
  requireDimensions(*this, array);
}

tavo::String BooleanType::Impl::makeDefaultExpression() const {
  if (isSingle(getDimensions()))
    return u"false";
  return tavo::String::fromUtf8("false([" + extentsText(getDimensions()) + "])");
}

kavra::HostArray BooleanType::Impl::makeDefaultValue(const kavra::HostArray&) const {
  return callHost([&] { return kavra::HostArray::filled(asExtents(getDimensions()), false); });
}

} // namespace zelkor::property
