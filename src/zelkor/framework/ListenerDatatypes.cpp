#include "zelkor/framework/ListenerDatatypes.h"

namespace tavo {

#define ZELKOR_DEFINE_DATATYPE(TYPE, NAME)                                                                             \
  const Datatype& DatatypeOf<std::shared_ptr<TYPE>>::get() {                                                           \
    static const Datatype type = makeForeignDatatype<std::shared_ptr<TYPE>>(NAME);                                     \
    return type;                                                                                                       \
  }
ZELKOR_DEFINE_DATATYPE(zelkor::profile::ProfileDirtyListener, "ProfileDirtyListenerPointer")
ZELKOR_DEFINE_DATATYPE(zelkor::profile::ProfileListener, "ProfileListenerPointer")
ZELKOR_DEFINE_DATATYPE(zelkor::property::PropertySetListener, "PropertySetListenerPointer")
#undef ZELKOR_DEFINE_DATATYPE

} // namespace tavo
