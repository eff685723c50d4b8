// Listeners as runtime state of the elements that keep them.
#pragma once

#include "tavo/meta/Datatype.h"
#include "zelkor/Export.h"
#include "zelkor/profile/ProfileListener.h"
#include "zelkor/property/PropertySetListener.h"

#include <memory>

namespace tavo {

#define ZELKOR_DECLARE_DATATYPE(TYPE)                                                                                  \
  template <>                                                                                                          \
  struct ZELKOR_EXPORT DatatypeOf<std::shared_ptr<TYPE>> {                                                             \
    static const Datatype& get();                                                                                      \
  }
ZELKOR_DECLARE_DATATYPE(zelkor::profile::ProfileDirtyListener);
ZELKOR_DECLARE_DATATYPE(zelkor::profile::ProfileListener);
ZELKOR_DECLARE_DATATYPE(zelkor::property::PropertySetListener);
#undef ZELKOR_DECLARE_DATATYPE

} // namespace tavo
