// releases and export: files for other releases.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Files.h"
#include "tools/zelkor/command/Report.h"
#include "tools/zelkor/model/Errors.h"
#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/Spelling.h"

#include "kavra/Text.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/evolution/ReleaseExport.h"
#include "zelkor/evolution/ReleaseRegistry.h"
#include "zelkor/profile/Profile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>

namespace zelkor::command {
namespace {

namespace fs = std::filesystem;
using kavra::toUtf8;
using nlohmann::ordered_json;
using property::evolution::ReleaseRegistry;
using tavo::evolution::Loss;

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
std::vector<std::pair<std::string, std::vector<std::string>>> grouped(const std::vector<Loss>& losses) {
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

void print(const std::vector<Loss>& losses) {
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

void printAsJson(const std::vector<Loss>& losses, const std::string& release) {
  ordered_json json{{"release", release}, {"losses", ordered_json::array()}};
  for (const auto& [words, objects] : grouped(losses))
    for (const auto& object : objects)
      json["losses"].push_back({{"object", object}, {"effect", words}});
  printJson(json);
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
  std::vector<Loss> losses;
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

} // namespace zelkor::command
