// set --from: many values at once, from a table.
#include "tools/zelkor/model/Errors.h"
#include "tools/zelkor/model/ModelCommands.h"
#include "tools/zelkor/model/OpenModel.h"
#include "tools/zelkor/model/Running.h"
#include "tools/zelkor/model/Table.h"

#include "kavra/Text.h"
#include "tavo/model/Transaction.h"

#include <algorithm>
#include <iostream>
#include <optional>
#include <set>

namespace zelkor::command {
namespace {

/// Where the columns stand that a table of values has.
struct Columns {
  explicit Columns(const TableRow& head)
      : element(require(head, "element")), property(require(head, "property")), expression(require(head, "expression")),
        units(find(head, "units")), own(find(head, "own")) {
    for (const auto& name : head.cells)
      if (std::ranges::find(names, name) == std::end(names))
        tavo::raise(ModelCommandError::MissingColumn, name, "element, property, expression; units and own as well");
  }

  static std::optional<std::size_t> find(const TableRow& head, const std::string& name) {
    const auto found = std::ranges::find(head.cells, name);
    return found == head.cells.end() ? std::nullopt
                                     : std::optional(static_cast<std::size_t>(found - head.cells.begin()));
  }
  static std::size_t require(const TableRow& head, const std::string& name) {
    const auto found = find(head, name);
    if (!found)
      tavo::raise(ModelCommandError::MissingColumn, name, "element, property and expression");
    return *found;
  }

  static constexpr std::string_view names[] = {"element", "property", "expression", "units", "own"};
  std::size_t element, property, expression;
  std::optional<std::size_t> units, own;
};

/// Sets the values of a table, and finds everything that is wrong with it.
class Setting {
public:
  Setting(const OpenModel& open, const Columns& columns, text::Findings& findings)
      : open_(open), columns_(columns), findings_(findings) {}

  void set(const TableRow& row) {
    const auto cell = [&](std::size_t column) { return column < row.cells.size() ? row.cells[column] : std::string(); };
    if (columns_.own && cell(*columns_.own) == "no")
      return; // a default that the table shows, and nobody wants to fix
    const auto units = columns_.units ? cell(*columns_.units) : std::string();
    Element element;
    tavo::String property;
    if (!attempt(row, columns_.element, cell(columns_.element),
                 [&] { element = open_.element(cell(columns_.element)); }) ||
        !attempt(row, columns_.property, cell(columns_.element),
                 [&] { property = OpenModel::property(element, cell(columns_.property)); }))
      return;
    attempt(row, columns_.expression, cell(columns_.element), [&] {
      if (!set_.insert({element.Uuid(), property}).second)
        tavo::raise(ModelCommandError::SetTwice, element.getPath(), property);
      element.setPropVal(property, tavo::String::fromUtf8(cell(columns_.expression)),
                         units.empty() ? u"*" : tavo::String::fromUtf8(units));
      ++count_;
    });
  }
  std::size_t count() const { return count_; }

private:
  template <class Action>
  bool attempt(const TableRow& row, std::size_t column, const std::string& element, Action action) {
    try {
      action();
      return true;
    } catch (...) {
      addCurrent(findings_, {row.line, static_cast<std::uint32_t>(column + 1)}, element);
      return false;
    }
  }

  const OpenModel& open_;
  const Columns& columns_;
  text::Findings& findings_;
  std::set<std::pair<tavo::Uuid, tavo::String>> set_;
  std::size_t count_ = 0;
};

} // namespace

int setValues(const std::filesystem::path& model, const std::filesystem::path& table) {
  text::Findings found(table.string());
  const auto status = reporting(model, {}, [&] {
    OpenModel open(model);
    open.tellOfChanges();
    const auto rows = readTable(readFile(table));
    if (rows.empty())
      tavo::raise(ModelCommandError::MissingColumn, "element", "element, property and expression");
    const Columns columns(rows.front());
    Setting setting(open, columns, found);

    tavo::Transaction transaction(open.model());
    for (auto row = rows.begin() + 1; row != rows.end(); ++row)
      setting.set(*row);
    if (!found.empty())
      return; // and with it everything is as it was
    transaction.commit();
    open.save();
    std::cout << setting.count() << " values set\n";
  });
  print(found.sorted());
  return found.empty() ? status : findings;
}

} // namespace zelkor::command
