// The subcommands for models, on the command line.
#pragma once

#include <CLI/CLI.hpp>

namespace zelkor::command {

/// Adds them to `app`; the one that is called leaves its exit status in `status`.
void addModelCommands(CLI::App& app, int& status);

} // namespace zelkor::command
