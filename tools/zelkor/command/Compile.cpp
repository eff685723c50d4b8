// compile and decompile.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Report.h"
#include "tools/zelkor/command/Source.h"
#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/ProfileBuilder.h"
#include "tools/zelkor/text/ProfileDescriber.h"
#include "tools/zelkor/text/ProfileWriter.h"

#include "kavra/standalone/EnumerationFile.h"
#include "tavo/xml/ModelXml.h"

#include <iostream>

namespace zelkor::command {
namespace {

/// Compiles into what is to be written; findings say what is wrong.
void compileInto(Output& files, const std::filesystem::path& input, const std::filesystem::path& output,
                 text::Findings& findings) {
  Surroundings surroundings;
  auto compiled = compileText(input, output, surroundings, findings);
  if (!compiled.model)
    return;
  for (auto& enumeration : text::enumerationsOf(compiled.description))
    files.add(folderOf(compiled.output) / kavra::enumerationFileName(enumeration.name),
              kavra::renderEnumeration(enumeration));
  files.add(compiled.output, tavo::modelText(compiled.model).toUtf8());
}

std::string decompiled(const std::filesystem::path& input) {
  Progress progress("decompiling " + input.string());
  Surroundings surroundings;
  surroundings.lookIn({folderOf(input)});
  auto model = readProfile(input);
  return text::writeProfileText(text::describeProfile(model, input.string(), surroundings.classes()));
}

} // namespace

int compile(const std::filesystem::path& input, const std::filesystem::path& output) {
  text::Findings found(input.string());
  try {
    Progress progress("compiling " + input.string());
    refuseSameFile(input, output);
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
    refuseSameFile(input, output);
    auto written = decompiled(input);
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
