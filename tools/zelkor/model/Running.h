// How the subcommands for models end.
#pragma once

#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Report.h"

namespace zelkor::command {

/// Runs `action`; what it raises is printed as a finding about the element of the file.
template <class Action>
int reporting(const std::filesystem::path& file, const std::string& element, Action&& action) {
  text::Findings found(file.string());
  try {
    action();
  } catch (...) {
    addCurrent(found, {}, element);
  }
  print(found.sorted());
  return found.empty() ? success : findings;
}

} // namespace zelkor::command
