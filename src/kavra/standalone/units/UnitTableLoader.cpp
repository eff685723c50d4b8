// Reads the text form of a unit table.
#include "kavra/Text.h"
#include "kavra/standalone/units/UnitErrors.h"
#include "kavra/standalone/units/UnitTable.h"

#include <toml++/toml.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <initializer_list>

namespace kavra::standalone {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// An exact number: digits with an optional point and exponent.
std::optional<Fraction> parseDecimal(std::string_view text) {
  constexpr std::size_t maxLength = 60;
  constexpr int maxExponent = 99;
  boost::multiprecision::cpp_int digits = 0;
  int exponent = 0;
  bool pointSeen = false, digitSeen = false;
  std::size_t i = 0;
  if (text.size() > maxLength)
    return {};
  for (; i < text.size() && (isDigit(text[i]) || (text[i] == '.' && !pointSeen)); ++i) {
    if (text[i] == '.') {
      pointSeen = true;
      continue;
    }
    digits = digits * 10 + (text[i] - '0');
    digitSeen = true;
    exponent -= pointSeen ? 1 : 0;
  }
  if (i < text.size() && text[i] == 'e') {
    int stated = 0;
    auto [end, error] = std::from_chars(text.data() + i + 1, text.data() + text.size(), stated);
    if (error != std::errc() || std::abs(stated) > maxExponent)
      return {};
    exponent += stated;
    i = static_cast<std::size_t>(end - text.data());
  }
  if (!digitSeen || i != text.size() || digits == 0)
    return {};
  boost::multiprecision::cpp_int power =
      pow(boost::multiprecision::cpp_int(10), static_cast<unsigned>(std::abs(exponent)));
  return exponent < 0 ? Fraction(digits, power) : Fraction(digits * power);
}

/// A decimal, or two with a slash between them.
std::optional<Fraction> parseNumber(std::string_view text) {
  auto slash = text.find('/');
  auto above = parseDecimal(text.substr(0, slash));
  if (!above || slash == text.npos)
    return above;
  auto below = parseDecimal(text.substr(slash + 1));
  return below ? std::optional(Fraction(*above / *below)) : std::nullopt;
}

} // namespace

/// Fills a table from TOML, and says where the text is wrong.
class UnitTable::Loader {
public:
  explicit Loader(UnitTable& table) : table_(table) {}

  void load(std::string_view text) {
    toml::table root;
    try {
      root = toml::parse(text);
    } catch (const toml::parse_error& error) {
      fail(error.source(), std::string(error.description()));
    }
    checkKeys(root, {"prefix", "group", "mistaken"});
    eachTable(root, "prefix", [&](const toml::table& prefix) { addPrefix(prefix); });
    eachTable(root, "group", [&](const toml::table& group) {
      checkKeys(group, {"title", "unit"});
      auto title = requiredText(group, "title");
      eachTable(group, "unit", [&](const toml::table& unit) { addUnit(unit, title); });
    });
    if (auto mistaken = root["mistaken"].as_table())
      for (auto&& [word, meant] : *mistaken)
        addMistaken(wide(word.str(), meant), wide(meant.value_or(std::string()), meant), meant);
  }

private:
  [[noreturn]] static void fail(const toml::source_region& place, const std::string& what) {
    auto line = place.begin.line;
    raise(UnitError::BadTable, {(line ? u"line " + fromAscii(std::to_string(line)) + u": " : std::u16string()) +
                                fromUtf8(what).value_or(u"")});
  }

  static void checkKeys(const toml::table& table, std::initializer_list<std::string_view> known) {
    for (auto&& [key, value] : table)
      if (std::find(known.begin(), known.end(), key.str()) == known.end())
        fail(value.source(), "'" + std::string(key.str()) + "' is not a known key");
  }

  template <class Visit>
  static void eachTable(const toml::table& parent, std::string_view key, const Visit& visit) {
    auto node = parent.get(key);
    if (!node)
      return;
    auto array = node->as_array();
    if (!array || !(array->empty() || array->is_homogeneous(toml::node_type::table)))
      fail(node->source(), "'" + std::string(key) + "' should be an array of tables");
    for (auto&& element : *array)
      visit(*element.as_table());
  }

  static std::u16string wide(std::string_view text, const toml::node& place) {
    auto result = fromUtf8(text);
    if (!result || result->empty())
      fail(place.source(), "a text is missing");
    return unified(*result);
  }

  static std::string text(const toml::table& table, std::string_view key) {
    auto node = table.get(key);
    if (node && !node->is_string())
      fail(node->source(), "'" + std::string(key) + "' should be a text");
    return node ? node->value_or(std::string()) : std::string();
  }

  static std::string requiredText(const toml::table& table, std::string_view key) {
    auto result = text(table, key);
    if (result.empty())
      fail(table.source(), "'" + std::string(key) + "' is missing");
    return result;
  }

  static std::vector<std::u16string> texts(const toml::table& table, std::string_view key) {
    std::vector<std::u16string> result;
    auto node = table.get(key);
    if (!node)
      return result;
    auto array = node->as_array();
    if (!array || !(array->empty() || array->is_homogeneous(toml::node_type::string)))
      fail(node->source(), "'" + std::string(key) + "' should be an array of texts");
    for (auto&& element : *array)
      result.push_back(wide(element.value_or(std::string()), element));
    return result;
  }

