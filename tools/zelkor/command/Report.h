// Printing findings.
#pragma once

#include "tools/zelkor/text/Findings.h"

namespace zelkor::command {

/// Prints one finding a line to the standard error, with the identifier in colour on a terminal (unless NO_COLOR is
/// set).
void print(const std::vector<text::Finding>& findings);

/// Adds whatever has been thrown, and is being handled, to the findings.
void addCurrent(text::Findings& findings, text::Place place = {}, const std::string& element = {});

} // namespace zelkor::command
