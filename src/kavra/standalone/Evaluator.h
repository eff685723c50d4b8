// Computes the value of an expression from its tree.
#pragma once

#include "kavra/ClassRegistry.h"
#include "kavra/standalone/Operand.h"
#include "kavra/standalone/StandaloneHost.h"
#include "kavra/standalone/Syntax.h"

namespace kavra::standalone {

/// Evaluates against the variables of one workspace and the classes of the host. A name is looked for among the
/// variables first, then among functions, then among enumeration classes.
class Evaluator {
public:
  Evaluator(const StandaloneWorkspace::Variables& variables, ClassRegistry* classes, Budget& budget)
      : variables_(variables), classes_(classes), budget_(budget) {}

  /// Fails (EvaluationError) when the expression has no value; the error then has a position.
  HostArray evaluate(const Node& root);

private:
  struct EndMeaning;

  HostArray value(const Node& node);
  HostArray operand(const Node& node);
  HostArray apply(const Node& node, HostArray left);
  HostArray applyBinary(const Node& node, const HostArray& left, const HostArray& right);
  HostArray withAllDigits(const Node& node, HostArray value, const HostArray& other) const;
  void values(const Node& node, Values& out);

  HostArray basedNumber(const Node& node) const;
  HostArray text(const Node& node);
  HostArray range(const Node& node);
  HostArray matrix(const Node& node);
  HostArray cell(const Node& node);

  HostArray name(const Node& node);
  HostArray call(const Node& node);
  HostArray elements(const HostArray& array, const Node& node, std::span<const Node* const> nodes);
  HostArray callFunction(const Node& node, std::span<const HostArray> arguments);
  HostArray integersWithAllDigits(const Node& call) const;
  HostArray dottedName(std::u16string_view name, std::span<const HostArray> arguments);
  HostArray enumerationFrom(const EnumerationClass& enumeration, const HostArray& array);
  HostArray emptyArray(std::u16string_view className, std::span<const HostArray> arguments);
  HostArray end() const;
  Values arguments(std::span<const Node* const> nodes);
  Values subscripts(const HostArray& array, std::span<const Node* const> nodes);

  const HostArray* findVariable(std::u16string_view name) const;
  const EnumerationClass* findEnumeration(std::u16string_view name);
  [[noreturn]] void unknown(std::u16string_view name) const;

  const StandaloneWorkspace::Variables& variables_;
  ClassRegistry* classes_;
  Budget& budget_;
  const EndMeaning* end_ = nullptr;
  std::size_t position_ = 0; // of the node at work
};

} // namespace kavra::standalone
