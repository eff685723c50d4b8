#include "zelkor/evolution/ReleaseExport.h"

#include "tavo/core/Utf.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/evolution/Evolver.h"
#include "zelkor/evolution/ReleaseRegistry.h"
#include "zelkor/framework/Errors.h"

#include <algorithm>

namespace zelkor::property::evolution {
namespace {

using tavo::evolution::Loss;

/// Classes and features as they are called in files, and by people.
struct Words {
  std::string_view name, words;
  bool plural = false;
};
constexpr Words allWords[] = {
    {"BooleanType", "the type"},
    {"DefaultStereotypeMap", "the default stereotypes of new elements", true},
    {"Enumeration", "the enumeration"},
    {"ExternalUID", "the identifier of an outside tool"},
    {"FloatType", "the type"},
    {"IntegerType", "the type"},
    {"LostModelResolver", "what led to something that is gone"},
    {"ParameterDefinition", "the parameter"},
    {"ParameterExportMap", "the names under which parameters are exported", true},
    {"ParameterUsage", "the value of a parameter"},
    {"StringArrayType", "the type"},
    {"StringType", "the type"},
    {"Tag", "the tag"},
    {"ValueTypeDescriptor", "the description of a type"},
    {"connectorLineStyle", "the line style of connectors"},
    {"customIconPath", "the path of the icon"},
    {"friendlyName", "the friendly name"},
    {"maxValue", "the upper bound"},
    {"minValue", "the lower bound"},
    {"p_Units", "the units of a value", true},
    {"units", "the units", true},
};

/// How many losses an error names.
constexpr std::size_t fewEnough = 3;

} // namespace

std::string inWords(const Loss& loss) {
  const auto found = std::ranges::find(allWords, loss.what, &Words::name);
  if (found == std::end(allWords))
    return loss.what + " " + loss.effect;
  const bool isSingular = loss.effect.starts_with("is ");
  return std::string(found->words) +
         (found->plural && isSingular ? " are " + loss.effect.substr(3) : " " + loss.effect);
}

std::string summaryOf(const std::vector<Loss>& losses) {
  std::string text;
  for (std::size_t i = 0; i < std::min(losses.size(), fewEnough); ++i)
    text += (i ? "; " : "") + (losses[i].object.empty() ? "" : losses[i].object + ": ") + inWords(losses[i]);
  return losses.size() > fewEnough ? text + "; and " + std::to_string(losses.size() - fewEnough) + " more" : text;
}

void exportForRelease(const tavo::Model& model, const tavo::String& name, const std::filesystem::path& path,
                      const tavo::String& release, Losses losses, std::vector<Loss>* told) {
  try {
    if (ReleaseRegistry::getFamilyVersionForKavraRelease(release).empty())
      raise(ProfileError::NoWayToRelease, release);
    const tavo::String present(ReleaseRegistry::releases().back().release);
    std::vector<Loss> found;
    const auto exported = Evolver::evolve(present, release, tavo::modelText(model), {}, &found);
    if (told)
      *told = found;
    if (losses == Losses::refuse && !found.empty())
      raise(ProfileError::ReleaseLoses, release, found.size(), summaryOf(found));

    const auto write = [&](tavo::ByteSink& sink) { sink.write(tavo::toUtf8(exported)); };
    const auto openAgain = [&](const std::filesystem::path& written) {
      tavo::InputFile file(written);
      const auto again = tavo::Model::create();
      tavo::readModel(file, path.string(), again);
      if (Evolver::evolve(present, release, tavo::modelText(again), {}) != exported)
        raise(ProfileError::ExportDiffers, release);
    };
    tavo::saveAtomically(path, write, tavo::Expectation::anything(), openAgain);
  } catch (const tavo::Error& error) {
    raiseBecause(error, ProfileError::CannotExportToPrevious, name, release, path.native());
  }
}

} // namespace zelkor::property::evolution
