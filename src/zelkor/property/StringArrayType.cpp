#include "zelkor/property/StringArrayType.impl.h"

#include "kavra/Host.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostNames.h"

namespace zelkor::property {

using kavra::ArrayClass;

StringArrayType StringArrayType::makeStringArrayType(const tavo::Model& model) {
  return StringArrayType::create(model);
}

void StringArrayType::Impl::validateValue(const kavra::HostArray& array) const {
  if (array.arrayClass() != ArrayClass::Cell)
    raise(PropertyError::InvalidTagFormat);
  for (const auto& tag : array.cells()) {
    const auto text = tag.arrayClass() == ArrayClass::Char ? tag.asText() : std::nullopt;
    if (!text)
      raise(PropertyError::InvalidTagFormat);
    if (!isValidName(*text))
      raise(PropertyError::InvalidTagName, tavo::String(*text));
  }
}

tavo::String StringArrayType::Impl::makeDefaultExpression() const { return u"{}"; }

kavra::HostArray StringArrayType::Impl::makeDefaultValue(const kavra::HostArray&) const {
  return kavra::HostArray::zeros(ArrayClass::Cell, {0, 0});
}

} // namespace zelkor::property
