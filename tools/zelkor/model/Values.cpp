// values and get: what elements hold, for people, as JSON and as a table.
#include "tools/zelkor/model/ModelCommands.h"
#include "tools/zelkor/model/OpenModel.h"
#include "tools/zelkor/model/Running.h"
#include "tools/zelkor/model/Table.h"

#include "kavra/Text.h"
#include "zelkor/meta/ValueStruct.h"
#include "zelkor/property/RealType.h"
#include "zelkor/property/Value.h"
#include "zelkor/property/ValueType.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>

namespace zelkor::command {
namespace {

using kavra::toUtf8;
using nlohmann::ordered_json;

struct Row {
  std::string element, property, expression, units;
  bool own;
};

Row rowOf(const Element& element, const tavo::String& property) {
  const auto value = element.getPropValObject(property);
  const auto type = value.getType().as<property::RealType>();
  const auto units = value.units().empty() && type ? type.units() : value.units();
  return {toUtf8(element.getPath()), toUtf8(property), toUtf8(value.getExpression()), toUtf8(units),
          !element.isPropValDefault(property)};
}

void printText(const std::vector<Row>& rows) {
  std::size_t width = 0;
  for (const auto& row : rows)
    width = std::max(width, row.property.size());
  const std::string* element = nullptr;
  for (const auto& row : rows) {
    if (!element || *element != row.element)
      std::cout << row.element << '\n';
    element = &row.element;
    std::cout << (row.own ? "  * " : "    ") << row.property << std::string(width - row.property.size() + 2, ' ')
              << row.expression << (row.units.empty() ? "" : " " + row.units) << '\n';
  }
}

void printTable(const std::vector<Row>& rows) {
  std::cout << "element,property,expression,units,own\n";
  for (const auto& row : rows)
    std::cout << tableCell(row.element) << ',' << tableCell(row.property) << ',' << tableCell(row.expression) << ','
              << tableCell(row.units) << ',' << (row.own ? "yes" : "no") << '\n';
}

ordered_json asJson(const Row& row) {
  return {{"property", row.property}, {"expression", row.expression}, {"units", row.units}, {"own", row.own}};
}

} // namespace

int values(const std::filesystem::path& model, TableFormat format) {
  return reporting(model, {}, format == TableFormat::json, [&] {
    const OpenModel open(model);
    open.tellOfChanges();
    std::vector<Row> rows;
    auto json = ordered_json::array();
    for (const auto& element : open.elements()) {
      const auto first = rows.size();
      for (const auto& property : element.getPropertyNames())
        rows.push_back(rowOf(element, property));
      if (format != TableFormat::json)
        continue;
      auto stereotypes = ordered_json::array(), missing = ordered_json::array(), held = ordered_json::array();
      for (const auto& name : element.getPrototypeNames())
        stereotypes.push_back(toUtf8(name));
      for (const auto& name : element.getMissingPrototypeNames())
        missing.push_back(toUtf8(name));
      for (auto i = first; i < rows.size(); ++i)
        held.push_back(asJson(rows[i]));
      json.push_back({{"element", toUtf8(element.getPath())},
                      {"id", tavo::toText(element.Uuid())},
                      {"kind", toUtf8(element.getElementKind())},
                      {"stereotypes", stereotypes},
                      {"missing", missing},
                      {"values", held}});
    }
    if (format == TableFormat::json)
      printJson({{"elements", json}});
    else if (format == TableFormat::csv)
      printTable(rows);
    else
      printText(rows);
  });
}

int getValue(const std::filesystem::path& model, const std::string& element, const std::string& property, bool json) {
  return reporting(model, element, json, [&] {
    const OpenModel open(model);
    open.tellOfChanges();
    const auto found = open.element(element);
    const auto row = rowOf(found, OpenModel::property(found, property));
    if (json)
      printJson(asJson(row));
    else
      std::cout << row.expression << (row.units.empty() ? "" : " " + row.units) << '\n';
  });
}

} // namespace zelkor::command
