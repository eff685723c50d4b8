#include "arch/Component.impl.h"

#include "arch/Connector.impl.h"
#include "arch/Port.impl.h"
#include "tavo/model/Transaction.h"

namespace zelkor {

Component Component::Impl::addComponent(const tavo::String& name) {
  tavo::Transaction transaction(model());
  auto component = Component::create(model());
  component.setName(name);
  getComponentsMutable().add(component);
  transaction.commit();
  return component;
}

Port Component::Impl::addPort(const tavo::String& name, PortDirection direction) {
  tavo::Transaction transaction(model());
  auto port = Port::create(model());
  port.setName(name);
  port.setDirection(direction);
  getPortsMutable().add(port);
  transaction.commit();
  return port;
}

Connector Component::Impl::addConnector(const tavo::String& name, const Port& source, const Port& target) {
  tavo::Transaction transaction(model());
  auto connector = Connector::create(model());
  connector.setName(name);
  getConnectorsMutable().add(connector);
  connector.connect(source, target);
  transaction.commit();
  return connector;
}

Element Component::Impl::findElement(const tavo::String& path) const {
  Element found(handle().get());
  for (std::u16string_view rest = path; !rest.empty() && found;) {
    const auto slash = rest.find(u'/');
    const auto name = rest.substr(0, slash);
    rest = slash == rest.npos ? std::u16string_view() : rest.substr(slash + 1);
    const auto owner = found.as<Component>();
    if (!owner)
      return {};
    found = owner.components().find(name);
    if (!found)
      found = owner.ports().find(name);
    if (!found)
      found = owner.connectors().find(name);
  }
  return found;
}

} // namespace zelkor
