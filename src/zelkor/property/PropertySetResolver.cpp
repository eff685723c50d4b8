#include "zelkor/property/PropertySetResolver.impl.h"

#include "zelkor/services/ModelResolvers.h"

namespace zelkor::property {

PropertySetResolver PropertySetResolver::findModelResolver(const tavo::Model& model, const tavo::String& name) {
  return services::proxy::findResolver<PropertySetResolver>(model, name);
}

PropertySetResolver PropertySetResolver::createResolver(const tavo::Model& model, const tavo::String& name) {
  return services::proxy::findOrCreateResolver<PropertySetResolver>(model, name);
}

void PropertySetResolver::Impl::load() {
  // The model of a property set is opened by people, never for the sake of a reference.
}

} // namespace zelkor::property
