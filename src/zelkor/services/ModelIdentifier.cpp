#include "zelkor/services/ModelIdentifier.impl.h"

#include "tavo/model/Transaction.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/property/PropertySetResolver.h"
#include "zelkor/services/ModelResolver.h"

namespace zelkor::services::proxy {

ModelIdentifier ModelIdentifier::getModelIdentifier(const tavo::Model& model) {
  return model ? model.findTopLevel<ModelIdentifier>() : ModelIdentifier();
}

ModelIdentifier ModelIdentifier::createModelIdentifier(const tavo::Model& model, const tavo::String& modelType,
                                                       const tavo::String& uri) {
  tavo::Transaction transaction(model);
  auto identifier = getModelIdentifier(model);
  if (!identifier) {
    identifier = ModelIdentifier::create(model);
    static_cast<Impl&>(identifier.object()).setModelType(modelType);
  }
  identifier.setURI(uri);
  transaction.commit();
  return identifier;
}

ModelResolver ModelIdentifier::Impl::createResolver(const tavo::Model& referringModel) const {
  if (getModelType() == u"profile")
    return profile::ProfileResolver::createResolver(referringModel, getURI());
  if (getModelType() == u"architecture")
    return property::PropertySetResolver::createResolver(referringModel, getURI());
  return {};
}

} // namespace zelkor::services::proxy
