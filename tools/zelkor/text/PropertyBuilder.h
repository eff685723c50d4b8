// Makes the properties of a set from their descriptions.
#pragma once

#include "tools/zelkor/text/BuildContext.h"

namespace zelkor::text {

/// `owner` is the name of the set or its stereotype.
void buildProperties(BuildContext& context, const property::PropertySet& set,
                     const std::vector<PropertyText>& properties, const std::string& owner);

} // namespace zelkor::text
