#include "zelkor/framework/Diagnostics.h"

#include "kavra/Diagnostics.h"
#include "tavo/core/Utf.h"
#include "tavo/model/Model.h"

namespace zelkor {
namespace {

/// Listeners of models that raise are reported like everything else.
const bool listenersReport = [] {
  tavo::setListenerErrorHandler([](const std::exception& error) { reportWarning(error); });
  return true;
}();

} // namespace

void reportWarning(const std::exception& error) {
  const auto known = tavo::Error::asCause(error);
  kavra::Diagnostic diagnostic;
  diagnostic.severity = kavra::Severity::HighPriorityWarning;
  diagnostic.id = known->id().text();
  for (const auto& argument : known->arguments())
    diagnostic.arguments.emplace_back(argument.view());
  diagnostic.text = tavo::toPrintable(known->message());
  for (auto cause = known->cause(); cause; cause = cause->cause())
    diagnostic.causes.push_back(tavo::toPrintable(cause->message()));
  kavra::report(diagnostic);
}

} // namespace zelkor
