#include "arch/Architecture.impl.h"

#include "tavo/model/Transaction.h"

namespace zelkor {

Architecture Architecture::createArchitecture(const tavo::Model& model, const tavo::String& name) {
  tavo::Transaction transaction(model);
  auto architecture = Architecture::create(model);
  architecture.setName(name);
  transaction.commit();
  return architecture;
}

Architecture Architecture::getArchitecture(const tavo::Model& model) {
  return model ? model.findTopLevel<Architecture>() : Architecture();
}

} // namespace zelkor
