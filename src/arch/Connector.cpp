#include "arch/Connector.impl.h"

#include "arch/Component.h"
#include "arch/Errors.h"
#include "arch/Port.h"
#include "tavo/model/Transaction.h"
#include "zelkor/clone/CloneContext.h"

namespace zelkor {

using internal::NamedElement;
using internal::clone::CloneContext;

void Connector::Impl::connect(const Port& source, const Port& target) {
  const auto home = getOwner();
  for (const auto& port : {source, target})
    if (port && !(home && home.holds(port)))
      tavo::raise(ElementError::ConnectorEndOutside, getP_Name(), port.getPath());
  tavo::Transaction transaction(model());
  setSource(source);
  setTarget(target);
  transaction.commit();
}

void Connector::Impl::remapAssociations(const NamedElement& copy, const CloneContext& context,
                                        const NamedElement& source) {
  Base::remapAssociations(copy, context, source);
  const auto original = source.as<Connector>();
  const auto model = copy.model();
  const bool staysInModel = original.model() == model;
  const auto endFor = [&](const Port& port) {
    if (!port)
      return port;
    if (const auto mapped = model.find<Port>(context.getTargetUUID(port.Uuid())))
      return mapped;
    return staysInModel ? port : Port();
  };
  setSource(endFor(original.source()));
  setTarget(endFor(original.target()));
}

} // namespace zelkor
