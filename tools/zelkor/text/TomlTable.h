// A table of a TOML text, as the reader of profiles asks about it.
#pragma once

#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/Findings.h"

#include <toml++/toml.h>

namespace zelkor::text {

Place placeOf(const toml::source_position& position);
Place placeOf(const toml::node& node);

/// Whoever reads a table asks for each key it knows, and at the end for those that nobody asked for. Values of the
/// wrong kind become findings and are then as if they were not there.
class TomlTable {
public:
  /// `kind` is what messages call the table; `owner` comes before the names of the things in it.
  TomlTable(const toml::table& table, std::string kind, std::string owner, Findings& findings);

  Place place() const { return placeOf(*table_); }
  const std::string& element() const { return element_; }
  const std::string& kind() const { return kind_; }
  /// Findings in this table are about this thing from now on.
  void setElement(std::string element) { element_ = std::move(element); }

  template <class... Args>
  void report(Place where, tavo::ErrorId id, const Args&... args) {
    findings_->add(where, element_, id, args...);
  }
  void wrongKind(const toml::node& node, std::string_view key, std::string_view expected);

  /// Null when the key is not there.
  const toml::node* find(std::string_view key);
  std::optional<Text> text(std::string_view key);
  /// The text without its place; empty when the key is not there.
  std::string plainText(std::string_view key);
  std::vector<Text> texts(std::string_view key);
  /// The table under a key, for which messages have their own word.
  std::optional<TomlTable> table(std::string_view key, std::string kind, std::string_view expected);

  /// The tables of an array of tables, in the order of the text.
  template <class Read>
  void tables(std::string_view key, const std::string& kind, Read&& read) {
    auto* node = find(key);
    if (!node)
      return;
    auto* array = node->as_array();
    if (!array)
      return wrongKind(*node, key, "an array of tables, each with a head [[" + std::string(key) + "]]");
    for (auto& item : *array) {
      if (auto* table = item.as_table())
        read(TomlTable(*table, kind, element_, *findings_));
      else
        wrongKind(item, key, "an array of tables");
    }
  }

  /// Complains about what nobody has asked for.
  void finish();

private:
  const toml::table* table_;
  std::string kind_;
  std::string element_;
  Findings* findings_;
  std::vector<std::string> asked_;
};

/// A text in quotes, or one that no text in quotes can be, in the form { escaped = "\\uD800" }. Nothing for all else.
std::optional<std::string> textOf(const toml::node& node);

} // namespace zelkor::text
