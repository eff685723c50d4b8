// Reads the text form of a profile.
#pragma once

#include "tools/zelkor/text/Findings.h"

#include <filesystem>
#include <string_view>

namespace zelkor::text {

/// What the text says, as far as it can be read; everything that is wrong with it goes into the findings, but after a
/// syntax error there is nothing to read. What concerns other profiles, expressions and units is the builder's.
ProfileText readProfileText(std::string_view toml, const std::filesystem::path& file, Findings& findings);

} // namespace zelkor::text
