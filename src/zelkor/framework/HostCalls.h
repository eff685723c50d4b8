// Calls of the host: the one place where an error of the host becomes one of the library.
#pragma once

#include "kavra/Error.h"
#include "tavo/core/Error.h"
#include "zelkor/Export.h"

#include <utility>

namespace zelkor {

/// The host's error with its identifier and arguments; what it says becomes the cause, since the library has no text
/// for it.
ZELKOR_EXPORT tavo::Error asLibraryError(const kavra::Error& error);

/// What `call` returns; what it raises as kavra::Error comes out as tavo::Error.
template <class Call>
decltype(auto) callHost(Call&& call) {
  try {
    return std::forward<Call>(call)();
  } catch (const kavra::Error& error) {
    throw asLibraryError(error);
  }
}

} // namespace zelkor
