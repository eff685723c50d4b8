// The files that the command reads and writes.
#pragma once

#include "tools/zelkor/text/Findings.h"

#include "kavra/standalone/StandaloneHost.h"
#include "tavo/model/Model.h"

#include <filesystem>
#include <string>
#include <utility>

namespace zelkor::command {

/// A host of the process whose search path and enumerations the command sets for each file.
class Surroundings {
public:
  Surroundings();
  ~Surroundings();

  /// Looks for profiles and enumerations in these folders, then where ZELKOR_PATH says; forgets what was loaded.
  void lookIn(std::vector<std::filesystem::path> folders);
  kavra::StandaloneClassRegistry& classes() { return *classes_; }
  /// What the library has reported since the last call.
  std::vector<kavra::Diagnostic> takeDiagnostics() { return std::exchange(diagnostics_->diagnostics, {}); }

private:
  std::shared_ptr<kavra::StandaloneClassRegistry> classes_;
  std::shared_ptr<kavra::SearchPath> searchPath_;
  std::shared_ptr<kavra::RecordingDiagnostics> diagnostics_;
  std::shared_ptr<kavra::Host> before_;
};

/// What the library has reported, with what led to it.
std::string inOneLine(const kavra::Diagnostic& diagnostic);

/// The folder that holds a file.
std::filesystem::path folderOf(const std::filesystem::path& path);

/// What is read must not be lost to what is made from it: raises OutputIsInput.
void refuseSameFile(const std::filesystem::path& input, const std::filesystem::path& output);

/// All bytes of a regular file; raises what the framework says about files.
std::string readFile(const std::filesystem::path& path);

/// The objects of a profile's file, outside of the catalog. Raises what the framework says about files,
/// ProfileNotFound, and NotAProfile for a model of something else.
tavo::Model readProfile(const std::filesystem::path& path);

/// Several files that are replaced together: what was there comes back when one of them cannot be written.
class Output {
public:
  void add(std::filesystem::path path, std::string content) { files_.push_back({std::move(path), std::move(content)}); }
  /// Raises what the framework says about the file that cannot be written.
  void write() const;

private:
  struct File {
    std::filesystem::path path;
    std::string content;
  };
  std::vector<File> files_;
};

} // namespace zelkor::command
