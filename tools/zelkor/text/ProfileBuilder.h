// Makes a profile from its description.
#pragma once

#include "tools/zelkor/text/Findings.h"

#include "kavra/standalone/StandaloneHost.h"
#include "tavo/model/Model.h"

namespace zelkor::text {

/// A profile in a model of its own, outside of the catalog, or an empty handle when there are findings. Profiles that
/// it depends on are loaded; enumerations of the text are defined in the registry, which is that of the installed host.
/// Identities come from the text, from `before` (the same profile as it was, or empty), and from names.
tavo::Model buildProfile(const ProfileText& text, const tavo::Model& before, kavra::StandaloneClassRegistry& classes,
                         Findings& findings);

/// The enumeration classes that a description defines. They must be free of findings.
std::vector<kavra::EnumerationDefinition> enumerationsOf(const ProfileText& text);

} // namespace zelkor::text
