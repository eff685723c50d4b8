// The evaluator on any text: a value, which can be shown and, where it has an expression, comes back from that; or the
// reason why there is none.
#include "tests/fuzz/Fuzz.h"

#include "kavra/Rendering.h"
#include "kavra/standalone/StandaloneHost.h"
#include "tavo/core/Utf.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Small enough for many runs in a second, and for the text of any value to be a text that is evaluated.
  static const auto host = kavra::makeStandaloneHost({.elements = 10'000, .bytes = 1 << 24, .steps = 1 << 20});
  const auto workspace = host->workspaces().of(&host);
  workspace->setVariable(u"x", workspace->evaluate(u"[1 2;3 4]"));
  kavra::EvaluationFailure failure;
  const auto value = workspace->evaluate(tavo::toUtf16Lenient(fuzz::textOf(data, size)), &failure);
  if (!value)
    return 0;
  kavra::displayText(value);
  if (const auto text = kavra::expressionText(value)) {
    const auto again = workspace->evaluate(*text, &failure);
    fuzz::require(again && kavra::expressionText(again) == text, "an expression of the value has the value");
  }
  return 0;
}
