#include "zelkor/framework/ModelFile.h"

#include "tavo/core/Errors.h"
#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileNamespace.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/property/PropertySetUsage.h"
#include "zelkor/property/PropertyUsage.h"
#include "zelkor/property/TypeCatalog.h"
#include "zelkor/property/Value.h"
#include "zelkor/property/ValueTable.h"
#include "zelkor/services/ModelIdentifier.impl.h"
#include "zelkor/services/ModelResolvers.h"
#include "zelkor/services/ProxySource.h"

#include <algorithm>

namespace zelkor {

using profile::ProfileNamespace;
using profile::ProfileUseChecker;
using services::proxy::ModelIdentifier;

namespace {

namespace fs = std::filesystem;

/// The name by which others refer to a model: that of its file.
tavo::String nameOf(const fs::path& path) { return tavo::String::fromUtf8(path.stem().native()); }

/// Usages are never made without these parts. Where one is missing, nobody knows what the file should have said.
void requireWholeUsages(const ProfileNamespace& profiles, const fs::path& path) {
  const auto isWhole = [](const property::PropertyUsage& usage) {
    return usage.propertyDefProxy() && usage.initialValue() && usage.p_ValueTable();
  };
  for (const auto& usage : profiles.p_PropertySets())
    if (!usage.propertySetProxy() || !std::ranges::all_of(usage.properties().toVector(), isWhole))
      raise(ArchitectureError::IncompleteModel, path.native(), usage.p_Name());
}

void identify(const tavo::Model& model, const tavo::String& name) {
  const auto identifier = ModelIdentifier::createModelIdentifier(model, u"architecture", name);
  static_cast<ModelIdentifier::Impl&>(identifier.object()).setModelType(u"architecture");
}

/// Nobody can take back what opening does, and a history of it would be as large as the model. Answers how much of what
/// the file says is lost.
std::uint32_t migrate(const ProfileNamespace& profiles) {
  const auto model = profiles.model();
  const auto depth = model.undoDepth();
  model.setUndoDepth(0);
  profiles.proccessMigrationFromV1();
  model.setUndoDepth(depth);
  return profiles.p_LostInMigration();
}

} // namespace

struct ModelFile::State {
  explicit State(const tavo::Model& itsModel) : model(itsModel) {}

  tavo::Model model;
  tavo::Model scratch = tavo::Model::create(); ///< where the comparison lives
  ProfileUseChecker differences{};
  KnownFile file{};
  std::string olderVersion{};
  bool dirty = false;
  std::uint32_t lost = 0;                   ///< that the file says and the model does not
  std::vector<tavo::String> profileNames{}; ///< as the file has them
  tavo::ListenerToken listener{};

  ~State() {
    listener.reset();
    model.destroy();
    scratch.destroy();
  }

