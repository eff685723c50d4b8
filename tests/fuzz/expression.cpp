// The evaluator on any text: a value, which can be shown and, where it has an expression, comes back from that; or the
// reason why there is none.
#include "tests/fuzz/Fuzz.h"

#include "kavra/Rendering.h"
#include "kavra/Text.h"
#include "kavra/standalone/StandaloneHost.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Small enough for many runs in a second, and for the text of any value to be a text that is evaluated.
  static const auto host = kavra::makeStandaloneHost({.elements = 10'000, .bytes = 1 << 24, .steps = 1 << 20});
  const auto text = kavra::fromUtf8(fuzz::textOf(data, size));
  if (!text)
    return 0;
  const auto workspace = host->workspaces().of(&host);
  workspace->setVariable(u"x", workspace->evaluate(u"[1 2;3 4]"));
  kavra::EvaluationFailure failure;
  const auto value = workspace->evaluate(*text, &failure);
  if (!value)
    return 0;
  kavra::displayText(value);
  if (const auto said = kavra::expressionText(value)) {
    const auto again = workspace->evaluate(*said, &failure);
    fuzz::require(again && kavra::expressionText(again) == said, "an expression of the value has the value");
  }
  return 0;
}
