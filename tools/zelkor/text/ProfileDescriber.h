// Describes a profile so that building the description gives the same profile again.
#pragma once

#include "tools/zelkor/text/ProfileText.h"

#include "kavra/standalone/StandaloneHost.h"
#include "tavo/model/Model.h"

namespace zelkor::text {

/// The description of the profile in a model, with everything that does not follow from names. It has been built and
/// compared: raises CannotDescribe when the profile holds something that cannot be said. Profiles that it depends on
/// are loaded where they can be had. `file` is for messages.
ProfileText describeProfile(const tavo::Model& model, const std::string& file, kavra::StandaloneClassRegistry& classes);

} // namespace zelkor::text
