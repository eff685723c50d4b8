#include "zelkor/framework/HostDatatypes.h"

namespace tavo {

#define ZELKOR_DEFINE_DATATYPE(TYPE, NAME)                                                                             \
  const Datatype& DatatypeOf<TYPE>::get() {                                                                            \
    static const Datatype type = makeForeignDatatype<TYPE>(NAME);                                                      \
    return type;                                                                                                       \
  }
ZELKOR_DEFINE_DATATYPE(kavra::HostArray, "HostArray")
ZELKOR_DEFINE_DATATYPE(kavra::UnitConversion, "UnitConversion")
ZELKOR_DEFINE_DATATYPE(std::shared_ptr<kavra::HostObject>, "ScriptingObject")
ZELKOR_DEFINE_DATATYPE(std::shared_ptr<kavra::UnitService>, "UnitServiceClient")
ZELKOR_DEFINE_DATATYPE(std::shared_ptr<kavra::Workspace>, "inWorkSpacePointer")
#undef ZELKOR_DEFINE_DATATYPE

} // namespace tavo
