// releases, export and upgrade: files of other releases.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Files.h"
#include "tools/zelkor/command/Report.h"
#include "tools/zelkor/model/Errors.h"
#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/Spelling.h"

#include "kavra/Text.h"
#include "tavo/core/Errors.h"
#include "tavo/io/FileSystem.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/evolution/ReleaseExport.h"
#include "zelkor/evolution/ReleaseRegistry.h"
#include "zelkor/evolution/V1EvolutionData.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileNamespace.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>
#include <optional>

namespace zelkor::command {
namespace {

namespace fs = std::filesystem;
using kavra::toUtf8;
using nlohmann::ordered_json;
using property::evolution::ReleaseRegistry;
using Losses = std::vector<tavo::evolution::Loss>;

tavo::String releaseNamed(const std::string& name) {
  std::vector<std::string> known;
  for (const auto& each : ReleaseRegistry::releases())
    known.push_back(toUtf8(each.release));
  if (std::ranges::find(known, name) == known.end())
    tavo::raise(text::TextError::UnknownName, "release", name,
                text::suggestion(name, known) + " \"zelkor releases\" lists them.");
  return tavo::String::fromUtf8(name);
}

/// What people call the profile or model in a file.
tavo::String nameIn(const tavo::Model& model, const fs::path& path) {
  const auto profile = profile::Profile::getProfile(model);
  return profile ? profile.getName() : tavo::String::fromUtf8(path.stem().native());
}

/// Losses by what they are, with the things that they happen to.
std::vector<std::pair<std::string, std::vector<std::string>>> grouped(const Losses& losses) {
  std::vector<std::pair<std::string, std::vector<std::string>>> groups;
  std::map<std::string, std::size_t> known;
  for (const auto& loss : losses) {
    const auto words = property::evolution::inWords(loss);
    const auto [at, isNew] = known.try_emplace(words, groups.size());
    if (isNew)
      groups.push_back({words, {}});
    groups[at->second].second.push_back(loss.object);
  }
  return groups;
}

void print(const Losses& losses) {
  constexpr std::size_t many = 4;
  for (const auto& [words, objects] : grouped(losses)) {
    const bool areMany = objects.size() >= many;
    if (areMany)
      std::cout << words << ":\n";
    for (const auto& object : objects)
      if (areMany)
        std::cout << "  " << object << '\n';
      else
        std::cout << object << (object.empty() ? "" : ": ") << words << '\n';
  }
}

void printAsJson(const Losses& losses, const std::string& release) {
  ordered_json json{{"release", release}, {"losses", ordered_json::array()}};
  for (const auto& [words, objects] : grouped(losses))
    for (const auto& object : objects)
      json["losses"].push_back({{"object", object}, {"effect", words}});
  printJson(json);
}

/// Leaves the old file beside the new one that is about to take its place, and removes it again unless that happens.
class Backup {
public:
  Backup(const fs::path& path, const std::string& version) : path_(path.string() + "." + version) {
    const auto old = fs::canonical(path);
    std::error_code cannotLink;
    fs::create_hard_link(old, path_, cannotLink); // saving makes a new file, so the old one stays what it is
    if (cannotLink) {
      if (fs::exists(fs::symlink_status(path_)))
        tavo::raise(ModelCommandError::FileExists, path_.string());
      try {
        fs::copy_file(old, path_);
      } catch (const fs::filesystem_error&) {
        fs::remove(path_, cannotLink); // half of a copy
        throw;
      }
    }
  }
  Backup(const Backup&) = delete;
  ~Backup() {
    std::error_code ignored; // the failure to upgrade is what counts
    if (!isNeeded_)
      fs::remove(path_, ignored);
  }
  /// Returns when it is on the disk.
  void sync() const {
    auto& system = tavo::FileSystem::current();
    const tavo::FileHandle file(system, system.open(path_));
    system.sync(file.get());
    const tavo::FileHandle folder(system, system.openFolder(folderOf(path_)));
    system.sync(folder.get());
  }
  void keep() { isNeeded_ = true; }

private:
  fs::path path_;
  bool isNeeded_ = false;
};

/// Saves with a backup, if one is wanted. What has been replaced although the disk reports a fault keeps its backup.
template <class Save>
void replace(const fs::path& path, const std::optional<std::string>& backupVersion, const Save& save) {
  std::optional<Backup> backup;
  if (backupVersion) {
    backup.emplace(path, *backupVersion);
    backup->sync();
  }
  try {
    save();
  } catch (const tavo::Error& error) {
    if (backup && error.id() == tavo::FrameworkError::SavedButNotSynced)
      backup->keep();
    throw;
  }
  if (backup)
    backup->keep();
}

/// Brings one file up to date; what it was, or nothing if it was that already.
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
  const auto backupVersion = backup ? std::optional(version) : std::nullopt;
  if (!profile::ProfileNamespace::getProfileNamespace(model)) {
    replace(path, backupVersion, [&] { tavo::saveModel(model, path, tavo::Expectation::unchanged(seen)); });
  } else {
    // The values of a model may have to find their profiles first.
    auto file = ModelFile::open(path);
    if (leaveOut && file.differences().p_MissingProfiles().empty())
      file.leaveOutLost();
    replace(path, backupVersion, [&] { file.save(); });
  }
  return version;
}

} // namespace

