// Profiles as they come to the command: as files, or as texts that are files once they are compiled.
#pragma once

#include "tools/zelkor/command/Files.h"
#include "tools/zelkor/text/ProfileText.h"

namespace zelkor::command {

/// What a text compiles to: the profile in memory, and what it is made from.
struct Compiled {
  text::ProfileText description;
  std::filesystem::path output;
  tavo::Model model; ///< empty when there are findings
};

/// Compiles a text onto what `output` holds (beside the text, when it is empty) without writing anything.
Compiled compileText(const std::filesystem::path& input, std::filesystem::path output, Surroundings& surroundings,
                     text::Findings& findings);

/// The profile of a file, or of a text with the ending .toml. An empty handle when the text has findings; raises what
/// `readProfile` does.
tavo::Model readSource(const std::filesystem::path& input, Surroundings& surroundings, text::Findings& findings);

} // namespace zelkor::command
