// Made by tavogen from package.toml; edit that instead.
#pragma once

#include "sample/Export.h"
#include "tavo/meta/Datatype.h"

#include <cstdint>

namespace sample {

/// When a plant is sown.
enum class Season : std::int32_t {
  SPRING = 0,
  SUMMER = 1,
  AUTUMN = 2,
  WINTER = 3,
};

} // namespace sample

template <>
struct SAMPLE_EXPORT tavo::DatatypeOf<sample::Season> {
  static const Datatype& get();
};
