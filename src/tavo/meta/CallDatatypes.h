// The datatypes of models and classes, for operations that take them and for runtime features. Neither means anything
// in a file, nor do handles of objects.
#pragma once

#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/Model.h"
#include "tavo/model/ModelElementDatatype.h"

namespace tavo {

template <>
struct TAVO_EXPORT DatatypeOf<Model> {
  static const Datatype& get();
};

template <>
struct TAVO_EXPORT DatatypeOf<const MetaClass*> {
  static const Datatype& get();
};

} // namespace tavo
