// releases, export and upgrade: files of other releases.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Files.h"
#include "tools/zelkor/command/Report.h"
#include "tools/zelkor/model/Errors.h"
#include "tools/zelkor/model/Running.h"
#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/Spelling.h"

#include "kavra/Text.h"
#include "tavo/io/FileSystem.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/evolution/Evolver.h"
#include "zelkor/evolution/ReleaseRegistry.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/profile/ProfileNamespace.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>

namespace zelkor::command {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;
using property::evolution::Evolver;
using property::evolution::ReleaseRegistry;
using Losses = std::vector<tavo::evolution::Loss>;

tavo::String releaseNamed(const std::string& name) {
  std::vector<std::string> known;
  for (const auto& each : ReleaseRegistry::releases())
    known.push_back(kavra::toUtf8(each.release));
  if (std::ranges::find(known, name) == known.end())
    tavo::raise(text::TextError::UnknownName, "release", name, text::suggestion(name, known));
  return tavo::String::fromUtf8(name);
}

tavo::String presentRelease() { return tavo::String(ReleaseRegistry::releases().back().release); }

/// What the other release is given has to open again, and to be the same when it is given once more.
void requireSame(const tavo::String& exported, const tavo::String& release, const fs::path& output) {
  const auto again = tavo::Model::create();
  tavo::readModel(exported, output.string(), again);
  if (Evolver::evolve(presentRelease(), release, tavo::modelText(again), {}) != exported)
    tavo::raise(ModelCommandError::ExportDiffers, output.string(), release);
}

std::string inWords(const tavo::evolution::Loss& loss) {
  return (loss.object.empty() ? "" : loss.object + ": ") + loss.what + " " + loss.effect;
}

void print(const Losses& losses, const std::string& release, bool asJson) {
  if (!asJson) {
    for (const auto& loss : losses)
      std::cout << inWords(loss) << '\n';
    return;
  }
  ordered_json json{{"release", release}, {"losses", ordered_json::array()}};
  for (const auto& [object, what, effect] : losses)
    json["losses"].push_back({{"object", object}, {"what", what}, {"effect", effect}});
  printJson(json);
}

/// The old file, beside the new one and named after its version.
void keepBackup(const fs::path& path, const std::string& version) {
  const fs::path backup = path.string() + "." + version;
  if (fs::exists(fs::symlink_status(backup)))
    tavo::raise(ModelCommandError::FileExists, backup.string());
  fs::copy_file(path, backup);
}

/// Brings one file up to date; what it was, or nothing if it was that already.
std::string upgrade(const fs::path& path, bool backup, Surroundings& surroundings) {
  std::string version;
  const auto note = [&](std::string_view family, std::string_view found) {
    if (family == "zelkor_property" || version.empty())
      version = found;
  };
  const auto model = tavo::Model::create();
  const auto seen = tavo::loadModel(path, model, {.evolved = note});
  if (version.empty())
    return {};
  if (!profile::ProfileNamespace::getProfileNamespace(model)) {
    if (backup)
      keepBackup(path, version);
    tavo::saveModel(model, path, tavo::Expectation::unchanged(seen));
    return version;
  }
  // The values of a model may have to find their profiles first.
  surroundings.lookIn({folderOf(path)});
  auto file = ModelFile::open(path);
  if (backup)
    keepBackup(path, version);
  file.save();
  return version;
}

} // namespace

int listReleases(bool json) {
  const auto& services = services::proxy::evolution::ReleaseRegistry::getFamilyVersionForKavraRelease;
  auto table = ordered_json::array();
  for (const auto& [release, version] : ReleaseRegistry::releases())
    table.push_back({{"release", kavra::toUtf8(release)},
                     {"zelkor_property", kavra::toUtf8(version)},
                     {"zelkor_services_proxy", kavra::toUtf8(services(tavo::String(release)))}});
  if (json) {
    printJson(table);
    return success;
  }
  for (const auto& row : table) {
    const auto name = row["release"].get<std::string>();
    std::cout << name << std::string(10 - std::min<std::size_t>(name.size(), 9), ' ')
              << row["zelkor_property"].get<std::string>() << '\n';
  }
  return success;
}

int exportFile(const fs::path& input, const std::string& release, const fs::path& output, bool strict, bool json) {
  return reporting(input, {}, json, [&] {
    refuseSameFile(input, output);
    const auto to = releaseNamed(release);
    const auto model = tavo::Model::create();
    tavo::loadModel(input, model);
    Losses losses;
    const auto exported = Evolver::evolve(presentRelease(), to, tavo::modelText(model), {}, &losses);
    requireSame(exported, to, output);
    print(losses, release, json);
    if (strict && !losses.empty())
      tavo::raise(ModelCommandError::ExportLoses, output.string(), release, losses.size());
    Output files;
    files.add(output, exported.toUtf8());
    files.write();
  });
}

int upgradeFiles(const std::vector<std::string>& paths, bool backup) {
  Surroundings surroundings;
  int status = success;
  for (const auto& path : paths)
    status = std::max(status, reporting(path, {}, false, [&] {
                        const auto former = upgrade(path, backup, surroundings);
                        std::cout << path << ": " << (former.empty() ? "up to date" : "was " + former) << '\n';
                        for (const auto& diagnostic : surroundings.takeDiagnostics())
                          std::cerr << path << ": " << diagnostic.text << '\n';
                      }));
  return status;
}

} // namespace zelkor::command
