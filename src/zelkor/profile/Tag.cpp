#include "zelkor/profile/Tag.impl.h"

#include "zelkor/clone/CloneContext.h"
#include "zelkor/framework/Prototypable.h"

namespace zelkor::profile {

void Tag::Impl::setP_Name(const tavo::String& name) {
  // The profile's collection is keyed by it and refuses a name that is taken; tags have no other rule.
  Base::setP_Name(name);
}

void Tag::Impl::setLinkedElements(const internal::Prototypable& element) {
  if (!getLinkedElements().contains(element))
    getLinkedElementsMutable().add(element);
}

void Tag::Impl::removeLinkedElement(const internal::Prototypable& element) {
  getLinkedElementsMutable().remove(element);
}

internal::NamedElement Tag::Impl::clone(const tavo::Model& target, const internal::clone::CloneContext& context) const {
  // A label of another model is not on the elements of this one.
  std::vector<tavo::Uuid> excluded;
  if (target != model())
    excluded.push_back(at(Index::linkedElements).id());
  return cloneComposition(target, context, excluded);
}

} // namespace zelkor::profile
