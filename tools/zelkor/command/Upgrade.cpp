// upgrade: files of older releases brought up to date where they are.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Files.h"
#include "tools/zelkor/command/Report.h"

#include "kavra/Text.h"
#include "tavo/io/FileSystem.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/evolution/ReleaseRegistry.h"
#include "zelkor/evolution/V1EvolutionData.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileNamespace.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>
#include <iostream>
#include <optional>

namespace zelkor::command {
namespace {

namespace fs = std::filesystem;
using kavra::toUtf8;
using nlohmann::ordered_json;
using property::evolution::ReleaseRegistry;

/// Whether all profiles are there and whole. What could not be taken over because of one that is not, is not lost yet.
bool hasSoundProfiles(const ModelFile& file) {
  return file.differences().p_MissingProfiles().empty() &&
         std::ranges::none_of(file.profiles().getAllResolvedProfiles(false),
                              [](const auto& profile) { return profile.getIsUnhealthyOnLoad(); });
}

/// Brings one file up to date; the version that it had, or nothing if that was the present one already.
std::string upgrade(const fs::path& path, bool backup, bool leaveOut) {
  std::string version;
  const auto note = [&](std::string_view family, std::string_view found) {
    if (family == "zelkor_property" || version.empty())
      version = found;
  };
  const auto model = tavo::Model::create();
  const auto seen = tavo::loadModel(path, model, {.evolved = note});
  // A copy that export made of a model of the first releases still waits for its profiles.
  if (version.empty() && model.findTopLevel<property::evolution::V1EvolutionData>())
    version = toUtf8(ReleaseRegistry::releases().back().version);
  if (version.empty())
    return {};
  const auto replace = [&](const std::function<void()>& save) {
    if (backup)
      tavo::saveWithBackup(path, path.string() + "." + version, save);
    else
      save();
  };
  if (!profile::ProfileNamespace::getProfileNamespace(model)) {
    if (const auto profile = profile::Profile::getProfile(model))
      profile::ProfileCatalog::instance().migrateBuiltInTypes(profile);
    replace([&] { tavo::saveModel(model, path, tavo::Expectation::unchanged(seen)); });
  } else {
    // The values of a model may have to find their profiles first.
    auto file = ModelFile::take(model, path, seen, version);
    if (leaveOut && hasSoundProfiles(file))
      file.leaveOutLost();
    replace([&] { file.save(); });
  }
  return version;
}

} // namespace

int upgradeFiles(const std::vector<std::string>& paths, bool backup, bool leaveOut, bool json) {
  // Models find their profiles beside them, and among the other files.
  std::vector<fs::path> folders;
  for (const auto& path : paths)
    folders.push_back(folderOf(path));
  Surroundings surroundings;
  std::vector<text::Finding> all;
  auto files = ordered_json::array();
  for (const auto& path : paths) {
    text::Findings found(path);
    auto near = folders;
    near.insert(near.begin(), folderOf(path));
    surroundings.lookIn(near);
    std::optional<std::string> former;
    try {
      former = upgrade(path, backup || leaveOut, leaveOut);
      if (!json)
        std::cout << path << ": " << (former->empty() ? "up to date" : "was " + *former) << std::endl;
    } catch (const tavo::Error& error) {
      const bool isIncomplete = error.id() == ArchitectureError::MigrationIncomplete;
      found.add({}, {}, error,
                isIncomplete ? "With --leave-out it goes without what is listed, once its profiles are there and sound."
                             : "");
    } catch (...) {
      addCurrent(found);
    }
    // What could not be taken over: it is left out, or why the file stays what it is.
    auto reports = ordered_json::array();
    for (const auto& diagnostic : surroundings.takeDiagnostics())
      if (!json)
        std::cerr << path << ": " << inOneLine(diagnostic) << '\n';
      else if (former)
        reports.push_back(inOneLine(diagnostic));
      else
        found.add({path, {}, {}, diagnostic.id, inOneLine(diagnostic)});
    if (json && former)
      files.push_back({{"file", path},
                       {"was", former->empty() ? ordered_json() : ordered_json(*former)},
                       {"reports", std::move(reports)}});
    const auto some = found.sorted();
    if (!json)
      print(some);
    all.insert(all.end(), some.begin(), some.end());
  }
  if (json)
    printJson({{"files", files}, {"findings", asJson(all)}});
  return all.empty() ? success : findings;
}

} // namespace zelkor::command
