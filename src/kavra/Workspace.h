// Workspaces: where expression texts become arrays.
#pragma once

#include "kavra/HostArray.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kavra {

/// Why a text could not be evaluated, for people.
struct EvaluationFailure {
  std::size_t position = 0; ///< in UTF-16 units from the start of the text
  std::string text;
};

/// The variables that the host holds for one model, and the evaluation of expressions over them.
class KAVRA_EXPORT Workspace {
public:
  virtual ~Workspace();

  /// The value of the expression, or null for a text that cannot be evaluated. Never throws for bad text.
  /// `failure`, when given, is filled in together with a null result.
  virtual HostArray evaluate(std::u16string_view expression, EvaluationFailure* failure = nullptr) = 0;

  /// Raises "kavra:messages:InvalidVariableName" when the name is not valid; a null array clears the variable.
  virtual void setVariable(std::u16string_view name, HostArray value) = 0;
  virtual HostArray variable(std::u16string_view name) const = 0;
  virtual void clearVariable(std::u16string_view name) = 0;
  virtual void clearAllVariables() = 0;
  virtual std::vector<std::u16string> variableNames() const = 0; ///< in alphabetical order
};

/// The workspaces of all models. A model is named by a token that means nothing here; whoever owns it releases it.
class KAVRA_EXPORT Workspaces {
public:
  virtual ~Workspaces();

  /// The workspace of a model, made when it is first asked for.
  virtual std::shared_ptr<Workspace> of(const void* model) = 0;
  virtual void release(const void* model) noexcept = 0;
};

} // namespace kavra
