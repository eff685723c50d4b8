#include "tools/zelkor/text/TomlTable.h"

#include "tools/zelkor/text/Spelling.h"
#include "tools/zelkor/text/Texts.h"

#include "tavo/xml/XmlText.h"

#include <algorithm>

namespace zelkor::text {

Place placeOf(const toml::source_position& position) { return {position.line, position.column}; }
Place placeOf(const toml::node& node) { return placeOf(node.source().begin); }

std::optional<std::string> textOf(const toml::node& node) {
  if (auto* string = node.as_string())
    return string->get();
  auto* table = node.as_table();
  auto* escaped = table && table->size() == 1 ? table->get_as<std::string>("escaped") : nullptr;
  auto text = escaped ? tavo::unescapeText(wide(escaped->get())) : std::nullopt;
  return text ? std::optional(narrow(*text)) : std::nullopt;
}

TomlTable::TomlTable(const toml::table& table, std::string kind, std::string owner, Findings& findings)
    : table_(&table), kind_(std::move(kind)), element_(std::move(owner)), findings_(&findings) {}

void TomlTable::wrongKind(const toml::node& node, std::string_view key, std::string_view expected) {
  report(placeOf(node), TextError::WrongKind, key, expected);
}

const toml::node* TomlTable::find(std::string_view key) {
  asked_.emplace_back(key);
  return table_->get(key);
}

std::optional<Text> TomlTable::text(std::string_view key) {
  auto* node = find(key);
  if (!node)
    return {};
  if (auto found = textOf(*node))
    return Text{std::move(*found), placeOf(*node)};
  wrongKind(*node, key, "a text in quotes");
  return {};
}

std::string TomlTable::plainText(std::string_view key) {
  auto found = text(key);
  return found ? found->value : std::string();
}

std::vector<Text> TomlTable::texts(std::string_view key) {
  std::vector<Text> result;
  auto* node = find(key);
  if (!node)
    return result;
  auto* array = node->as_array();
  if (!array) {
    wrongKind(*node, key, "a list of texts");
    return result;
  }
  for (auto& item : *array) {
    if (auto found = textOf(item))
      result.push_back({std::move(*found), placeOf(item)});
    else
      wrongKind(item, key, "a list of texts");
  }
  return result;
}

std::optional<TomlTable> TomlTable::table(std::string_view key, std::string kind, std::string_view expected) {
  auto* node = find(key);
  if (node && !node->is_table())
    wrongKind(*node, key, expected);
  return node && node->is_table() ? std::optional(TomlTable(*node->as_table(), std::move(kind), element_, *findings_))
                                  : std::nullopt;
}

void TomlTable::finish() {
  for (auto&& [key, node] : *table_) {
    std::string name(key.str());
    if (std::find(asked_.begin(), asked_.end(), name) != asked_.end())
      continue;
    Place where = placeOf(key.source().begin);
    report(where.line > 0 ? where : placeOf(node), TextError::UnknownKey, kind_, name, suggestion(name, asked_));
  }
}

} // namespace zelkor::text
