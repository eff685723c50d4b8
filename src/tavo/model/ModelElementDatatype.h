// The datatype of handles, so that reflection carries objects like values. The name is the root class's: facades are
// told apart by their objects.
#pragma once

#include "tavo/meta/Datatype.h"
#include "tavo/model/ModelElement.h"

namespace tavo {

template <>
struct TAVO_EXPORT DatatypeOf<ModelElement> {
  static const Datatype& get();
};

} // namespace tavo
