// Makes value types from their descriptions.
#pragma once

#include "tools/zelkor/text/BuildContext.h"

namespace zelkor::text {

/// Makes the types of the context's profile, or those of one of its sets when `set` is given.
void buildTypes(BuildContext& context, const std::vector<TypeText>& types, const property::PropertySet& set = {},
                const std::string& owner = {});

} // namespace zelkor::text
