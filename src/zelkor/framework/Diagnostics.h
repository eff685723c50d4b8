// Errors that are reported to the host instead of being raised, because the work went on.
#pragma once

#include "tavo/core/Error.h"
#include "zelkor/Export.h"

namespace zelkor {

/// Reports an error with its causes as a warning that the user should not miss.
ZELKOR_EXPORT void reportWarning(const std::exception& error);

/// The same for a warning that has an identifier of its own, with what led to it.
template <tavo::ErrorArgument... Args>
void warn(tavo::ErrorId id, const Args&... arguments) {
  reportWarning(tavo::Error(id, {tavo::toErrorArgument(arguments)...}));
}
template <tavo::ErrorArgument... Args>
void warnBecause(const std::exception& cause, tavo::ErrorId id, const Args&... arguments) {
  reportWarning(tavo::Error(id, {tavo::toErrorArgument(arguments)...}, tavo::Error::asCause(cause)));
}

} // namespace zelkor
