// What the framework accepts from outside before it says no.
#pragma once

#include "tavo/Export.h"

#include <cstddef>
#include <cstdint>

namespace tavo {

/// Bounds on what is read, so that no file can exhaust the process. Exceeding one is the error LimitExceeded.
struct Limits {
  /// How deep elements may stand in each other.
  std::size_t nesting = 256;
  /// Attributes of one element.
  std::size_t attributes = 64;
  /// Bytes of one tag, comment or text between two tags.
  std::size_t tokenBytes = std::size_t{16} << 20;
  /// Bytes of one file.
  std::uint64_t fileBytes = std::uint64_t{8} << 30;

  /// The limits of this process. A host sets them at start-up, before anything is read.
  TAVO_EXPORT static const Limits& current();
  TAVO_EXPORT static void setCurrent(const Limits& limits);
};

} // namespace tavo
