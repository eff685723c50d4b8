// A host that fails where a test wants it to.
#pragma once

#include "kavra/Error.h"
#include "kavra/Host.h"

#include <memory>

namespace testsupport {

/// Counts the calls of a host, and makes one of them fail.
struct HostCalls {
  static constexpr std::size_t never = static_cast<std::size_t>(-1);

  std::size_t failing = never;
  std::size_t made = 0;

  void restart(std::size_t failingCall) {
    failing = failingCall;
    made = 0;
  }
  bool hasFailed() const { return made > failing; }
  void call() {
    if (made++ == failing)
      throw kavra::Error("test:host:Down", "The host does not answer.");
  }
};

/// The parts of a host with a count before each of their calls: whatever reads, evaluates or looks something up.
inline kavra::Host::Parts countedParts(const kavra::Host::Parts& real, const std::shared_ptr<HostCalls>& calls) {
  struct CountedWorkspace final : kavra::Workspace {
    CountedWorkspace(std::shared_ptr<Workspace> r, std::shared_ptr<HostCalls> c) : real(std::move(r)), calls(c) {}
    kavra::HostArray evaluate(std::u16string_view text, kavra::EvaluationFailure* failure) override {
      return calls->call(), real->evaluate(text, failure);
    }
    void setVariable(std::u16string_view name, kavra::HostArray value) override { real->setVariable(name, value); }
    kavra::HostArray variable(std::u16string_view name) const override { return real->variable(name); }
    void clearVariable(std::u16string_view name) override { real->clearVariable(name); }
    void clearAllVariables() override { real->clearAllVariables(); }
    std::vector<std::u16string> variableNames() const override { return real->variableNames(); }
    std::shared_ptr<Workspace> real;
    std::shared_ptr<HostCalls> calls;
  };
  struct CountedWorkspaces final : kavra::Workspaces {
    CountedWorkspaces(std::shared_ptr<Workspaces> r, std::shared_ptr<HostCalls> c) : real(std::move(r)), calls(c) {}
    std::shared_ptr<kavra::Workspace> of(const void* model) override {
      return calls->call(), std::make_shared<CountedWorkspace>(real->of(model), calls);
    }
    void release(const void* model) noexcept override { real->release(model); }
    std::shared_ptr<Workspaces> real;
    std::shared_ptr<HostCalls> calls;
  };
  struct CountedUnits final : kavra::UnitService {
    CountedUnits(std::shared_ptr<UnitService> r, std::shared_ptr<HostCalls> c) : real(std::move(r)), calls(c) {}
    void checkUnit(std::u16string_view unit) const override { calls->call(), real->checkUnit(unit); }
    bool areEquivalent(std::u16string_view a, std::u16string_view b) const override {
      return calls->call(), real->areEquivalent(a, b);
    }
    bool areConvertible(std::u16string_view a, std::u16string_view b) const override {
      return calls->call(), real->areConvertible(a, b);
    }
    kavra::UnitConversion conversion(std::u16string_view from, std::u16string_view to) const override {
      return calls->call(), real->conversion(from, to);
    }
    std::vector<std::u16string> similarUnits(std::u16string_view text) const override {
      return calls->call(), real->similarUnits(text);
    }
    std::shared_ptr<UnitService> real;
    std::shared_ptr<HostCalls> calls;
  };
  struct CountedClasses final : kavra::ClassRegistry {
    CountedClasses(std::shared_ptr<ClassRegistry> r, std::shared_ptr<HostCalls> c) : real(std::move(r)), calls(c) {}
    std::optional<kavra::HostClass> findClass(std::u16string_view name) override {
      return calls->call(), real->findClass(name);
    }
    std::int64_t defaultMemberPosition(std::u16string_view name) override {
      return calls->call(), real->defaultMemberPosition(name);
    }
    std::shared_ptr<ClassRegistry> real;
    std::shared_ptr<HostCalls> calls;
  };
  kavra::Host::Parts parts = real;
  parts.workspaces = std::make_shared<CountedWorkspaces>(real.workspaces, calls);
  parts.units = std::make_shared<CountedUnits>(real.units, calls);
  parts.classes = std::make_shared<CountedClasses>(real.classes, calls);
  return parts;
}

} // namespace testsupport
