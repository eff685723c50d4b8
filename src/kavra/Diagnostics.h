// Reports that are not errors: what the user should know although the work went on.
#pragma once

#include "kavra/Export.h"

#include <string>
#include <vector>

namespace kavra {

enum class Severity { Info, Warning, HighPriorityWarning };

struct Diagnostic {
  Severity severity = Severity::Warning;
  std::string id;                        ///< "Velmora:Profile:UnhealthyProfile"
  std::vector<std::u16string> arguments; ///< of the message with that identifier
  std::string text;                      ///< the message, for people
  std::vector<std::string> causes;       ///< texts of the errors behind it, the nearest first
};

class KAVRA_EXPORT Diagnostics {
public:
  virtual ~Diagnostics();
  virtual void report(const Diagnostic& diagnostic) = 0;
};

/// Writes each report to the standard error stream, one line and one more for each cause.
class KAVRA_EXPORT StandardErrorDiagnostics : public Diagnostics {
public:
  void report(const Diagnostic& diagnostic) override;
};

/// Keeps what was reported.
class KAVRA_EXPORT RecordingDiagnostics : public Diagnostics {
public:
  void report(const Diagnostic& diagnostic) override { diagnostics.push_back(diagnostic); }

  std::vector<Diagnostic> diagnostics;
};

/// Reports to the installed host, or to the standard error stream when there is none.
KAVRA_EXPORT void report(const Diagnostic& diagnostic);

} // namespace kavra
