#include "zelkor/property/ValueTypeDescriptor.impl.h"

#include "zelkor/profile/ProfileNamespace.h"

namespace zelkor::property {

ValueTypeDescriptor ValueTypeDescriptor::make(const tavo::Model& model) { return ValueTypeDescriptor::create(model); }

void ValueTypeDescriptor::Impl::validate() const {}
tavo::String ValueTypeDescriptor::Impl::makeDefaultExpression() const { return {}; }
void ValueTypeDescriptor::Impl::validateExpression(const tavo::String&) const {}

bool ValueTypeDescriptor::Impl::isPrototypable() const {
  const auto owner = tavo::ModelElement(container()).as<internal::Prototypable>();
  return owner && owner.isPrototypable();
}

profile::ProfileNamespace ValueTypeDescriptor::Impl::getProfileNamespace() const {
  const auto owner = tavo::ModelElement(container()).as<internal::Prototypable>();
  return owner ? owner.getProfileNamespace() : profile::ProfileNamespace();
}

tavo::String ValueTypeDescriptor::Impl::getPrototypeClassName() const {
  const auto owner = tavo::ModelElement(container()).as<internal::Prototypable>();
  return owner ? owner.getPrototypeClassName() : tavo::String();
}

void ValueTypeDescriptor::Impl::setDataType(const tavo::String& text) { setP_DataType(text); }
void ValueTypeDescriptor::Impl::setDimensions(const tavo::String& text) { setP_Dimensions(text); }
void ValueTypeDescriptor::Impl::setComplexity(const tavo::String& text) { setP_Complexity(text); }
void ValueTypeDescriptor::Impl::setUnits(const tavo::String& text) { setP_Units(text); }
void ValueTypeDescriptor::Impl::setMinimum(const tavo::String& text) { setP_Minimum(text); }
void ValueTypeDescriptor::Impl::setMaximum(const tavo::String& text) { setP_Maximum(text); }
void ValueTypeDescriptor::Impl::setDescription(const tavo::String& text) { setP_Description(text); }

} // namespace zelkor::property
