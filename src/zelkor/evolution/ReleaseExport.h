// Copies of profiles and models for other releases, and what these cannot hold.
#pragma once

#include "tavo/evolution/Evolution.h"
#include "tavo/model/Model.h"
#include "zelkor/Export.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zelkor::property::evolution {

/// What becomes of something that a release cannot hold, in the words of those who wrote it: "the units are left out".
ZELKOR_EXPORT std::string inWords(const tavo::evolution::Loss& loss);

/// The first of them, and how many more there are.
ZELKOR_EXPORT std::string summaryOf(const std::vector<tavo::evolution::Loss>& losses);

enum class Losses { accept, refuse };

/// Writes a copy of a profile or model for a release, atomically, and opens it again before it gets its name: up here
/// and down once more it has to be the same. `name` is what people call it. `told`, where given, is what the release
/// cannot hold, also when that is refused.
///
/// Raises CannotExportToPrevious (name, release, path) with the cause: NoWayToRelease, ReleaseLoses, ExportDiffers, or
/// what reading and writing raise. Then the path leads to what it led to before (but for SavedButNotSynced).
ZELKOR_EXPORT void exportForRelease(const tavo::Model& model, const tavo::String& name,
                                    const std::filesystem::path& path, const tavo::String& release,
                                    Losses losses = Losses::accept, std::vector<tavo::evolution::Loss>* told = nullptr);

} // namespace zelkor::property::evolution
