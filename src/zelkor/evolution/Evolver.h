// Files of one release of the host made into files of another.
#pragma once

#include "tavo/core/String.h"
#include "tavo/evolution/Evolution.h"
#include "zelkor/Export.h"

#include <vector>

namespace zelkor::property::evolution {

class Evolver {
public:
  /// Converts the text of a model from the schemas of one release to those of another, older or newer, see
  /// ReleaseRegistry. With an output file, the result is written there, atomically, and the text that is returned is
  /// empty. `losses`, where given, tells what the other release cannot hold.
  ///
  /// Raises InvalidFamilyVersion for a release that there is not, or when the text is of another one than it is said to
  /// be, and what reading and writing raise.
  ZELKOR_EXPORT static tavo::String evolve(const tavo::String& fromRelease, const tavo::String& toRelease,
                                           const tavo::String& input, const tavo::String& outputFile,
                                           std::vector<tavo::evolution::Loss>* losses = nullptr);
};

} // namespace zelkor::property::evolution