int listReleases(bool json) {
  const auto& services = services::proxy::evolution::ReleaseRegistry::getFamilyVersionForKavraRelease;
  auto table = ordered_json::array();
  for (const auto& [release, version] : ReleaseRegistry::releases())
    table.push_back({{"release", toUtf8(release)},
                     {"zelkor_property", toUtf8(version)},
                     {"zelkor_services_proxy", toUtf8(services(tavo::String(release)))}});
  if (json) {
    printJson(table);
    return success;
  }
  const auto line = [](const std::string& release, const std::string& property, const std::string& proxies) {
    std::cout << std::left << std::setw(9) << release << std::setw(17) << property << proxies << '\n';
  };
  line("release", "zelkor_property", "zelkor_services_proxy");
  for (const auto& row : table)
    line(row["release"], row["zelkor_property"], row["zelkor_services_proxy"]);
  return success;
}

std::string releaseNames() {
  std::string names;
  for (const auto& each : ReleaseRegistry::releases())
    names += (names.empty() ? "" : " ") + toUtf8(each.release);
  return names;
}

int exportFile(const fs::path& input, const std::string& release, const fs::path& output, bool strict, bool json) {
  text::Findings found(input.string());
  Losses losses;
  try {
    refuseSameFile(input, output);
    const auto to = releaseNamed(release);
    const auto model = tavo::Model::create();
    tavo::loadModel(input, model);
    const auto name = nameIn(model, input);
    const auto allowed = strict ? property::evolution::Losses::refuse : property::evolution::Losses::accept;
    property::evolution::exportForRelease(model, name, output, to, allowed, &losses);
    if (profile::Profile::getProfile(model) && toUtf8(name) != output.stem().native())
      std::cerr << output.string() << ": a profile is called like its file, so this one will not be found as \""
                << toUtf8(name) << "\" under that name\n";
  } catch (...) {
    addCurrent(found);
    if (!strict)
      losses.clear(); // nothing was written, for another reason
  }
  if (!json)
    print(losses);
  else if (found.empty())
    printAsJson(losses, release);
  else
    for (const auto& [words, objects] : grouped(losses))
      for (const auto& object : objects)
        found.add({}, object, ModelCommandError::NotInRelease, words);
  return report(found, json);
}

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
    try {
      const auto former = upgrade(path, backup || leaveOut, leaveOut);
      files.push_back({{"file", path}, {"was", former.empty() ? ordered_json() : ordered_json(former)}});
      if (!json)
        std::cout << path << ": " << (former.empty() ? "up to date" : "was " + former) << std::endl;
    } catch (const tavo::Error& error) {
      const bool isIncomplete = error.id() == ArchitectureError::MigrationIncomplete;
      found.add({}, {}, error,
                isIncomplete ? "With --leave-out it goes without what is listed, once its profiles are there." : "");
    } catch (...) {
      addCurrent(found);
    }
    for (const auto& diagnostic : surroundings.takeDiagnostics())
      std::cerr << path << ": " << inOneLine(diagnostic) << '\n';
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
