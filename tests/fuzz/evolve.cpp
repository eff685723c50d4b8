// Files of all releases, up to the present one and down to each: what comes out is sound and reads back, and a text
// that has once gone down stays the same on the way up and down again.
#include "tests/fuzz/FileMutator.h"

#include "arch/Architecture.h"
#include "kavra/standalone/StandaloneHost.h"
#include "tavo/core/Error.h"
#include "tavo/core/Utf.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/evolution/Evolver.h"
#include "zelkor/evolution/ReleaseRegistry.h"

namespace {

using zelkor::property::evolution::Evolver;
using zelkor::property::evolution::ReleaseRegistry;

tavo::String evolve(const tavo::String& from, const tavo::String& to, const tavo::String& text) {
  return Evolver::evolve(from, to, text, {});
}

/// The release that a file says it is of; the first where it does not say.
tavo::String releaseOf(std::string_view text) {
  for (const auto& [release, version] : ReleaseRegistry::releases())
    if (text.find("name=\"zelkor_property\" version=\"" + tavo::toUtf8(version) + "\"") != text.npos)
      return tavo::String(release);
  return u"Plover";
}

/// The text of a model that takes the document, or nothing.
tavo::String readBack(const tavo::String& text) {
  const auto model = tavo::Model::create();
  tavo::String result;
  try {
    tavo::readModel(text, "fuzz", model);
    tavo::checkInvariants(model);
    result = tavo::modelText(model);
  } catch (const tavo::Error&) {
  }
  model.destroy();
  return result;
}

void requireSame(const tavo::String& now, const tavo::String& before) {
  if (now == before)
    return;
  std::fprintf(stderr, "%s\nAnd before:\n%s\n", now.toUtf8().c_str(), before.toUtf8().c_str());
  fuzz::require(false, "down, up and down again is the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const kavra::ScopedHost host(kavra::makeStandaloneHost());
  (void)zelkor::Architecture::metaClass();
  const auto bytes = fuzz::textOf(data, size);
  const auto present = tavo::String(ReleaseRegistry::releases().back().release);
  tavo::String up;
  try {
    const auto release = releaseOf(bytes);
    const auto text = tavo::String(tavo::toUtf16Lenient(bytes));
    up = evolve(release, present, text);
    for (const auto& each : ReleaseRegistry::releases()) // no crash, whatever comes of it
      if (each.release != release)
        try {
          evolve(release, tavo::String(each.release), text);
        } catch (const tavo::Error&) {
        }
  } catch (const tavo::Error&) {
    return 0;
  }
  // From here on it is a model that this build takes, and nothing may be refused any more.
  const auto model = readBack(up);
  if (model.empty())
    return 0;
  for (const auto& each : ReleaseRegistry::releases()) {
    const tavo::String release(each.release);
    tavo::String down;
    try {
      down = evolve(present, release, model);
    } catch (const tavo::Error&) { // what does not fit may have no place there
      continue;
    }
    tavo::String again;
    try {
      again = evolve(release, present, down);
    } catch (const tavo::Error&) {
      continue;
    }
    if (const auto read = readBack(again); !read.empty())
      requireSame(evolve(present, release, read), down);
  }
  return 0;
}
