// Which release of the host writes which version of a schema.
#pragma once

#include "tavo/core/String.h"
#include "zelkor/Export.h"

#include <string_view>
#include <vector>

namespace zelkor {

/// A release and the version of a schema family that it writes.
struct FamilyRelease {
  std::u16string_view release;
  tavo::String version;
};

namespace property::evolution {

/// The releases of the host and their versions of "zelkor_property".
class ReleaseRegistry {
public:
  /// The version of a release ("Oriole" is "2.6"); empty for an unknown label.
  ZELKOR_EXPORT static tavo::String getFamilyVersionForKavraRelease(const tavo::String& release);
  /// The table, oldest release first.
  ZELKOR_EXPORT static const std::vector<FamilyRelease>& releases();
};

} // namespace property::evolution

namespace services::proxy::evolution {

/// The same for "zelkor_services_proxy".
class ReleaseRegistry {
public:
  ZELKOR_EXPORT static tavo::String getFamilyVersionForKavraRelease(const tavo::String& release);
  ZELKOR_EXPORT static const std::vector<FamilyRelease>& releases();
};

} // namespace services::proxy::evolution
} // namespace zelkor
