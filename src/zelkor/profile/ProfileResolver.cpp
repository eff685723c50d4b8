#include "zelkor/profile/ProfileResolver.impl.h"

#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/services/ModelResolvers.h"

namespace zelkor::profile {

ProfileResolver ProfileResolver::findModelResolver(const tavo::Model& model, const tavo::String& name) {
  return services::proxy::findResolver<ProfileResolver>(model, name);
}

ProfileResolver ProfileResolver::createResolver(const tavo::Model& model, const tavo::String& name) {
  const auto profile = ProfileCatalog::instance().getProfile(name);
  const auto known = findModelResolver(model, name);
  if (const auto own = Profile::getProfile(model); own && profile && (!known || known.proxies().empty()))
    own.checkProfileCircularDependency(profile);

  const auto resolver = known ? known : services::proxy::findOrCreateResolver<ProfileResolver>(model, name);
  // What is loaded already can be reached without asking for it.
  if (profile && !resolver.getReferencedModel())
    resolver.setReferencedModel(profile.model());
  return resolver;
}

void ProfileResolver::Impl::load() { setReferencedModel(ProfileCatalog::instance().loadProfileNamed(getURI())); }

} // namespace zelkor::profile
