#include "tools/zelkor/command/Source.h"

#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/ProfileBuilder.h"
#include "tools/zelkor/text/ProfileReader.h"

#include "kavra/Text.h"
#include "zelkor/profile/Profile.h"

namespace zelkor::command {
namespace {

/// The profile that a text is compiled onto; empty when there is none, or with a finding when it is another one.
tavo::Model formerProfile(const std::filesystem::path& output, const text::ProfileText& description,
                          text::Findings& findings) {
  std::error_code ignored; // reading says what is wrong
  if (!std::filesystem::exists(output, ignored))
    return {};
  auto model = readProfile(output);
  auto name = kavra::toUtf8(profile::Profile::getProfile(model).getName());
  if (name != description.name.value && !(description.was && description.was->value == name))
    findings.add(description.name.place, description.name.value, text::TextError::OtherProfile, output.string(), name,
                 description.name.value);
  return model;
}

} // namespace

Compiled compileText(const std::filesystem::path& input, std::filesystem::path output, Surroundings& surroundings,
                     text::Findings& findings) {
  auto description = text::readProfileText(readFile(input), input, findings);
  if (!findings.empty())
    return {};
  auto& name = description.name;
  if (output.empty())
    output = std::filesystem::path(input).replace_filename(name.value + ".xml");
  if (output.stem() != name.value)
    findings.add(name.place, name.value, text::TextError::OutputName, output.string(), name.value);
  auto before = findings.empty() ? formerProfile(output, description, findings) : tavo::Model();
  if (!findings.empty())
    return {};
  surroundings.lookIn({folderOf(output), folderOf(input)});
  auto model = text::buildProfile(description, before, surroundings.classes(), findings);
  return {std::move(description), std::move(output), std::move(model)};
}

tavo::Model readSource(const std::filesystem::path& input, Surroundings& surroundings, text::Findings& findings) {
  if (input.extension() == ".toml")
    return compileText(input, {}, surroundings, findings).model;
  surroundings.lookIn({folderOf(input)});
  return readProfile(input);
}

} // namespace zelkor::command
