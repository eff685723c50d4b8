// Types of the host as attributes of elements: the framework knows them by a table of operations only, and no file
// holds them.
#pragma once

#include "kavra/HostArray.h"
#include "kavra/HostObject.h"
#include "kavra/UnitService.h"
#include "kavra/Workspace.h"
#include "tavo/meta/Datatype.h"
#include "zelkor/Export.h"

namespace tavo {

#define ZELKOR_DECLARE_DATATYPE(TYPE)                                                                                  \
  template <>                                                                                                          \
  struct ZELKOR_EXPORT DatatypeOf<TYPE> {                                                                              \
    static const Datatype& get();                                                                                      \
  }
/// Arrays are equal when they are identical, so writing an equal one is no change.
ZELKOR_DECLARE_DATATYPE(kavra::HostArray);
ZELKOR_DECLARE_DATATYPE(kavra::UnitConversion);
ZELKOR_DECLARE_DATATYPE(std::shared_ptr<kavra::HostObject>);
ZELKOR_DECLARE_DATATYPE(std::shared_ptr<kavra::UnitService>);
ZELKOR_DECLARE_DATATYPE(std::shared_ptr<kavra::Workspace>);
#undef ZELKOR_DECLARE_DATATYPE

} // namespace tavo
