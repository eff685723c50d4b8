// The command line of `zelkor`.
#include "tools/zelkor/command/Commands.h"
#include "tools/zelkor/command/Version.h"
#include "tools/zelkor/model/CommandLine.h"
#include "tools/zelkor/text/Spelling.h"

#include <CLI/CLI.hpp>

#include <iostream>

using namespace zelkor::command;

namespace {

/// A script for bash, made from the subcommands and options that there are.
std::string completionScript(const CLI::App& app) {
  std::string script = "_zelkor() {\n  local word=${COMP_WORDS[COMP_CWORD]} words\n  case ${COMP_WORDS[1]} in\n";
  std::string names;
  for (auto* command : app.get_subcommands({})) {
    std::string options;
    for (auto* option : command->get_options()) {
      for (auto& name : option->get_lnames())
        options += " --" + name;
      for (auto& name : option->get_snames())
        options += " -" + name;
    }
    script += "    " + command->get_name() + ") words='" + options + "' ;;\n";
    names += " " + command->get_name();
  }
  script += "    *) words='" + names +
            " --help --version' ;;\n  esac\n"
            "  if [ \"$COMP_CWORD\" -eq 1 ]; then words='" +
            names +
            " --help --version'; fi\n"
            "  if [ \"${COMP_WORDS[COMP_CWORD-1]}\" = --release ]; then words='" +
            releaseNames() +
            "'; fi\n"
            "  COMPREPLY=($(compgen -W \"$words\" -- \"$word\") )\n"
            "  if [ \"$COMP_CWORD\" -gt 1 ] && [ \"${word#-}\" = \"$word\" ]; then\n"
            "    COMPREPLY+=($(compgen -f -- \"$word\"))\n  fi\n}\ncomplete -o filenames -F _zelkor zelkor\n";
  return script;
}

/// What is wrong with a command line that begins with `first`, and what may have been meant.
std::string complaint(const CLI::App& app, const CLI::Error& error, const std::string& first) {
  if (app.get_subcommands().empty() && !first.empty() && !first.starts_with('-')) {
    std::vector<std::string> names;
    for (const auto* command : app.get_subcommands({}))
      names.push_back(command->get_name());
    return "There is no subcommand \"" + first + "\"" + zelkor::text::suggestion(first, names) +
           "\nRun with --help for more information.\n";
  }
  const bool isExtra = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
  const std::string hint = isExtra ? "What begins with a dash and is no option stands behind --.\n" : "";
  return hint + CLI::FailureMessage::simple(&app, error);
}

} // namespace

int main(int argc, char** argv) {
  CLI::App app("Works on profiles of architecture models, and on models that use them.", "zelkor");
  app.set_version_flag("--version", std::string("zelkor ") + version);
  app.require_subcommand(1);
  app.failure_message([first = std::string(argc > 1 ? argv[1] : "")](const CLI::App* failed, const CLI::Error& error) {
    return complaint(*failed, error, first);
  });
  app.footer("Exit status: 0, 1 with findings, 2 for a command line that makes no sense.\n"
             "Profiles and enumerations are looked for beside the file and in the folders of ZELKOR_PATH.");
  std::string input, output;
  std::vector<std::string> inputs;
  bool json = false;
  int status = success;

  auto* compileCommand = app.add_subcommand("compile", "Make a profile from its text form");
  compileCommand->add_option("FILE", input, "The text, FILE.toml")->required();
  compileCommand->add_option("-o,--output", output, "The profile; beside the text by default");
  compileCommand->callback([&] { status = compile(input, output); });

  auto* decompileCommand = app.add_subcommand("decompile", "Write the text form of a profile");
  decompileCommand->add_option("FILE", input, "The profile, FILE.xml")->required();
  decompileCommand->add_option("-o,--output", output, "The text; the standard output by default");
  decompileCommand->callback([&] { status = decompile(input, output); });

  auto* showCommand = app.add_subcommand("show", "Print what a profile holds");
  showCommand->add_option("FILE", input, "The profile, FILE.xml, or its text")->required();
  showCommand->add_flag("--json", json, "As JSON");
  showCommand->callback([&] { status = show(input, json); });

  auto* checkCommand = app.add_subcommand("check", "Find everything that is wrong with profiles");
  checkCommand->add_option("FILES", inputs, "The profiles, or their texts")->required();
  checkCommand->add_flag("--json", json, "As JSON, on the standard output");
  checkCommand->callback([&] { status = check(inputs, json); });

  std::string release;
  bool strict = false, backup = false, leaveOut = false;
  auto* releasesCommand = app.add_subcommand("releases", "List the releases and their versions of the schema");
  releasesCommand->add_flag("--json", json, "As JSON");
  releasesCommand->callback([&] { status = listReleases(json); });

  auto* exportCommand = app.add_subcommand("export", "Write a profile or model for another release");
  exportCommand->add_option("FILE", input, "The profile or model, FILE.xml")->required();
  exportCommand->add_option("--release", release, "The release, see releases")->required();
  exportCommand->add_option("-o,--output", output, "The file to write")->required();
  exportCommand->add_flag("--strict", strict, "Write nothing if something would be lost");
  exportCommand->add_flag("--json", json, "Tell what is lost as JSON");
  exportCommand->callback([&] { status = exportFile(input, release, output, strict, json); });

  auto* upgradeCommand = app.add_subcommand("upgrade", "Bring files of older releases up to date");
  upgradeCommand->add_option("FILES", inputs, "The profiles or models")->required();
  upgradeCommand->add_flag("--backup", backup, "Keep each old file, as FILE.VERSION");
  upgradeCommand->add_flag("--leave-out", leaveOut,
                           "Also models that say what cannot be taken over, without it; the old"
                           " file is kept");
  upgradeCommand->add_flag("--json", json, "As JSON");
  upgradeCommand->callback([&] { status = upgradeFiles(inputs, backup, leaveOut, json); });

  addModelCommands(app, status);

  auto* completion = app.add_subcommand("completion", "Print a completion script for bash");
  completion->callback([&] { std::cout << completionScript(app); });

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? success : misuse;
  } catch (const std::exception& error) {
    std::cerr << "zelkor: " << error.what() << '\n';
    return findings;
  }
  std::cout.flush();
  return std::cout ? status : findings;
}
