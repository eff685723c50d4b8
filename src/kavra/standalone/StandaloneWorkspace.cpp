#include "kavra/Error.h"
#include "kavra/Literals.h"
#include "kavra/NameRules.h"
#include "kavra/standalone/Evaluator.h"
#include "kavra/standalone/Parser.h"

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>

namespace kavra {
namespace {

/// The texts up to this long that are one literal cannot reach any limit, so they need not be counted.
std::uint64_t safeLiteralLength(const EvaluationLimits& limits) {
  constexpr std::uint64_t overhead = 16;
  auto steps = limits.steps < overhead ? 0 : limits.steps - overhead;
  return limits.depth == 0 ? 0 : std::min({limits.length, limits.elements, limits.bytes / overhead, steps});
}

} // namespace

StandaloneWorkspace::StandaloneWorkspace(std::shared_ptr<ClassRegistry> classes, EvaluationLimits limits)
    : classes_(std::move(classes)), limits_(limits), safeLiteralLength_(safeLiteralLength(limits)) {}

StandaloneWorkspace::~StandaloneWorkspace() = default;

HostArray StandaloneWorkspace::evaluate(std::u16string_view expression, EvaluationFailure* failure) {
  // A variable may be called "true", but none is called "5".
  bool mayBeVariable = !variables_.empty() && (expression.starts_with(u't') || expression.starts_with(u'f'));
  if (expression.size() <= safeLiteralLength_ && !mayBeVariable) {
    if (auto literal = parsePlainLiteral(expression))
      return literal;
  }
  return evaluateWithoutShortcut(expression, failure);
}

HostArray StandaloneWorkspace::evaluateWithoutShortcut(std::u16string_view expression, EvaluationFailure* failure) {
  auto report = [&](std::size_t position, std::string text) {
    if (failure)
      *failure = {position, std::move(text)};
    return HostArray();
  };
  if (expression.size() > limits_.length)
    return report(0, "the expression is too long");

  std::array<std::byte, 4096> firstMemory;
  std::pmr::monotonic_buffer_resource memory(firstMemory.data(), firstMemory.size());
  standalone::Budget budget(limits_);
  try {
    auto& root = standalone::Parser(expression, limits_.depth, &memory).parse();
    return standalone::Evaluator(variables_, classes_.get(), budget).evaluate(root);
  } catch (const standalone::EvaluationError& error) {
    return report(error.position, error.text);
  } catch (const Error& error) { // a class that cannot be read, or an array that cannot be made
    return report(0, error.what());
  } catch (const std::bad_alloc&) {
    return report(0, "there is not enough memory");
  } catch (const std::length_error&) { // a container's word for the same
    return report(0, "there is not enough memory");
  }
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
