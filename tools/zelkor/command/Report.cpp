#include "tools/zelkor/command/Report.h"

#include "kavra/Error.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace zelkor::command {

void print(const std::vector<text::Finding>& findings) {
  auto* noColor = std::getenv("NO_COLOR");
  bool inColour = isatty(STDERR_FILENO) && !(noColor && *noColor);
  for (auto& finding : findings) {
    auto line = finding.line();
    if (auto at = line.find(": " + finding.id); inColour && at != line.npos)
      line = line.substr(0, at + 2) + "\033[31m" + finding.id + "\033[0m" + line.substr(at + 2 + finding.id.size());
    std::fprintf(stderr, "%s\n", line.c_str());
  }
}

void addCurrent(text::Findings& findings, text::Place place, const std::string& element) {
  try {
    throw;
  } catch (const tavo::Error& error) {
    findings.add(place, element, error);
  } catch (const kavra::Error& error) {
    findings.add({findings.file(), place, element, error.id(), error.what()});
  } catch (const std::exception& error) {
    findings.add(place, element,
                 tavo::Error(tavo::ErrorId("tavo:messages:ForeignException"), {tavo::errorArgument(error.what())}));
  }
}

} // namespace zelkor::command
