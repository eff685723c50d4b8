// The whole way of a file into a model: what is taken is sound, is written as a text that reads back as the same, and
// opens, as the profile or model that it is, to something sound.
#include "tests/fuzz/FileMutator.h"

#include "arch/Architecture.h"
#include "kavra/standalone/StandaloneHost.h"
#include "tavo/core/Error.h"
#include "tavo/core/Uuid.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using zelkor::profile::Profile;
using zelkor::profile::ProfileCatalog;

std::shared_ptr<kavra::Host> makeHost(const fs::path& folder) {
  auto parts = kavra::makeStandaloneHost()->parts();
  const fs::path releases = ZELKOR_RELEASES; // so that models find the profiles that they use
  parts.searchPath = std::make_shared<kavra::SearchPath>(std::vector{folder, releases / "Plover", releases / "Avocet"});
  parts.diagnostics = std::make_shared<kavra::RecordingDiagnostics>();
  return std::make_shared<kavra::Host>(std::move(parts));
}

/// Opens the file as what it says that it is.
template <class Open>
void openWhole(const fs::path& path, const Open& open) {
  try {
    open(path);
  } catch (const tavo::Error&) {
  }
  for (const auto& profile : ProfileCatalog::instance().getProfilesInCatalog())
    tavo::checkInvariants(profile.model());
  ProfileCatalog::instance().unloadAllProfiles();
}

/// Gone when the process ends, for whatever reason it does: it is on no disk that anybody keeps.
fs::path placeOfFiles() {
  const auto folder = fs::temp_directory_path() / ("fuzz-load-" + std::to_string(::getpid()));
  fs::create_directories(folder);
  std::atexit([] { fs::remove_all(fs::temp_directory_path() / ("fuzz-load-" + std::to_string(::getpid()))); });
  return folder;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto folder = placeOfFiles();
  const kavra::ScopedHost host(makeHost(folder));
  (void)zelkor::Architecture::metaClass();
  const auto models = tavo::Constellation::process().models().size();

  const auto model = tavo::Model::create();
  bool isProfile = false, isTaken = false;
  try {
    tavo::MemorySource source(fuzz::textOf(data, size));
    tavo::readModel(source, "fuzz", model);
    isTaken = true;
  } catch (const tavo::Error&) {
    fuzz::require(model.objectCount() == 0, "of what is refused nothing stays");
  }
  tavo::checkInvariants(model);
  if (isTaken) {
    isProfile = static_cast<bool>(model.findTopLevel<Profile>());
    tavo::String written;
    try {
      written = tavo::modelText(model);
    } catch (const tavo::Error&) { // objects that cannot stand alone
    }
    if (!written.empty()) {
      const auto again = tavo::Model::create();
      tavo::readModel(written, "again", again);
      fuzz::require(tavo::modelText(again) == written, "what is written reads back as the same");
      again.destroy();
    }
  }
  model.destroy();
  if (isTaken) {
    const auto path = folder / "Fuzz.xml";
    fs::remove(path);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    if (isProfile)
      openWhole(path, [](const fs::path& file) { Profile::loadFromFile(tavo::String::fromUtf8(file.native())); });
    else
      openWhole(path, [](const fs::path& file) { tavo::checkInvariants(zelkor::ModelFile::open(file).model()); });
  }
  fuzz::require(tavo::Constellation::process().models().size() == models, "no model is left behind");
  return 0;
}