  void addPrefix(const toml::table& table) {
    checkKeys(table, {"symbols", "name", "factor", "family"});
    auto factor = parseNumber(requiredText(table, "factor"));
    if (!factor)
      fail(table.source(), "'factor' is not a number");
    table_.prefixes_.push_back(
        {texts(table, "symbols"), wide(requiredText(table, "name"), table), requiredText(table, "family"), *factor});
  }

  void addUnit(const toml::table& table, const std::string& group) {
    checkKeys(table, {"symbol", "also", "names", "doc", "base", "is", "zero", "prefixes"});
    UnitEntry entry;
    entry.symbol = wide(requiredText(table, "symbol"), table);
    entry.aliases = texts(table, "also");
    entry.names = texts(table, "names");
    entry.group = group;
    entry.description = text(table, "doc");
    entry.definition = text(table, "is");
    entry.baseOf = text(table, "base");
    if (entry.definition.empty() == entry.baseOf.empty())
      fail(table.source(), "a unit has either 'base' or 'is'");
    if (entry.baseOf.empty()) {
      readDefinition(entry, table);
    } else {
      entry.unit.dimension = Dimension::base(static_cast<std::uint32_t>(table_.baseUnits_.size()));
      table_.baseUnits_.push_back(static_cast<std::uint16_t>(table_.units_.size()));
    }
    if (auto zero = text(table, "zero"); !zero.empty()) {
      auto number = parseNumber(zero);
      if (!number)
        fail(table.source(), "'zero' is not a number");
      entry.unit.zero = *number;
    }
    readPrefixes(entry, table);
    addWords(entry, table);
    table_.units_.push_back(std::move(entry));
  }

  /// "[number] [pi] unit", the parts separated by one blank.
  void readDefinition(UnitEntry& entry, const toml::table& table) {
    std::string_view rest = entry.definition;
    bool exact = true;
    auto takePart = [&](auto&& use) {
      auto blank = rest.find(' ');
      if (blank != rest.npos && use(rest.substr(0, blank)))
        rest.remove_prefix(blank + 1);
    };
    takePart([&](std::string_view part) {
      auto number = parseNumber(part);
      if (number)
        exact = entry.unit.factor.multiply(ExactFactor(*number), 1);
      return number.has_value();
    });
    takePart([&](std::string_view part) {
      if (part != "pi" && part != "pi^-1")
        return false;
      exact = exact && entry.unit.factor.multiply(ExactFactor::pi(), part == "pi" ? 1 : -1);
      return true;
    });
    entry.differenceUnit = wide(rest, table);
    Unit defining;
    try {
      defining = table_.read(entry.differenceUnit);
    } catch (const Error& error) {
      // The position counts within the definition; what is missing is where that stands.
      fail(table.source(), "'" + toUtf8(entry.symbol) + "': " + error.what());
    }
    if (defining.hasOwnZero() || !exact || !entry.unit.multiply(defining, 1))
      fail(table.source(),
           "'" + toUtf8(entry.symbol) + "': cannot be defined by '" + toUtf8(entry.differenceUnit) + "'");
  }

  void readPrefixes(UnitEntry& entry, const toml::table& table) {
    auto words = text(table, "prefixes");
    if (!words.empty() && entry.unit.hasOwnZero())
      fail(table.source(), "a unit with a zero point of its own takes no prefixes");
    for (std::size_t start = 0; start < words.size();) {
      auto end = std::min(words.find(' ', start), words.size());
      auto word = words.substr(start, end - start);
      auto before = entry.prefixes.size();
      for (std::size_t k = 0; k < table_.prefixes_.size(); ++k)
        if (auto& prefix = table_.prefixes_[k]; prefix.family == word || toUtf8(prefix.symbols.front()) == word)
          entry.prefixes.push_back(static_cast<std::uint16_t>(k));
      if (entry.prefixes.size() == before)
        fail(table.source(), "'" + word + "' is not a prefix");
      start = end + 1;
    }
  }

  void addWords(const UnitEntry& entry, const toml::table& table) {
    auto add = [&](const std::u16string& word, int prefix) {
      Word value{static_cast<std::uint16_t>(table_.units_.size()), static_cast<std::int16_t>(prefix)};
      if (!table_.words_.emplace(word, value).second)
        fail(table.source(), "'" + toUtf8(word) + "' has a meaning already");
    };
    auto addSymbol = [&](const std::u16string& symbol) {
      add(symbol, -1);
      for (auto prefix : entry.prefixes)
        for (auto& sign : table_.prefixes_[prefix].symbols)
          add(sign + symbol, prefix);
    };
    addSymbol(entry.symbol);
    for (auto& alias : entry.aliases)
      addSymbol(alias);
    for (auto& name : entry.names) {
      add(name, -1);
      for (auto prefix : entry.prefixes)
        add(table_.prefixes_[prefix].name + name, prefix);
    }
  }

  void addMistaken(const std::u16string& word, const std::u16string& meant, const toml::node& place) {
    if (table_.find(word))
      fail(place.source(), "'" + toUtf8(word) + "' has a meaning already");
    try {
      table_.read(meant);
    } catch (const Error& error) {
      fail(place.source(), error.what()); // advice that is itself refused would be worse than none
    }
    table_.mistaken_.insert_or_assign(word, meant);
  }

  UnitTable& table_;
};

void UnitTable::add(std::string_view toml) {
  UnitTable extended = *this;
  Loader(extended).load(toml);
  *this = std::move(extended);
}

} // namespace kavra::standalone
