#include "zelkor/property/PropertySetListener.h"

namespace zelkor::property {

std::shared_ptr<PropertySetListener> PropertySetListener::install(const tavo::Model& modelOfSet) {
  auto listener = std::make_shared<PropertySetListener>();
  // The usage owns the listener; the token ends with it.
  listener->token_ = modelOfSet.addShallowListener([self = listener.get()] { self->changed_ = true; });
  return listener;
}

void PropertySetListener::setEnabled(bool enabled) {
  enabled_ = enabled;
  changed_ = true;
}

} // namespace zelkor::property
