#include "tools/zelkor/command/Files.h"

#include "tools/zelkor/text/Errors.h"

#include "tavo/core/Errors.h"
#include "tavo/io/FileSystem.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/framework/Errors.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/ProfileCatalog.h"

#include <optional>

namespace zelkor::command {
namespace {

constexpr std::size_t largestText = std::size_t{64} << 20;

void save(const std::filesystem::path& path, const std::string& content) {
  tavo::saveAtomically(path, [&](tavo::ByteSink& sink) { sink.write(content); });
}

} // namespace

Surroundings::Surroundings()
    : searchPath_(std::make_shared<kavra::SearchPath>(kavra::SearchPath::fromEnvironment())),
      diagnostics_(std::make_shared<kavra::RecordingDiagnostics>()) {
  auto parts = kavra::standaloneParts();
  classes_ = std::make_shared<kavra::StandaloneClassRegistry>(searchPath_);
  parts.classes = classes_;
  parts.searchPath = searchPath_;
  parts.workspaces = std::make_shared<kavra::StandaloneWorkspaces>(classes_);
  // Every fault becomes a finding; what the library reports on the way would only say it twice.
  parts.diagnostics = diagnostics_;
  before_ = kavra::installHost(std::make_shared<kavra::Host>(std::move(parts)));
}

Surroundings::~Surroundings() {
  try {
    profile::ProfileCatalog::instance().unloadAllProfiles();
  } catch (const std::exception&) {
    // Without memory; they go with the process.
  }
  kavra::installHost(before_);
}

void Surroundings::lookIn(std::vector<std::filesystem::path> folders) {
  profile::ProfileCatalog::instance().unloadAllProfiles();
  auto environment = kavra::SearchPath::fromEnvironment();
  folders.insert(folders.end(), environment.folders().begin(), environment.folders().end());
  searchPath_->setFolders(std::move(folders));
  classes_->forgetFiles();
}

std::string inOneLine(const kavra::Diagnostic& diagnostic) {
  std::string text = diagnostic.text;
  for (const auto& cause : diagnostic.causes)
    text += " Because: " + cause;
  return text;
}

std::filesystem::path folderOf(const std::filesystem::path& path) {
  return std::filesystem::absolute(path).parent_path();
}

void refuseSameFile(const std::filesystem::path& input, const std::filesystem::path& output) {
  std::error_code isNoFile; // one that cannot be looked at cannot be read or written either
  if (std::filesystem::equivalent(input, output, isNoFile))
    tavo::raise(text::TextError::OutputIsInput, output.string());
}

std::string readFile(const std::filesystem::path& path) {
  tavo::InputFile file(path);
  std::string content;
  char buffer[65536];
  while (auto size = file.read(buffer, sizeof buffer)) {
    content.append(buffer, size);
    if (content.size() > largestText)
      tavo::raise(tavo::FrameworkError::LimitExceeded, path.string(), "the size of a text",
                  std::to_string(largestText));
  }
  return content;
}

tavo::Model readProfile(const std::filesystem::path& path) {
  auto model = tavo::Model::create();
  tavo::loadModel(path, model);
  if (!profile::Profile::getProfile(model))
    tavo::raise(ProfileError::NotAProfile, path.string());
  model.setUndoDepth(0);
  return model;
}

void Output::write() const {
  std::vector<std::optional<std::string>> before;
  for (auto& file : files_) {
    std::error_code ignored; // a file that cannot even be looked at fails in writing
    bool isThere = std::filesystem::is_regular_file(file.path, ignored);
    before.push_back(isThere ? std::optional(readFile(file.path)) : std::nullopt);
  }
  for (std::size_t i = 0; i < files_.size(); ++i) {
    try {
      if (before[i] != files_[i].content)
        save(files_[i].path, files_[i].content);
    } catch (const tavo::Error&) {
      for (std::size_t j = 0; j < i; ++j) {
        try {
          std::error_code ignored; // the failure to write is what counts
          if (before[j])
            save(files_[j].path, *before[j]);
          else
            std::filesystem::remove(files_[j].path, ignored);
        } catch (const tavo::Error&) {
          // The same disk has just refused another file; that one is reported.
        }
      }
      throw;
    }
  }
}

} // namespace zelkor::command
