#include "arch/Element.impl.h"

#include "arch/Component.impl.h"
#include "arch/Connector.h"
#include "arch/Errors.h"
#include "arch/Port.h"
#include "tavo/model/Transaction.h"
#include "zelkor/clone/CloneContext.h"
#include "zelkor/clone/UUIDElemPair.h"
#include "zelkor/framework/HostNames.h"
#include "zelkor/property/PropertyOwner.impl.h"
#include "zelkor/property/PropertySetUsage.h"
#include "zelkor/property/PropertyUsage.h"

namespace zelkor {

using internal::NamedElement;
using internal::Prototypable;
using internal::clone::CloneContext;

namespace {

/// What a copy gets again in another way: references that lead out of what is copied.
std::vector<tavo::Uuid> outwardFeatures() {
  std::vector<tavo::Uuid> ids;
  const auto add = [&](const tavo::MetaClass& metaClass, std::initializer_list<std::string_view> names) {
    for (const auto name : names)
      ids.push_back(metaClass.property(name).id());
  };
  add(Prototypable::metaClass(), {"_PrototypeProxy", "p_PropertySets"});
  add(Connector::metaClass(), {"source", "target"});
  return ids;
}

/// Raises ConnectorEndOutside when a connector does not reach its ends any more once `moved`, to which the element
/// belongs, is part of another component.
void requireReach(const Element& element, const Element& moved, const Component& newOwner) {
  if (const auto port = element.as<Port>())
    for (const auto& connectors : {port.outgoing().toVector(), port.incoming().toVector()})
      for (const auto& connector : connectors) {
        const auto home = connector.getOwner();
        const bool movesAlong = !home || home == moved || (moved.as<Component>() && moved.as<Component>().holds(home));
        if (!movesAlong && home != newOwner && !home.holds(newOwner))
          tavo::raise(ElementError::ConnectorEndOutside, connector.getName(), port.getPath());
      }
  if (const auto connector = element.as<Connector>(); connector && connector == moved)
    for (const auto& end : {connector.source(), connector.target()})
      if (end && !newOwner.holds(end))
        tavo::raise(ElementError::ConnectorEndOutside, connector.getName(), end.getPath());
  if (const auto component = element.as<Component>()) {
    for (const auto& port : component.ports())
      requireReach(port, moved, newOwner);
    for (const auto& part : component.components())
      requireReach(part, moved, newOwner);
  }
}

bool isDangling(const Connector& connector) { return !connector.source() || !connector.target(); }

} // namespace

void Element::Impl::setName(const tavo::String& name) {
  if (!isValidName(name))
    tavo::raise(ElementError::InvalidElementName, name);
  if (const auto owner = getOwner())
    static_cast<Component::Impl&>(owner.object()).checkName(name, This());
  setP_Name(name);
}

Component Element::Impl::getOwner() const {
  const auto* owner = container();
  return owner ? owner->handle().as<Component>() : Component();
}

tavo::String Element::Impl::getPath() const {
  const auto owner = getOwner();
  return owner ? tavo::concat(owner.getPath(), u"/", getP_Name()) : getP_Name();
}

NamedElement Element::Impl::clone(const tavo::Model& target, const CloneContext& context) const {
  if (const auto known = context ? target.find<NamedElement>(context.getTargetUUID(uuid())) : NamedElement())
    return known; // copied with what contains it
  // The copies have to know each other, whether or not the caller wants to know them.
  const auto scratch = context ? tavo::Model() : tavo::Model::create();
  const auto known = context ? context : CloneContext::create(scratch);

  tavo::Transaction transaction(target);
  auto copy = cloneComposition(target, known, outwardFeatures());
  for (const auto& pair : known.getAllEntries()) {
    const auto from = model().find<NamedElement>(pair.sourceID());
    const auto to = target.find<NamedElement>(pair.targetID());
    if (!from || !to || known.isTargetRemapComplete(pair.targetID()))
      continue;
    static_cast<NamedElement::Impl&>(to.object()).remapAssociations(to, known, from);
    known.markTargetRemapComplete(pair.targetID());
    if (const auto connector = to.as<Connector>();
        connector && to != copy && !known.shouldCloneDanglingConnectors() && isDangling(connector))
      connector.destroy();
  }
  transaction.commit();
  return copy;
}

void Element::Impl::reparent(const tavo::ModelElement& newOwner) {
  const auto owner = newOwner.as<Component>();
  const auto* feature = objectClass().isA(Port::metaClass())        ? "ports"
                        : objectClass().isA(Connector::metaClass()) ? "connectors"
                                                                    : "components";
  if (!owner)
    tavo::raise(ElementError::NotAComponent, getPath(), newOwner ? newOwner.objectClass().name() : "");
  static_cast<Component::Impl&>(owner.object()).checkName(getP_Name(), This());
  requireReach(This(), This(), owner);
  tavo::Transaction transaction(model());
  if (auto* present = container())
    present->remove(*containingProperty(), this);
  owner.object().add(owner.objectClass().property(feature), this);
  transaction.commit();
}

void Element::Impl::aboutToDestroy() {
  Base::aboutToDestroy();
  // The values of an element are nothing without it; undo brings back both.
  for (const auto& usage : getP_PropertySets())
    for (const auto& property : usage.properties())
      property.clearValue(uuid());
}

} // namespace zelkor
