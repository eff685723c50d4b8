// The identifiers of the reference host's own errors.
#pragma once

#include "tavo/core/Error.h"

namespace zelkor {

struct ElementError {
  /// (connector, port) A connector would end at a port that is neither of its component nor of anything below it.
  static constexpr tavo::ErrorId ConnectorEndOutside{"Velmora:Architecture:ConnectorEndOutside"};
  /// (name) An element's name is not a valid name of the host.
  static constexpr tavo::ErrorId InvalidElementName{"Velmora:Architecture:InvalidElementName"};
  /// (element, class) An element is to be moved into something that has no parts.
  static constexpr tavo::ErrorId NotAComponent{"Velmora:Architecture:NotAComponent"};
};

} // namespace zelkor
