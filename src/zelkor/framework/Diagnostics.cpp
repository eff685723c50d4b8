#include "zelkor/framework/Diagnostics.h"

#include "kavra/Diagnostics.h"
#include "tavo/model/Model.h"

namespace zelkor {
namespace {

/// For people: what is no valid text is shown as well as it can be, since a report must not fail over its words.
std::string readable(const tavo::Error& error) {
  const tavo::Error alone(error.id(), error.arguments());
  return alone.what();
}

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
  diagnostic.text = readable(*known);
  for (auto cause = known->cause(); cause; cause = cause->cause())
    diagnostic.causes.push_back(readable(*cause));
  kavra::report(diagnostic);
}

} // namespace zelkor
