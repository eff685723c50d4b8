// Architecture models in files: opened with what belongs to that, saved without harm to what others did.
#pragma once

#include "tavo/model/Model.h"
#include "zelkor/framework/KnownFile.h"
#include "zelkor/profile/ProfileNamespace.h"
#include "zelkor/profile/ProfileUseChecker.h"

#include <filesystem>
#include <memory>

namespace zelkor {

/// An open architecture model, which ends with this object, and the file that it is kept in.
///
/// Opening reads the file, loads the profiles that can be found, and compares. It changes nothing: a model whose
/// profiles are missing or have changed is as it was saved until somebody synchronises it, and can be edited and saved.
class ZELKOR_EXPORT ModelFile {
public:
  /// A new model without a file, with what every model has: an identifier, a namespace of profiles, the built-in types.
  static ModelFile create(const tavo::String& name);
  /// Raises FileNotFound and what else reading raises (see tavo/xml/ModelXml.h), NotAnArchitectureModel for a file that
  /// holds something else, IncompleteModel for one in which something is missing. Content that this build does not know
  /// is refused, so it cannot be lost by saving.
  static ModelFile open(const std::filesystem::path& path);

  /// The same for a model that has been read from the file, which was like `seen` and, if not empty, of an older
  /// version of the library's schema. The model ends with this object, also when it is refused.
  static ModelFile take(const tavo::Model& model, const std::filesystem::path& path, const tavo::Fingerprint& seen,
                        std::string olderVersion);

  ModelFile(ModelFile&& other) noexcept;
  ModelFile& operator=(ModelFile&& other) noexcept;
  ~ModelFile();

  const tavo::Model& model() const;
  profile::ProfileNamespace profiles() const;
  /// What opening found to differ between the model and its profiles. It lives in a model of its own, may be changed,
  /// and is what `ProfileNamespace::synchronizePostLoad` takes.
  profile::ProfileUseChecker differences() const;
  /// Compares again.
  profile::ProfileUseChecker checkProfiles();
  /// Brings the model in line with its profiles, except that nothing which only missing ones could tell is touched.
  /// Raises UnhealthyProfile when one of them was loaded with a fault: what is wrong there must not become right here.
  void synchronize();

  /// Where the model was opened from or last saved to; empty for a new one.
  const std::filesystem::path& path() const;
  /// Whether anything has changed since then.
  bool isDirty() const;
  /// The version of the library's schema that the file has, if anything in it is of an older one, until the model is
  /// saved to it. Then the file is of the present version, which older releases do not open.
  const std::string& olderVersion() const;

  /// Saves to the model's file, a new model under its name in the working folder. Raises what `tavo::saveModel` raises,
  /// FileChangedOnDisk when somebody else has written the file meanwhile, MigrationIncomplete when the file says more
  /// than could be taken over from its release; then model and file are as they were.
  void save();
  /// Lets the model be saved over its file without what could not be taken over.
  void leaveOutLost();
  /// The same to another file, which is the model's from then on. The model is called like it.
  void saveAs(const std::filesystem::path& path);

private:
  struct State;
  explicit ModelFile(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

} // namespace zelkor
