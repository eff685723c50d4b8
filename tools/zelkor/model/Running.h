// How the subcommands for models end.
#pragma once

#include "tools/zelkor/command/Report.h"

namespace zelkor::command {

/// Runs `action`; what it raises is printed as a finding about the element of the file, on the standard output if the
/// result would have been JSON.
template <class Action>
int reporting(const std::filesystem::path& file, const std::string& element, bool asJson, Action&& action,
              const std::string& hintOnExpressions = {}) {
  text::Findings found(file.string());
  try {
    action();
  } catch (...) {
    addCurrent(found, {}, element, hintOnExpressions);
  }
  return report(found, asJson);
}

} // namespace zelkor::command
