#include "zelkor/profile/ProfileResolver.impl.h"

#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/services/ModelResolvers.h"

namespace zelkor::profile {

ProfileResolver ProfileResolver::findModelResolver(const tavo::Model& model, const tavo::String& name) {
  return services::proxy::findResolver<ProfileResolver>(model, name);
}

ProfileResolver ProfileResolver::createResolver(const tavo::Model& model, const tavo::String& name) {
  return services::proxy::findOrCreateResolver<ProfileResolver>(model, name);
}

void ProfileResolver::Impl::load() { setReferencedModel(ProfileCatalog::instance().loadProfileNamed(getURI())); }

} // namespace zelkor::profile
