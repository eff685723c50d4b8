// Handles of elements and models as runtime state of an element. Neither means anything in a file.
#pragma once

#include "tavo/meta/Datatype.h"
#include "tavo/model/Model.h"
#include "tavo/model/ModelElementDatatype.h"
#include "zelkor/Export.h"

namespace tavo {

template <>
struct ZELKOR_EXPORT DatatypeOf<Model> {
  static const Datatype& get();
};

} // namespace tavo
