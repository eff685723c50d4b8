// The host that is built in: evaluator, units, enumerations from files.
#pragma once

#include "kavra/Host.h"
#include "kavra/standalone/Limits.h"

#include <map>

namespace kavra {

/// Evaluates the expression language of docs/expressions.md.
class KAVRA_EXPORT StandaloneWorkspace final : public Workspace {
public:
  explicit StandaloneWorkspace(std::shared_ptr<ClassRegistry> classes = {}, EvaluationLimits limits = {});
  ~StandaloneWorkspace() override;

  HostArray evaluate(std::u16string_view expression, EvaluationFailure* failure = nullptr) override;
  /// What `evaluate` answers, always the long way; for tests of the short one.
  HostArray evaluateWithoutShortcut(std::u16string_view expression, EvaluationFailure* failure = nullptr);
  void setVariable(std::u16string_view name, HostArray value) override;
  HostArray variable(std::u16string_view name) const override;
  void clearVariable(std::u16string_view name) override;
  void clearAllVariables() override;
  std::vector<std::u16string> variableNames() const override;

  using Variables = std::map<std::u16string, HostArray, std::less<>>;

private:
  Variables variables_;
  std::shared_ptr<ClassRegistry> classes_;
  EvaluationLimits limits_;
  std::uint64_t safeLiteralLength_;
};

class KAVRA_EXPORT StandaloneWorkspaces final : public Workspaces {
public:
  explicit StandaloneWorkspaces(std::shared_ptr<ClassRegistry> classes, EvaluationLimits limits = {});
  ~StandaloneWorkspaces() override;

  std::shared_ptr<Workspace> of(const void* model) override;
  void release(const void* model) noexcept override;
  /// For workspaces made from now on.
  void setLimits(EvaluationLimits limits) { limits_ = limits; }

private:
  std::map<const void*, std::shared_ptr<Workspace>> workspaces_;
  std::shared_ptr<ClassRegistry> classes_;
  EvaluationLimits limits_;
};

/// Classes registered in the process, then enumerations from files `<Class>.enum.toml`: in the folders added here
/// (those of the profiles in use), then on the search path. A file is read once, until `forgetFiles`.
class KAVRA_EXPORT StandaloneClassRegistry final : public ClassRegistry {
public:
  explicit StandaloneClassRegistry(std::shared_ptr<SearchPath> searchPath);
  ~StandaloneClassRegistry() override;

  std::optional<HostClass> findClass(std::u16string_view name) override;
  std::int64_t defaultMemberPosition(std::u16string_view enumerationName) override;

  /// Registers, or redefines, a class of the process.
  const EnumerationClass& defineEnumeration(EnumerationDefinition definition);
  void defineClass(std::u16string name);
  void removeClass(std::u16string_view name);

  void addFolder(std::filesystem::path folder);
  void removeFolder(const std::filesystem::path& folder);
  void forgetFiles() { fromFiles_.clear(); }

private:
  std::map<std::u16string, HostClass, std::less<>> registered_;
  std::map<std::u16string, const EnumerationClass*, std::less<>> fromFiles_;
  std::vector<std::filesystem::path> folders_;
  std::shared_ptr<SearchPath> searchPath_;
};

/// The parts of a new standalone host, to be taken as they are or replaced one by one.
KAVRA_EXPORT Host::Parts standaloneParts(EvaluationLimits limits = {});
KAVRA_EXPORT std::shared_ptr<Host> makeStandaloneHost(EvaluationLimits limits = {});

} // namespace kavra
