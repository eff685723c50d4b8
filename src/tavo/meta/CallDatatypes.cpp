#include "tavo/meta/CallDatatypes.h"

namespace tavo {

const Datatype& DatatypeOf<Model>::get() {
  static const Datatype type = makeForeignDatatype<Model>("Model");
  return type;
}

const Datatype& DatatypeOf<const MetaClass*>::get() {
  static const Datatype type = makeForeignDatatype<const MetaClass*>("MetaClass");
  return type;
}

} // namespace tavo
