#include "zelkor/evolution/Evolver.h"

#include "tavo/core/Utf.h"
#include "tavo/io/FileSystem.h"
#include "zelkor/evolution/ReleaseRegistry.h"

namespace zelkor::property::evolution {
namespace {

/// The way of a family between two releases.
template <class Registry>
tavo::evolution::FamilyEvolution between(const char* family, const tavo::String& from, const tavo::String& to) {
  const auto version = [](const tavo::String& release) {
    return tavo::toUtf8(Registry::getFamilyVersionForKavraRelease(release));
  };
  return {family, version(from), version(to)};
}

} // namespace

tavo::String Evolver::evolve(const tavo::String& fromRelease, const tavo::String& toRelease, const tavo::String& input,
                             const tavo::String& outputFile, std::vector<tavo::evolution::Loss>* losses) {
  tavo::evolution::EvolutionEngine engine(
      {between<ReleaseRegistry>("zelkor_property", fromRelease, toRelease),
       between<services::proxy::evolution::ReleaseRegistry>("zelkor_services_proxy", fromRelease, toRelease)});
  const std::string bytes = tavo::toUtf8(input);
  tavo::MemorySource source(bytes);
  const auto evolved = engine.run(source, tavo::toUtf8(fromRelease));
  if (losses)
    *losses = engine.account().losses();

  if (!outputFile.empty()) {
    tavo::saveAtomically(
        tavo::toPath(outputFile), [&](tavo::ByteSink& sink) { tavo::evolution::write(*evolved, sink); },
        tavo::Expectation::anything());
    return {};
  }
  std::string text;
  tavo::MemorySink sink(text);
  tavo::evolution::write(*evolved, sink);
  return tavo::String(tavo::toUtf16(text));
}

} // namespace zelkor::property::evolution
