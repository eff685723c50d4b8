#include "zelkor/services/HandleDatatypes.h"

namespace tavo {

const Datatype& DatatypeOf<Model>::get() {
  static const Datatype type = makeForeignDatatype<Model>("ModelHandle");
  return type;
}

} // namespace tavo
