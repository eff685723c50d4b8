#include "zelkor/profile/DefaultStereotypeMap.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/profile/DefaultStereotypePair.impl.h"
#include "zelkor/profile/Prototype.h"

namespace zelkor::profile {
namespace {

constexpr std::u16string_view component = u"component", port = u"port", connector = u"connector";

/// Whether the stereotype is to become another default than the present one; refuses one that does not apply.
bool isNewDefault(const DefaultStereotypeMap& map, std::u16string_view key, std::u16string_view kind,
                  const Prototype& prototype, tavo::ErrorId refusal) {
  if (map.getDefault(key) == prototype)
    return false;
  if (prototype && !prototype.appliesToKind(kind)) {
    if (refusal == ProfileError::InvalidComponentDefault)
      raise(refusal);
    raise(refusal, prototype.getFullyQualifiedName());
  }
  return true;
}

DefaultStereotypePair insertPair(DefaultStereotypeMap::Impl& map, const tavo::String& key) {
  auto pair = DefaultStereotypePair::create(map.model());
  pair.setKey(key);
  map.getDefaultsMutable().add(pair);
  return pair;
}

} // namespace

void DefaultStereotypeMap::Impl::setArchitectureDefault(const Prototype& prototype) {
  if (isNewDefault(This(), component, u"Component", prototype, ProfileError::InvalidComponentDefault))
    insertDefault(component, prototype);
}

void DefaultStereotypeMap::Impl::setPortDefault(const Prototype& prototype) {
  if (isNewDefault(This(), port, u"Port", prototype, ProfileError::InvalidPortDefault))
    insertDefault(port, prototype);
}

void DefaultStereotypeMap::Impl::setConnectorDefault(const Prototype& prototype) {
  if (isNewDefault(This(), connector, u"Connector", prototype, ProfileError::InvalidConnectorDefault))
    insertDefault(connector, prototype);
}

Prototype DefaultStereotypeMap::Impl::getArchitectureDefault() const { return getDefault(component); }
Prototype DefaultStereotypeMap::Impl::getPortDefault() const { return getDefault(port); }
Prototype DefaultStereotypeMap::Impl::getConnectorDefault() const { return getDefault(connector); }

void DefaultStereotypeMap::Impl::removeArchitectureDefault() { deleteDefaultForType(component); }
void DefaultStereotypeMap::Impl::removePortDefault() { deleteDefaultForType(port); }
void DefaultStereotypeMap::Impl::removeConnectorDefault() { deleteDefaultForType(connector); }

void DefaultStereotypeMap::Impl::clearAll() {
  tavo::Transaction transaction(model());
  for (const auto& pair : getDefaults().toVector())
    pair.destroy();
  transaction.commit();
}

void DefaultStereotypeMap::Impl::insertDefault(const tavo::String& key, const Prototype& prototype) {
  tavo::Transaction transaction(model());
  insertPair(*this, key).setPrototype(prototype);
  transaction.commit();
}

void DefaultStereotypeMap::Impl::insertDefaultOf(const DefaultStereotypePair& pair) {
  tavo::Transaction transaction(model());
  insertPair(*this, pair.key()).setSameAs(pair);
  transaction.commit();
}

void DefaultStereotypeMap::Impl::deleteDefaultForType(const tavo::String& key) {
  if (const auto pair = getDefaults().find(key))
    pair.destroy();
}

bool DefaultStereotypeMap::Impl::hasDefault(const tavo::String& key) const { return getDefaults().has(key); }

Prototype DefaultStereotypeMap::Impl::getDefault(const tavo::String& key) const {
  const auto pair = getDefaults().find(key);
  return pair ? pair.getPrototype() : Prototype();
}

} // namespace zelkor::profile
