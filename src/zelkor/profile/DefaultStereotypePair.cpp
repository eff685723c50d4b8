#include "zelkor/profile/DefaultStereotypePair.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/services/Proxies.h"

namespace zelkor::profile {

Prototype DefaultStereotypePair::Impl::getPrototype() const {
  if (const auto own = getDefaultStereotype())
    return own;
  return services::proxy::findTarget<Prototype>(getDefaultStereotypeProxy());
}

void DefaultStereotypePair::Impl::setPrototype(const Prototype& prototype) {
  tavo::Transaction transaction(model());
  const bool isElsewhere = prototype && prototype.model() != model();
  setDefaultStereotype(isElsewhere ? Prototype() : prototype);
  if (isElsewhere)
    services::proxy::referTo(This(), at(Index::defaultStereotypeProxy), prototype);
  else
    services::proxy::referToNothing(This(), at(Index::defaultStereotypeProxy));
  transaction.commit();
}

void DefaultStereotypePair::Impl::setSameAs(const DefaultStereotypePair& other) {
  tavo::Transaction transaction(model());
  setPrototype(other.defaultStereotype());
  services::proxy::referAs(This(), at(Index::defaultStereotypeProxy), other.defaultStereotypeProxy());
  transaction.commit();
}

} // namespace zelkor::profile
