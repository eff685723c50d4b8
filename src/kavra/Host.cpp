#include "kavra/Host.h"

#include "kavra/Error.h"
#include "kavra/Text.h"
#include "kavra/standalone/StandaloneHost.h"

#include <cstdio>
#include <cstdlib>

namespace kavra {

// The interfaces have their first virtual function here, so that their type information has one home.
ClassRegistry::~ClassRegistry() = default;
Diagnostics::~Diagnostics() = default;
Workspace::~Workspace() = default;
Workspaces::~Workspaces() = default;

//----------------------------------------------------------------------------------------------------------------------
// Host

Host::Host(Parts parts) : parts_(std::move(parts)) {
  if (!parts_.workspaces || !parts_.units || !parts_.classes || !parts_.searchPath || !parts_.diagnostics)
    throw Error("kavra:messages:IncompleteHost", "A host needs all of its parts.");
}

Host::~Host() = default;

std::vector<double> Host::sizeOf(const HostArray& array) const {
  auto extents = array.dimensions();
  return {extents.begin(), extents.end()};
}

namespace {

/// The standalone host stands in from the start, so that nobody has to install anything. It is never destroyed: objects
/// that go at the very end of the process may still ask for it.
std::shared_ptr<Host>& installedHost() {
  static auto* installed = new std::shared_ptr<Host>(makeStandaloneHost());
  return *installed;
}

} // namespace

bool isHostAvailable() { return installedHost() != nullptr; }

Host& host() {
  auto& installed = installedHost();
  if (!installed)
    throw Error("kavra:messages:NoHost", "No host environment is available.");
  return *installed;
}

std::shared_ptr<Host> installHost(std::shared_ptr<Host> host) {
  return std::exchange(installedHost(), std::move(host));
}

//----------------------------------------------------------------------------------------------------------------------
// Diagnostics

void StandardErrorDiagnostics::report(const Diagnostic& diagnostic) {
  std::string text = diagnostic.severity == Severity::Info ? "note: " : "warning: ";
  text += diagnostic.text.empty() ? diagnostic.id : diagnostic.text;
  if (diagnostic.text.empty()) {
    for (auto& argument : diagnostic.arguments)
      text += " \"" + toUtf8(argument) + "\"";
  } else if (!diagnostic.id.empty()) {
    text += " [" + diagnostic.id + "]";
  }
  for (auto& cause : diagnostic.causes)
    text += "\n  because: " + cause;
  text += '\n';
  std::fwrite(text.data(), 1, text.size(), stderr);
}

void report(const Diagnostic& diagnostic) {
  if (isHostAvailable())
    return host().diagnostics().report(diagnostic);
  StandardErrorDiagnostics().report(diagnostic);
}

//----------------------------------------------------------------------------------------------------------------------
// Search path

SearchPath SearchPath::fromEnvironment() {
  std::vector<std::filesystem::path> folders;
  const char* variable = std::getenv("ZELKOR_PATH");
  std::string_view rest = variable ? variable : "";
  while (!rest.empty()) {
    auto folder = rest.substr(0, rest.find(':'));
    if (!folder.empty())
      folders.emplace_back(folder);
    rest.remove_prefix(std::min(rest.size(), folder.size() + 1));
  }
  return SearchPath(std::move(folders));
}

std::optional<std::filesystem::path> SearchPath::find(const std::filesystem::path& name) const {
  if (name.empty() || name != name.filename() || name == "." || name == "..")
    return {};
  for (auto& folder : folders_) {
    std::error_code unreadable; // a folder that cannot be read holds nothing for us
    if (std::filesystem::is_regular_file(folder / name, unreadable))
      return folder / name;
  }
  return {};
}

} // namespace kavra
