#include "kavra/Error.h"
#include "kavra/Literals.h"
#include "kavra/NameRules.h"
#include "kavra/standalone/StandaloneHost.h"

namespace kavra {

StandaloneWorkspace::StandaloneWorkspace(std::shared_ptr<ClassRegistry> classes, EvaluationLimits limits)
    : classes_(std::move(classes)), limits_(limits) {}

StandaloneWorkspace::~StandaloneWorkspace() = default;

HostArray StandaloneWorkspace::evaluate(std::u16string_view expression, EvaluationFailure*) {
  return parsePlainLiteral(expression);
}

void StandaloneWorkspace::setVariable(std::u16string_view name, HostArray value) {
  if (!isValidName(name) || name == u"end")
    throw Error("kavra:messages:InvalidVariableName", "\"{0}\" is not a valid name of a variable.",
                {std::u16string(name)});
  if (!value)
    return clearVariable(name);
  variables_.insert_or_assign(std::u16string(name), std::move(value));
}

HostArray StandaloneWorkspace::variable(std::u16string_view name) const {
  auto it = variables_.find(name);
  return it == variables_.end() ? HostArray() : it->second;
}

void StandaloneWorkspace::clearVariable(std::u16string_view name) {
  if (auto it = variables_.find(name); it != variables_.end())
    variables_.erase(it);
}

void StandaloneWorkspace::clearAllVariables() { variables_.clear(); }

std::vector<std::u16string> StandaloneWorkspace::variableNames() const {
  std::vector<std::u16string> names;
  for (auto& [name, value] : variables_)
    names.push_back(name);
  return names;
}

} // namespace kavra
