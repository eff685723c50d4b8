#include "kavra/standalone/StandaloneHost.h"

#include "kavra/standalone/units/UnitTableService.h"

namespace kavra {
StandaloneWorkspaces::StandaloneWorkspaces(std::shared_ptr<ClassRegistry> classes, EvaluationLimits limits)
    : classes_(std::move(classes)), limits_(limits) {}

StandaloneWorkspaces::~StandaloneWorkspaces() = default;

std::shared_ptr<Workspace> StandaloneWorkspaces::of(const void* model) {
  auto& workspace = workspaces_[model];
  if (!workspace)
    workspace = std::make_shared<StandaloneWorkspace>(classes_, limits_);
  return workspace;
}

void StandaloneWorkspaces::release(const void* model) noexcept { workspaces_.erase(model); }

Host::Parts standaloneParts(EvaluationLimits limits) {
  Host::Parts parts;
  parts.searchPath = std::make_shared<SearchPath>(SearchPath::fromEnvironment());
  parts.classes = std::make_shared<StandaloneClassRegistry>(parts.searchPath);
  parts.workspaces = std::make_shared<StandaloneWorkspaces>(parts.classes, limits);
  parts.units = std::make_shared<standalone::UnitTableService>();
  parts.diagnostics = std::make_shared<StandardErrorDiagnostics>();
  return parts;
}

std::shared_ptr<Host> makeStandaloneHost(EvaluationLimits limits) {
  return std::make_shared<Host>(standaloneParts(limits));
}

} // namespace kavra
