// set --from: many values at once, from a table.
#include "tools/zelkor/model/Errors.h"
#include "tools/zelkor/model/ModelCommands.h"
#include "tools/zelkor/model/OpenModel.h"
#include "tools/zelkor/model/Running.h"
#include "tools/zelkor/model/Table.h"
#include "tools/zelkor/text/Spelling.h"

#include "kavra/Text.h"
#include "tavo/model/Transaction.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <map>
#include <optional>

namespace zelkor::command {
namespace {

/// Where the columns stand that a table of values has.
struct Columns {
  explicit Columns(const TableRow& head)
      : element(require(head, "element")), property(require(head, "property")), expression(require(head, "expression")),
        units(find(head, "units")), own(find(head, "own")), count(head.cells.size()) {
    const std::vector<std::string> known = {"element", "property", "expression", "units", "own"};
    for (auto name = head.cells.begin(); name != head.cells.end(); ++name) {
      if (std::ranges::find(known, *name) == known.end())
        tavo::raise(ModelCommandError::UnknownColumn, *name, text::suggestion(*name, known));
      if (std::find(head.cells.begin(), name, *name) != name)
        tavo::raise(ModelCommandError::ColumnTwice, *name);
    }
  }

  static std::optional<std::size_t> find(const TableRow& head, const std::string& name) {
    const auto found = std::ranges::find(head.cells, name);
    return found == head.cells.end() ? std::nullopt
                                     : std::optional(static_cast<std::size_t>(found - head.cells.begin()));
  }
  static std::size_t require(const TableRow& head, const std::string& name) {
    const auto found = find(head, name);
    if (!found)
      tavo::raise(ModelCommandError::MissingColumn, name);
    return *found;
  }

  std::size_t element, property, expression;
  std::optional<std::size_t> units, own;
  std::size_t count;
};

/// Sets the values of a table, and finds everything that is wrong with it.
class Setting {
public:
  Setting(const OpenModel& open, const Columns& columns, text::Findings& findings)
      : open_(open), columns_(columns), findings_(findings) {}

  void set(const TableRow& row) {
    const auto cell = [&](std::optional<std::size_t> column) {
      return column && *column < row.cells.size() ? row.cells[*column] : std::string();
    };
    const auto name = cell(columns_.element), own = cell(columns_.own), expression = cell(columns_.expression),
               units = cell(columns_.units);
    Element element;
    tavo::String property;
    bool isValueWrong = false;
    auto column = columns_.count;
    try {
      if (row.cells.size() > columns_.count)
        tavo::raise(ModelCommandError::ExtraCell, row.cells[columns_.count]);
      if (own == "no")
        return; // a default that the table shows, and nobody wants to fix
      column = columns_.own.value_or(0);
      if (!own.empty() && own != "yes")
        tavo::raise(ModelCommandError::NotYesOrNo, own);
      column = columns_.element;
      element = open_.element(name);
      column = columns_.property;
      property = OpenModel::property(element, cell(columns_.property));
      column = columns_.expression;
      const auto [first, isFirst] = lines_.try_emplace({element.Uuid(), property}, row.line);
      if (!isFirst)
        tavo::raise(ModelCommandError::SetTwice, element.getPath(), property, first->second);
      // A table that shows values shows empty ones, too; anywhere else the value has been forgotten.
      if (expression.empty() && own.empty())
        tavo::raise(ModelCommandError::EmptyCell);
      isValueWrong = true;
      setValue(element, property, expression, units.empty() ? "*" : units);
    } catch (...) {
      const auto tell = [&](const std::exception_ptr& fault, std::size_t at) {
        try {
          std::rethrow_exception(fault);
        } catch (...) {
          addCurrent(findings_, {row.line, static_cast<std::uint32_t>(at + 1)}, name);
        }
      };
      if (!isValueWrong || units.empty())
        return tell(std::current_exception(), column);
      const auto ofUnits = faultOf(element, property, kavra::toUtf8(element.getPropVal(property).expression), units);
      const auto ofExpression = faultOf(element, property, expression, "*");
      if (ofExpression || !ofUnits)
        tell(ofExpression ? ofExpression : std::current_exception(), column);
      if (ofUnits)
        tell(ofUnits, *columns_.units);
    }
  }
  std::size_t count() const { return lines_.size(); }

private:
  static void setValue(const Element& element, const tavo::String& property, const std::string& expression,
                       const std::string& units) {
    element.setPropVal(property, tavo::String::fromUtf8(expression), tavo::String::fromUtf8(units));
  }
  /// What is wrong with a value by itself, or null.
  static std::exception_ptr faultOf(const Element& element, const tavo::String& property, const std::string& expression,
                                    const std::string& units) {
    const tavo::Transaction attempt(element.model());
    try {
      setValue(element, property, expression, units);
      return {};
    } catch (...) {
      return std::current_exception();
    }
  }

  const OpenModel& open_;
  const Columns& columns_;
  text::Findings& findings_;
  std::map<std::pair<tavo::Uuid, tavo::String>, std::uint32_t> lines_; ///< where each value is set
};

/// Sets what the table says and returns how many values that were. Without one, and with findings, nothing is set.
std::size_t setAll(const OpenModel& open, const std::filesystem::path& table, text::Findings& findings) {
  std::vector<TableRow> rows;
  std::optional<Columns> columns;
  text::Place place;
  try {
    rows = readTable(readFile(table));
    place = {1, 1};
    columns.emplace(rows.empty() ? TableRow{} : rows.front());
  } catch (...) {
    addCurrent(findings, place);
    return 0;
  }

  tavo::Transaction transaction(open.model());
  Setting setting(open, *columns, findings);
  for (auto row = rows.begin() + 1; row != rows.end(); ++row)
    setting.set(*row);
  if (findings.empty())
    transaction.commit();
  return setting.count();
}

} // namespace

int setValues(const std::filesystem::path& model, const std::filesystem::path& table) {
  text::Findings found(table.string());
  const auto status = reporting(model, {}, false, [&] {
    OpenModel open(model);
    open.tellOfChanges();
    open.telling([&] {
      const auto count = setAll(open, table, found);
      if (!found.empty())
        return;
      open.save();
      std::cout << count << " values set\n";
    });
  });
  return found.empty() ? status : report(found, false);
}

} // namespace zelkor::command
