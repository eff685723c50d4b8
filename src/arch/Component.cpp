#include "arch/Component.impl.h"

#include "arch/Connector.impl.h"
#include "arch/Port.impl.h"
#include "tavo/core/Errors.h"
#include "tavo/model/Transaction.h"

namespace zelkor {

Component Component::Impl::addComponent(const tavo::String& name) {
  tavo::Transaction transaction(model());
  auto component = Component::create(model());
  component.setName(name);
  checkName(name, component);
  getComponentsMutable().add(component);
  transaction.commit();
  return component;
}

Port Component::Impl::addPort(const tavo::String& name, PortDirection direction) {
  tavo::Transaction transaction(model());
  auto port = Port::create(model());
  port.setName(name);
  checkName(name, port);
  port.setDirection(direction);
  getPortsMutable().add(port);
  transaction.commit();
  return port;
}

Connector Component::Impl::addConnector(const tavo::String& name, const Port& source, const Port& target) {
  tavo::Transaction transaction(model());
  auto connector = Connector::create(model());
  connector.setName(name);
  checkName(name, connector);
  getConnectorsMutable().add(connector);
  connector.connect(source, target);
  transaction.commit();
  return connector;
}

Element Component::Impl::findChild(const tavo::String& name) const {
  if (auto part = getComponents().find(name))
    return part;
  if (auto port = getPorts().find(name))
    return port;
  return getConnectors().find(name);
}

void Component::Impl::checkName(const tavo::String& name, const Element& element) const {
  if (const auto present = findChild(name); present && present != element)
    tavo::raise(tavo::FrameworkError::UniquenessConstraint, present.object().containingProperty()->name(), name);
}

bool Component::Impl::holds(const Element& element) const {
  for (auto owner = element.getOwner(); owner; owner = owner.getOwner())
    if (owner == handle())
      return true;
  return false;
}

Element Component::Impl::findElement(const tavo::String& path) const {
  Element found(handle().get());
  for (std::u16string_view rest = path; !rest.empty() && found;) {
    const auto slash = rest.find(u'/');
    const auto name = rest.substr(0, slash);
    rest = slash == rest.npos ? std::u16string_view() : rest.substr(slash + 1);
    const auto owner = found.as<Component>();
    found = owner ? static_cast<Impl&>(owner.object()).findChild(name) : Element();
  }
  return found;
}

} // namespace zelkor
