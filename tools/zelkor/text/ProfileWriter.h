// Writes the text form of a profile.
#pragma once

#include "tools/zelkor/text/ProfileText.h"

namespace zelkor::text {

/// The TOML that reads back as the same description; the same description always gives the same bytes.
std::string writeProfileText(const ProfileText& profile);

} // namespace zelkor::text
