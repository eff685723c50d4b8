// Names by the rules of the host.
#pragma once

#include "kavra/Host.h"

#include <string_view>

namespace zelkor {

/// Whether the installed host takes the text as the name of a variable; without a host, its built-in rule counts.
inline bool isValidName(std::u16string_view name) {
  return kavra::isHostAvailable() ? kavra::host().isValidName(name) : kavra::isValidName(name);
}

} // namespace zelkor
