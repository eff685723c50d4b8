// Made by tavogen from package.toml; edit that instead.
#pragma once

#include "sample/Export.h"

namespace tavo {
struct PackageDecl;
}

/// A garden, for tests of the generator and of the framework over generated classes.
namespace sample {

SAMPLE_EXPORT const tavo::PackageDecl& package();

} // namespace sample
