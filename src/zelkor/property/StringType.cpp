#include "zelkor/property/StringType.impl.h"

#include "zelkor/framework/Errors.h"
#include "zelkor/framework/HostCalls.h"
#include "zelkor/property/DefaultTexts.h"

namespace zelkor::property {
namespace {

using kavra::ArrayClass;
using kavra::HostArray;

HostArray emptyText() { return HostArray::zeros(ArrayClass::Char, {1, 0}); }

} // namespace

StringType StringType::makeStringType(const tavo::Model& model) { return StringType::create(model); }

void StringType::Impl::validateValue(const kavra::HostArray& array) const {
  // A row of characters is one text, so its extents say nothing about the shape of the value.
  if (array.arrayClass() == ArrayClass::Char)
    return;
  if (array.arrayClass() != ArrayClass::Cell && array.arrayClass() != ArrayClass::String)
    raise(PropertyError::InvalidStringPropValue);
  requireDimensions(*this, array);
  if (array.arrayClass() == ArrayClass::String)
    return;
  for (const auto& text : array.cells())
    if (text.arrayClass() != ArrayClass::Char && text.arrayClass() != ArrayClass::String)
      raise(PropertyError::InvalidStringPropValue);
}

tavo::String StringType::Impl::makeDefaultExpression() const {
  if (isSingle(getDimensions()))
    return {};
  std::string text = "char.empty(";
  for (const std::uint64_t extent : getDimensions())
    text += std::to_string(extent) + ",";
  return tavo::String::fromUtf8(text + "0)");
}

kavra::HostArray StringType::Impl::makeDefaultValue(const kavra::HostArray&) const {
  if (isSingle(getDimensions()))
    return emptyText();
  return callHost([&] {
    const auto extents = asExtents(getDimensions());
    const auto count = HostArray::zeros(ArrayClass::Logical, extents).count();
    return HostArray::cell(extents, std::vector<HostArray>(count, emptyText()));
  });
}

} // namespace zelkor::property
