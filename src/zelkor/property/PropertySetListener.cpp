#include "zelkor/property/PropertySetListener.h"

#include "zelkor/profile/ProfileNamespace.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/PropertySetUsage.h"

namespace zelkor::property {

void PropertySetListener::listenTo(const PropertySet& set, const PropertySetUsage& usage) {
  if (set_ == set)
    return;
  token_ = set.model().addShallowListener([this, usage] {
    const auto profiles =
        enabled_ && usage ? usage.container().as<profile::ProfileNamespace>() : profile::ProfileNamespace();
    if (profiles)
      profiles.setP_IsProfileOutdated(true);
  });
  set_ = set;
}

} // namespace zelkor::property
