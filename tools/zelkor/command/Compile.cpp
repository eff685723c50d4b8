// compile and decompile.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Files.h"
#include "tools/zelkor/command/Report.h"
#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/ProfileBuilder.h"
#include "tools/zelkor/text/ProfileDescriber.h"
#include "tools/zelkor/text/ProfileReader.h"
#include "tools/zelkor/text/ProfileWriter.h"

#include "kavra/Text.h"
#include "kavra/standalone/EnumerationFile.h"
#include "tavo/xml/ModelXml.h"

#include <iostream>

namespace zelkor::command {
namespace {

std::filesystem::path folderOf(const std::filesystem::path& path) {
  return std::filesystem::absolute(path).parent_path();
}

std::string fileText(const tavo::Model& model) { return tavo::modelText(model).toUtf8(); }

/// The profile that a text is compiled onto; empty when there is none.
tavo::Model formerProfile(const std::filesystem::path& output) {
  std::error_code ignored; // reading says what is wrong
  return std::filesystem::exists(output, ignored) ? readProfile(output) : tavo::Model();
}

/// Compiles into what is to be written; findings say what is wrong.
void compileInto(Output& files, const std::filesystem::path& input, std::filesystem::path output,
                 text::Findings& findings) {
  Surroundings surroundings;
  auto description = text::readProfileText(readFile(input), input, findings);
  if (!findings.empty())
    return;
  if (output.empty())
    output = std::filesystem::path(input).replace_filename(description.name.value + ".xml");
  if (output.stem() != description.name.value) {
    findings.add(description.name.place, description.name.value, text::TextError::OutputName, output.string(),
                 description.name.value);
    return;
  }
  surroundings.lookIn({folderOf(output), folderOf(input)});

  auto model = text::buildProfile(description, formerProfile(output), surroundings.classes(), findings);
  if (!model)
    return;
  for (auto& enumeration : text::enumerationsOf(description))
    files.add(folderOf(output) / kavra::enumerationFileName(enumeration.name), kavra::renderEnumeration(enumeration));
  files.add(output, fileText(model));
}

} // namespace

int compile(const std::filesystem::path& input, const std::filesystem::path& output) {
  text::Findings found(input.string());
  try {
    Output files;
    compileInto(files, input, output, found);
    if (found.empty())
      files.write();
  } catch (...) {
    addCurrent(found);
  }
  print(found.sorted());
  return found.empty() ? success : findings;
}

int decompile(const std::filesystem::path& input, const std::filesystem::path& output) {
  text::Findings found(input.string());
  try {
    Surroundings surroundings;
    surroundings.lookIn({folderOf(input)});
    auto model = readProfile(input);
    auto written = text::writeProfileText(text::describeProfile(model, input.string(), surroundings.classes()));
    if (output.empty()) {
      std::cout << written << std::flush;
      if (!std::cout)
        tavo::raise(text::TextError::CannotPrint);
    } else {
      Output files;
      files.add(output, written);
      files.write();
    }
  } catch (...) {
    addCurrent(found);
  }
  print(found.sorted());
  return found.empty() ? success : findings;
}

} // namespace zelkor::command