  ProfileNamespace profiles() const { return ProfileNamespace::getProfileNamespace(model); }
  void compare() {
    const auto former = std::exchange(differences, ProfileUseChecker::analyze(scratch, profiles()));
    if (former)
      former.destroy();
    profiles().setP_IsProfileOutdated(differences.hasDifferences());
  }
  /// The names of the profiles that the model refers to. They follow those of the profiles without a step.
  std::vector<tavo::String> presentProfileNames() const {
    std::vector<tavo::String> names;
    for (const auto& resolver : services::proxy::resolversOf<profile::ProfileResolver>(model))
      names.push_back(resolver.uRI());
    return names;
  }
  void nowIsInFile(std::vector<tavo::String>&& names) noexcept {
    dirty = false;
    profileNames = std::move(names);
  }
  void begin() {
    model.clearHistory();
    nowIsInFile(presentProfileNames());
    listener = model.addShallowListener([this] { dirty = true; });
  }
};

ModelFile::ModelFile(std::unique_ptr<State> state) : state_(std::move(state)) {}
ModelFile::ModelFile(ModelFile&& other) noexcept = default;
ModelFile& ModelFile::operator=(ModelFile&& other) noexcept = default;
ModelFile::~ModelFile() = default;

ModelFile ModelFile::create(const tavo::String& name) {
  ModelFile file(std::make_unique<State>(tavo::Model::create()));
  auto& state = *file.state_;
  identify(state.model, name);
  state.model.setName(name);
  ProfileNamespace::make(state.model).initializePostLoad();
  property::TypeCatalog::createTypeCatalog(state.model);
  state.compare();
  state.begin();
  return file;
}

ModelFile ModelFile::open(const fs::path& path) {
  std::string olderVersion;
  const auto evolved = [&](std::string_view family, std::string_view version) {
    if (family == "zelkor_property")
      olderVersion = version;
  };
  const auto model = tavo::Model::create();
  const auto seen = tavo::loadModel(path, model, {.evolved = evolved});
  return take(model, path, seen, std::move(olderVersion));
}

ModelFile ModelFile::take(const tavo::Model& model, const fs::path& path, const tavo::Fingerprint& seen,
                          std::string olderVersion) {
  ModelFile file(std::make_unique<State>(model));
  auto& state = *file.state_;
  state.olderVersion = std::move(olderVersion);
  if (!state.profiles())
    raise(ArchitectureError::NotAnArchitectureModel, path.native());
  requireWholeUsages(state.profiles(), path);
  identify(state.model, nameOf(path));
  state.model.setName(nameOf(path));
  if (!property::TypeCatalog::getCatalog(state.model)) // models of the first releases had none
    property::TypeCatalog::createTypeCatalog(state.model);
  state.profiles().initializePostLoad();
  state.lost = migrate(state.profiles());
  state.compare();
  state.file.set(fs::absolute(path), seen);
  state.begin();
  return file;
}

const tavo::Model& ModelFile::model() const { return state_->model; }
ProfileNamespace ModelFile::profiles() const { return state_->profiles(); }
ProfileUseChecker ModelFile::differences() const { return state_->differences; }

ProfileUseChecker ModelFile::checkProfiles() {
  state_->compare();
  return state_->differences;
}

void ModelFile::synchronize() {
  for (const auto& profile : profiles().getAllResolvedProfiles(false))
    if (profile.getIsUnhealthyOnLoad())
      raise(ArchitectureError::UnhealthyProfile, profile.getName(), profile.healthCheckErrorOnLoad());
  const auto found = checkProfiles();
  found.setP_MissingProfiles({}); // what is missing may come back
  profiles().synchronizePostLoad(found);
  state_->compare();
}

const fs::path& ModelFile::path() const { return state_->file.path(); }
bool ModelFile::isDirty() const { return state_->dirty || state_->presentProfileNames() != state_->profileNames; }
const std::string& ModelFile::olderVersion() const { return state_->olderVersion; }

void ModelFile::save() { saveAs(path().empty() ? tavo::toPath(tavo::concat(model().name(), u".xml")) : path()); }

void ModelFile::leaveOutLost() { state_->lost = 0; }

void ModelFile::saveAs(const fs::path& path) {
  const auto target = fs::absolute(path);
  auto& file = state_->file;
  if (state_->lost != 0 && file.isAt(target))
    raise(ArchitectureError::MigrationIncomplete, target.native(), state_->lost);
  profile::ProfileCatalog::nameResolversAfterProfiles(model());
  tavo::Transaction transaction(state_->model); // a model that could not be saved keeps its name
  // Once the file is there, nothing may keep it from being known.
  const auto name = nameOf(target);
  auto profileNames = state_->presentProfileNames();
  const auto nowIsInFile = [&] {
    transaction.commit();
    state_->model.setName(name);
    state_->olderVersion.clear();
    state_->nowIsInFile(std::move(profileNames));
  };
  if (name != model().name())
    identify(state_->model, name);
  try {
    file.save(state_->model, target);
  } catch (const tavo::Error& error) {
    if (error.id() == tavo::FrameworkError::SavedButNotSynced)
      nowIsInFile();
    throw;
  }
  nowIsInFile();
}

} // namespace zelkor
