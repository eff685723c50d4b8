// A model that a command works on.
#pragma once

#include "tools/zelkor/command/Files.h"

#include "tools/zelkor/model/Errors.h"

#include "arch/Architecture.h"
#include "kavra/Text.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/profile/Prototype.h"

#include <filesystem>
#include <string>

namespace zelkor::command {

/// Opens a model, with its profiles from beside it and from ZELKOR_PATH, and finds in it what the command line names.
class OpenModel {
public:
  /// Raises what ModelFile::open raises. What the user should know of missing profiles, and of what an old file
  /// says and the model does not, is printed to the standard error.
  explicit OpenModel(const std::filesystem::path& path);
  /// Prints there that the profiles have changed, if they have.
  void tellOfChanges() const;

  const std::string& name() const { return name_; }
  ModelFile& file() { return file_; }
  const ModelFile& file() const { return file_; }
  const tavo::Model& model() const { return file_.model(); }
  profile::ProfileNamespace profiles() const { return file_.profiles(); }
  const std::vector<tavo::String>& missingProfiles() const { return missing_; }
  /// Whether the model has a profile of that name, be it missing.
  bool uses(const tavo::String& profile) const;

  /// Raises NoArchitecture.
  Architecture architecture() const;
  /// By path ("Aircraft/Avionics/Computer", with or without the name of the architecture) or UUID. Raises
  /// UnknownElement or NoArchitecture.
  Element element(const std::string& pathOrUuid) const;
  /// The same for one that must be of a class, which people call `kind`. Raises WrongKind as well.
  template <class Class>
  Class element(const std::string& pathOrUuid, const char* kind) const {
    const auto found = element(pathOrUuid).as<Class>();
    if (!found)
      tavo::raise(ModelCommandError::WrongKind, element(pathOrUuid).getPath(), kind);
    return found;
  }
  /// All elements, in the order of the tree.
  std::vector<Element> elements() const;
  /// By fully qualified name, or by its own where only one profile in use has it. Raises UnknownStereotype or
  /// AmbiguousName.
  profile::Prototype stereotype(const std::string& name) const;
  /// The fully qualified name of a stereotype that the element carries and that cannot be had, given likewise; empty
  /// when there is none.
  static tavo::String missingStereotype(const Element& element, const std::string& name);
  /// The qualified name of an element's property, which may be given short where only one set has it. Raises
  /// UnknownProperty or AmbiguousName.
  static tavo::String property(const Element& element, const std::string& name);

  /// Writes the model if anything has changed.
  void save();
  /// Prints what the library has reported since the last call.
  void tellReports();
  /// Runs the action and prints what is reported, even if it fails.
  template <class Action>
  void telling(Action&& action) {
    try {
      action();
    } catch (...) {
      tellReports();
      throw;
    }
    tellReports();
  }
  /// Prints something about the model to the standard error.
  void warn(const std::string& text) const;

private:
  std::string name_;
  Surroundings surroundings_;
  ModelFile file_;
  std::vector<tavo::String> missing_;
  std::vector<kavra::Diagnostic> reports_{}; ///< of opening, not told yet
};

} // namespace zelkor::command
