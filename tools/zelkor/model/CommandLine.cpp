#include "tools/zelkor/model/CommandLine.h"

#include "tools/zelkor/model/ModelCommands.h"

#include <memory>

namespace zelkor::command {
namespace {

/// What the command line says; one for all subcommands, of which only one is called.
struct Words {
  std::string model{}, name{}, profile{}, element{}, stereotype{}, property{}, value{}, units{}, table{}, source{},
      target{};
  std::string kind = "component";
  bool json = false, csv = false, isText = false, dryRun = false, missing = false;
};

/// A subcommand with its arguments in the order in which they are added.
class Command {
public:
  Command(CLI::App& app, const char* name, const char* description) : command_(app.add_subcommand(name, description)) {}

  Command& argument(const char* name, std::string& place, const char* description) {
    command_->add_option(name, place, description)->required();
    return *this;
  }
  Command& option(const char* name, std::string& place, const char* description) {
    command_->add_option(name, place, description);
    return *this;
  }
  Command& flag(const char* name, bool& place, const char* description) {
    command_->add_flag(name, place, description);
    return *this;
  }
  CLI::App* operator->() const { return command_; }
  template <class Action>
  void calls(int& status, Action action) {
    command_->callback([&status, action] { status = action(); });
  }

private:
  CLI::App* command_;
};

constexpr const char *modelDoc = "The model, FILE.xml", *elementDoc = "The element, by path or UUID",
                     *propertyDoc = "The property, as Profile.Stereotype.property or just its end";

} // namespace

void addModelCommands(CLI::App& app, int& status) {
  // As long as the app, which keeps the actions.
  const auto words = std::make_shared<Words>();
  auto& w = *words;

  Command(app, "new", "Make a model with nothing in it")
      .argument("MODEL", w.model, modelDoc)
      .option("--name", w.name, "The name of the architecture; that of the file by default")
      .calls(status, [words] { return newModel(words->model, words->name); });

  auto add = Command(app, "add", "Add an element to a model");
  add.argument("MODEL", w.model, modelDoc).argument("ELEMENT", w.element, "The path of the new element");
  add->add_option("--as", w.kind, "What it is: component, port or connector")
      ->check(CLI::IsMember({"component", "port", "connector"}));
  add.option("--source", w.source, "The port where a connector begins")
      .option("--target", w.target, "The port where it ends")
      .calls(status, [words] {
        if (words->kind != "connector" && !(words->source.empty() && words->target.empty()))
          throw CLI::ValidationError("--source and --target", "go with --as connector");
        return addElement(words->model, words->element, words->kind, words->source, words->target);
      });

  Command(app, "import", "Let a model use a profile")
      .argument("MODEL", w.model, modelDoc)
      .argument("PROFILE", w.profile, "The profile, by name")
      .calls(status, [words] { return importProfile(words->model, words->profile); });
  Command(app, "remove", "Remove a profile from a model, with all values that it brought")
      .argument("MODEL", w.model, modelDoc)
      .argument("PROFILE", w.profile, "The profile, by name")
      .flag("--missing", w.missing, "Also one that cannot be had; the values that it brought are gone then")
      .calls(status, [words] { return removeProfile(words->model, words->profile, words->missing); });

  Command(app, "apply", "Apply a stereotype to an element")
      .argument("MODEL", w.model, modelDoc)
      .argument("ELEMENT", w.element, elementDoc)
      .argument("STEREOTYPE", w.stereotype, "The stereotype, as Profile.Stereotype or just its name")
      .calls(status, [words] { return applyStereotype(words->model, words->element, words->stereotype); });
  Command(app, "unapply", "Take a stereotype off an element, with the values that only it brought")
      .argument("MODEL", w.model, modelDoc)
      .argument("ELEMENT", w.element, elementDoc)
      .argument("STEREOTYPE", w.stereotype, "The stereotype")
      .flag("--missing", w.missing, "Also one that cannot be had; the values that it brought are gone then")
      .calls(status,
             [words] { return unapplyStereotype(words->model, words->element, words->stereotype, words->missing); });

  auto set = Command(app, "set", "Give elements values of their own");
  set.argument("MODEL", w.model, modelDoc);
  auto* table = set->add_option("--from", w.table, "A table (CSV) of many values; all are set, or none");
  for (auto& [name, place, doc] :
       {std::tuple("ELEMENT", &w.element, elementDoc), std::tuple("PROPERTY", &w.property, propertyDoc),
        std::tuple("EXPRESSION", &w.value, "The value, as an expression: 3.5, 'a text', Colors.Red")})
    set->add_option(name, *place, doc)->excludes(table);
  set->add_option("--units", w.units, "Its units, '' for those of the type; without, they stay as they are")
      ->excludes(table);
  set->add_flag("--text", w.isText, "The value is a text and not an expression")->excludes(table);
  set->callback([words, &status, command = set.operator->()] {
    if (!words->table.empty())
      status = setValues(words->model, words->table);
    else if (command->get_option("EXPRESSION")->count() == 0)
      throw CLI::RequiredError("ELEMENT, PROPERTY and EXPRESSION, or --from");
    else
      status = setValue(words->model, words->element, words->property, words->value,
                        command->get_option("--units")->count() == 0 ? std::nullopt : std::optional(words->units),
                        words->isText);
  });

  Command(app, "get", "Print the value of a property")
      .argument("MODEL", w.model, modelDoc)
      .argument("ELEMENT", w.element, elementDoc)
      .argument("PROPERTY", w.property, propertyDoc)
      .flag("--json", w.json, "As JSON")
      .calls(status, [words] { return getValue(words->model, words->element, words->property, words->json); });
  Command(app, "clear", "Let an element read the default again")
      .argument("MODEL", w.model, modelDoc)
      .argument("ELEMENT", w.element, elementDoc)
      .argument("PROPERTY", w.property, propertyDoc)
      .calls(status, [words] { return clearValue(words->model, words->element, words->property); });

  auto list = Command(app, "values", "Print all values of a model; own ones are marked");
  list.argument("MODEL", w.model, modelDoc);
  list->add_flag("--csv", w.csv, "As a table")->excludes(list->add_flag("--json", w.json, "As JSON"));
  list.calls(status, [words] {
    return values(words->model, words->json ? TableFormat::json : words->csv ? TableFormat::csv : TableFormat::text);
  });

  Command(app, "sync", "Bring a model in line with its profiles")
      .argument("MODEL", w.model, modelDoc)
      .flag("--dry-run", w.dryRun, "Only tell what would happen")
      .flag("--json", w.json, "As JSON")
      .calls(status, [words] { return synchronize(words->model, words->dryRun, words->json); });

  Command(app, "explain", "Tell where a value comes from")
      .argument("MODEL", w.model, modelDoc)
      .argument("ELEMENT", w.element, elementDoc)
      .argument("PROPERTY", w.property, propertyDoc)
      .flag("--json", w.json, "As JSON")
      .calls(status, [words] { return explain(words->model, words->element, words->property, words->json); });
}

} // namespace zelkor::command
