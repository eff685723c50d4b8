// A type of another library, as far as the sample is concerned.
#pragma once

#include "tavo/meta/Datatype.h"

namespace sample {

struct Clock {
  int minutes = 0;
  friend bool operator==(const Clock&, const Clock&) = default;
};

} // namespace sample

template <>
struct tavo::DatatypeOf<sample::Clock> {
  static const Datatype& get() {
    static const Datatype type = makeForeignDatatype<sample::Clock>("Clock");
    return type;
  }
};
