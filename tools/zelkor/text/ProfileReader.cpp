#include "tools/zelkor/text/ProfileReader.h"

#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/Keywords.h"
#include "tools/zelkor/text/Spelling.h"

#include "kavra/EnumerationClass.h"
#include "kavra/NameRules.h"
#include "kavra/Text.h"
#include "tavo/core/Uuid.h"

#include <toml++/toml.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <limits>

namespace zelkor::text {
namespace {

Place placeOf(const toml::source_position& position) { return {position.line, position.column}; }
Place placeOf(const toml::node& node) { return placeOf(node.source().begin); }

bool isName(const std::string& text) {
  auto wide = kavra::fromUtf8(text);
  return wide && kavra::isValidName(*wide);
}

std::string joined(const std::vector<std::string>& parts, const char* separator) {
  std::string text;
  for (auto& part : parts)
    text += (text.empty() ? "" : separator) + part;
  return text;
}

/// One table of the text. Whoever reads it asks for each key it knows, and at the end for those that nobody asked for.
class Table {
public:
  /// `kind` is what messages call the table; `owner` comes before the names of the things in it.
  Table(const toml::table& table, std::string kind, std::string owner, Findings& findings)
      : table_(&table), kind_(std::move(kind)), element_(std::move(owner)), findings_(&findings) {}

  Place place() const { return placeOf(*table_); }
  const std::string& element() const { return element_; }
  const std::string& kind() const { return kind_; }
  Findings& findings() { return *findings_; }
  /// Findings in this table are about this thing from now on.
  void setElement(std::string element) { element_ = std::move(element); }

  template <class... Args>
  void report(Place where, tavo::ErrorId id, const Args&... args) {
    findings_->add(where, element_, id, args...);
  }

  const toml::node* find(std::string_view key) {
    asked_.emplace_back(key);
    return table_->get(key);
  }

  std::optional<Text> text(std::string_view key) {
    auto* node = find(key);
    if (!node)
      return {};
    if (auto* string = node->as_string())
      return Text{string->get(), placeOf(*node)};
    wrongKind(*node, key, "a text in quotes");
    return {};
  }

  std::string plainText(std::string_view key) {
    auto found = text(key);
    return found ? found->value : std::string();
  }

  std::vector<Text> texts(std::string_view key) {
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
      if (auto* string = item.as_string())
        result.push_back({string->get(), placeOf(item)});
      else
        wrongKind(item, key, "a list of texts");
    }
    return result;
  }

  /// The tables of an array of tables, in the order of the text.
  template <class Read>
  void tables(std::string_view key, std::string kind, Read&& read) {
    auto* node = find(key);
    if (!node)
      return;
    auto* array = node->as_array();
    if (!array) {
      wrongKind(*node, key, "an array of tables, each with a head [[" + std::string(key) + "]]");
      return;
    }
    for (auto& item : *array) {
      if (auto* table = item.as_table())
        read(Table(*table, kind, element_, *findings_));
      else
        wrongKind(item, key, "an array of tables");
    }
  }

  void wrongKind(const toml::node& node, std::string_view key, std::string_view expected) {
    report(placeOf(node), TextError::WrongKind, key, expected);
  }

  /// Complains about what nobody has asked for.
  void finish() {
    for (auto&& [key, node] : *table_) {
      std::string name(key.str());
      if (std::find(asked_.begin(), asked_.end(), name) != asked_.end())
        continue;
      Place where = placeOf(key.source().begin);
      report(where.line > 0 ? where : placeOf(node), TextError::UnknownKey, kind_, name, suggestion(name, asked_));
    }
  }

private:
  const toml::table* table_;
  std::string kind_;
  std::string element_;
  Findings* findings_;
  std::vector<std::string> asked_;
};

class Reader {
public:
  Reader(const std::filesystem::path& file, Findings& findings) : file_(file), findings_(findings) {}

  ProfileText read(const toml::table& root) {
    ProfileText profile;
    profile.file = findings_.file();
    Table table(root, "The text", "", findings_);
    readProfile(table, profile);
    table.tables("enumeration", "[[enumeration]]", [&](Table item) { readEnumeration(item, profile); });
    table.tables("type", "[[type]]", [&](Table item) { readType(item, profile); });
    table.tables("set", "[[set]]", [&](Table item) { readSet(item, profile); });
    table.tables("stereotype", "[[stereotype]]", [&](Table item) { readStereotype(item, profile); });
    table.tables("tag", "[[tag]]", [&](Table item) { readTag(item, profile); });
    readIdentities(table, profile);
    table.finish();
    return profile;
  }

private:
  void readProfile(Table& root, ProfileText& profile) {
    auto* node = root.find("profile");
    if (node && !node->is_table())
      root.wrongKind(*node, "profile", "a table with the head [profile]");
    toml::table none;
    Table table(node && node->is_table() ? *node->as_table() : none, "[profile]", "", findings_);
    if (auto name = table.text("name"))
      profile.name = *name;
    else
      profile.name = {file_.stem().string(), {}};
    if (!isName(profile.name.value))
      table.report(profile.name.place, TextError::InvalidName, "profile", profile.name.value);
    readIdentity(table, profile);
    profile.friendlyName = table.plainText("friendlyName");
    profile.description = table.plainText("description");
    profile.defaultStereotype = table.text("defaultStereotype");
    profile.dependsOn = table.texts("dependsOn");
    for (auto& dependency : profile.dependsOn) {
      if (dependency.value == profile.name.value)
        table.report(dependency.place, TextError::Cycle, profile.name.value + " -> " + profile.name.value);
      else if (!isName(dependency.value))
        table.report(dependency.place, TextError::InvalidName, "profile", dependency.value);
    }
    refuseRepeated(table, "profile", profile.dependsOn);
    table.finish();
  }

  void readIdentity(Table& table, NamedText& named) {
    named.id = table.text("id");
    if (named.id && !tavo::parseUuid(named.id->value))
      table.report(named.id->place, TextError::InvalidIdentity, named.id->value);
    named.was = table.text("was");
    named.externalId = table.text("externalId");
  }

  /// Reads the name and what belongs to it. Things without a usable name are read all the same, for their other faults.
  template <class Thing>
  void readNamed(Table& table, const char* what, Thing& thing, const std::vector<Thing>& before) {
    std::string owner = table.element();
    if (auto name = table.text("name")) {
      thing.name = *name;
      table.setElement(owner.empty() ? name->value : owner + "." + name->value);
      if (!isName(name->value))
        table.report(name->place, TextError::InvalidName, what, name->value);
    } else if (!table.find("name")) {
      table.report(table.place(), TextError::MissingKey, table.kind(), "name");
    }
    for (auto& other : before) {
      if (!thing.name.value.empty() && other.name.value == thing.name.value)
        table.report(thing.name.place, TextError::DuplicateName, what, thing.name.value, other.name.place.line);
    }
    readIdentity(table, thing);
  }

  void readEnumeration(Table& table, ProfileText& profile) {
    EnumerationText enumeration;
    if (auto name = table.text("name")) {
      enumeration.name = *name;
      table.setElement(name->value);
      auto wide = kavra::fromUtf8(name->value);
      if (!wide || !kavra::isValidClassName(*wide))
        table.report(name->place, TextError::InvalidName, "enumeration", name->value);
    } else {
      table.report(table.place(), TextError::MissingKey, table.kind(), "name");
    }
    for (auto& other : profile.enumerations) {
      if (other.name.value == enumeration.name.value)
        table.report(enumeration.name.place, TextError::DuplicateName, "enumeration", enumeration.name.value,
                     other.name.place.line);
    }
    readMembers(table, enumeration);
    enumeration.defaultMember = table.text("default");
    if (auto& member = enumeration.defaultMember) {
      std::vector<std::string> names;
      for (auto& other : enumeration.members)
        names.push_back(other.name.value);
      if (std::find(names.begin(), names.end(), member->value) == names.end())
        table.report(member->place, TextError::UnknownName, "member", member->value, suggestion(member->value, names));
    }
    table.finish();
    profile.enumerations.push_back(std::move(enumeration));
  }

  void readMembers(Table& table, EnumerationText& enumeration) {
    auto* node = table.find("members");
    auto* members = node ? node->as_array() : nullptr;
    if (!node) {
      table.report(table.place(), TextError::MissingKey, table.kind(), "members");
    } else if (!members || members->empty()) {
      table.wrongKind(*node, "members", "a list of names, or of tables { name = \"...\", value = ... }");
    } else {
      std::int64_t next = 0;
      for (auto& item : *members)
        readMember(table, item, enumeration.members, next);
    }
  }

  void readMember(Table& table, const toml::node& item, std::vector<EnumerationText::Member>& members,
                  std::int64_t& next) {
    EnumerationText::Member member;
    if (auto* plain = item.as_string()) {
      member.name = {plain->get(), placeOf(item)};
    } else if (auto* inner = item.as_table()) {
      Table entry(*inner, "A member", table.element(), findings_);
      if (auto name = entry.text("name"))
        member.name = *name;
      else
        entry.report(placeOf(item), TextError::MissingKey, "A member", "name");
      if (auto* value = entry.find("value")) {
        if (auto* number = value->as_integer())
          member.value = {number->get(), placeOf(*value)};
        else
          entry.wrongKind(*value, "value", "an integer");
      }
      entry.finish();
    } else {
      table.wrongKind(item, "members", "a list of names, or of tables { name = \"...\", value = ... }");
      return;
    }

    auto place = member.value ? member.value->place : member.name.place;
    auto value = member.value ? member.value->value : next;
    using Range = std::numeric_limits<std::int32_t>;
    if (value < Range::min() || value > Range::max())
      table.report(place, TextError::WrongKind, "value", "an integer of 32 bits");
    next = value < Range::max() ? value + 1 : value;
    if (!isName(member.name.value))
      table.report(member.name.place, TextError::InvalidName, "member", member.name.value);
    for (auto& other : members) {
      if (other.name.value == member.name.value)
        table.report(member.name.place, TextError::DuplicateName, "member", member.name.value, other.name.place.line);
    }
    members.push_back(std::move(member));
  }

  void readType(Table& table, ProfileText& profile) {
    TypeText type;
    readNamed(table, "type", type, profile.types);
    if (auto& names = builtInTypes(); std::find(names.begin(), names.end(), type.name.value) != names.end())
      table.report(type.name.place, TextError::BuiltInName, type.name.value);
    type.base = table.text("base");
    type.enumeration = table.text("enumeration");
    if (type.base && type.enumeration)
      table.report(type.enumeration->place, TextError::OneOf, "\"base\" and \"enumeration\"");
    else if (!table.find("base") && !table.find("enumeration"))
      table.report(table.place(), TextError::MissingKey, table.kind(), "base");
    readShape(table, type);
    table.finish();
    profile.types.push_back(std::move(type));
  }

  void readShape(Table& table, ShapeText& shape) {
    shape.units = table.text("units");
    shape.min = bound(table, "min");
    shape.max = bound(table, "max");
    auto* node = table.find("dimensions");
    if (!node)
      return;
    At<std::vector<std::uint64_t>> dimensions{{}, placeOf(*node)};
    bool valid = node->is_array();
    if (valid) {
      for (auto& item : *node->as_array()) {
        auto* extent = item.as_integer();
        valid = valid && extent && extent->get() >= 0;
        if (valid)
          dimensions.value.push_back(static_cast<std::uint64_t>(extent->get()));
      }
    }
    if (valid)
      shape.dimensions = std::move(dimensions);
    else
      table.wrongKind(*node, "dimensions", "a list of extents, like [3] or [2, 3]");
  }

  std::optional<At<Literal>> bound(Table& table, std::string_view key) {
    auto* node = table.find(key);
    if (!node)
      return {};
    if (node->is_number())
      return At<Literal>{literal(*node).value(), placeOf(*node)};
    table.wrongKind(*node, key, "a number");
    return {};
  }

  /// Nothing for dates, tables and what holds them.
  static std::optional<Literal> literal(const toml::node& node, int depth = 0) {
    if (auto* flag = node.as_boolean())
      return Literal{flag->get()};
    if (auto* integer = node.as_integer())
      return Literal{integer->get()};
    if (auto* number = node.as_floating_point())
      return Literal{number->get()};
    if (auto* string = node.as_string())
      return Literal{string->get()};
    auto* array = node.as_array();
    if (!array || depth > 1)
      return {};
    Literal::List list;
    for (auto& item : *array) {
      auto inner = literal(item, depth + 1);
      if (!inner)
        return {};
      list.push_back(std::move(*inner));
    }
    return Literal{std::move(list)};
  }

  void readDefault(Table& table, PropertyText& property) {
    constexpr auto expected = "a value (a flag, a number, a text in quotes, a list of these) or { expr = \"...\" }";
    auto* node = table.find("default");
    if (!node)
      return;
    At<DefaultText> result{{}, placeOf(*node)};
    auto* inner = node->as_table();
    if (!inner) {
      result.value.literal = literal(*node);
      if (!result.value.literal)
        return table.wrongKind(*node, "default", expected);
      property.defaultValue = std::move(result);
      return;
    }

    Table entry(*inner, "A default", table.element(), findings_);
    auto expression = entry.text("expr");
    auto* value = entry.find("value");
    result.value.units = entry.text("units");
    entry.finish();
    if (value && expression)
      return entry.report(expression->place, TextError::OneOf, "\"expr\" and \"value\"");
    if (value) {
      result.value.literal = literal(*value);
      if (!result.value.literal)
        return entry.wrongKind(*value, "value", expected);
    } else if (expression) {
      result.value.expression = expression->value;
      result.place = expression->place;
    } else if (!result.value.units) {
      return entry.report(result.place, TextError::WrongKind, "default", expected);
    }
    property.defaultValue = std::move(result);
  }

  void readProperties(Table& table, const std::string& head, std::vector<PropertyText>& properties) {
    table.tables("property", "[[" + head + ".property]]", [&](Table item) {
      PropertyText property;
      readNamed(item, "property", property, properties);
      if (auto type = item.text("type"))
        property.type = *type;
      else if (!item.find("type"))
        item.report(item.place(), TextError::MissingKey, item.kind(), "type");
      readShape(item, property);
      readDefault(item, property);
      item.finish();
      properties.push_back(std::move(property));
    });
  }

  void readSet(Table& table, ProfileText& profile) {
    SetText set;
    readNamed(table, "set", set, profile.sets);
    set.description = table.plainText("description");
    readProperties(table, "set", set.properties);
    table.finish();
    profile.sets.push_back(std::move(set));
  }

  void readStereotype(Table& table, ProfileText& profile) {
    StereotypeText stereotype;
    readNamed(table, "stereotype", stereotype, profile.stereotypes);
    stereotype.description = table.plainText("description");
    stereotype.parent = table.text("parent");
    stereotype.appliesTo = table.texts("appliesTo");
    refuseRepeated(table, "kind", stereotype.appliesTo);
    readLook(table, stereotype);
    readStereotypeDefaults(table, stereotype);
    stereotype.setDescription = table.plainText("setDescription");
    readProperties(table, "stereotype", stereotype.properties);
    table.finish();
    profile.stereotypes.push_back(std::move(stereotype));
  }

  void readLook(Table& table, StereotypeText& stereotype) {
    stereotype.icon = choice(table, "icon", icons());
    stereotype.customIcon = table.text("customIcon");
    stereotype.headerColour = colour(table, "headerColour");
    stereotype.lineColour = colour(table, "lineColour");
    stereotype.lineStyle = choice(table, "lineStyle", lineStyles());
  }

  static std::optional<Text> choice(Table& table, std::string_view key, const std::vector<std::string>& choices) {
    auto value = table.text(key);
    if (!value || std::find(choices.begin(), choices.end(), value->value) != choices.end())
      return value;
    table.report(value->place, TextError::UnknownChoice, key, value->value, joined(choices, ", "));
    return {};
  }

  static std::optional<ColourText> colour(Table& table, std::string_view key) {
    auto* node = table.find(key);
    if (!node)
      return {};
    if (auto* text = node->as_string()) {
      auto& digits = text->get();
      if (digits.size() == 7 && digits[0] == '#' &&
          digits.find_first_not_of("0123456789abcdefABCDEF", 1) == std::string::npos) {
        auto number = static_cast<std::uint32_t>(std::stoul(digits.substr(1), nullptr, 16));
        return ColourText{number >> 16, number >> 8 & 0xff, number & 0xff};
      }
    }
    table.wrongKind(*node, key, "a colour like \"#1f77b4\"");
    return {};
  }

  void readStereotypeDefaults(Table& table, StereotypeText& stereotype) {
    auto* node = table.find("defaults");
    if (!node)
      return;
    if (!node->is_table())
      return table.wrongKind(*node, "defaults", "a table { component = \"...\", port = \"...\", connector = \"...\" }");
    Table entry(*node->as_table(), "\"defaults\"", table.element(), findings_);
    for (auto kind : {"component", "port", "connector"}) {
      if (auto name = entry.text(kind))
        stereotype.defaults[kind] = *name;
    }
    entry.finish();
  }

  void readTag(Table& table, ProfileText& profile) {
    TagText tag;
    readNamed(table, "tag", tag, profile.tags);
    tag.description = table.plainText("description");
    table.finish();
    profile.tags.push_back(std::move(tag));
  }

  void readIdentities(Table& root, ProfileText& profile) {
    for (auto& path : root.texts("order"))
      profile.order.push_back(path.value);
    auto* node = root.find("identities");
    if (!node)
      return;
    auto* table = node->as_table();
    if (!table)
      return root.wrongKind(*node, "identities", "a table of paths and identities");
    for (auto&& [key, value] : *table) {
      auto* text = value.as_string();
      // What ends with a feature is a value of any text; the builder knows which.
      if (text)
        profile.identities[std::string(key.str())] = {text->get(), placeOf(value)};
      else
        findings_.add(placeOf(value), std::string(key.str()), TextError::InvalidIdentity,
                      text ? text->get() : std::string(key.str()));
    }
  }

  static void refuseRepeated(Table& table, const char* what, const std::vector<Text>& texts) {
    for (auto text = texts.begin(); text != texts.end(); ++text) {
      auto first = std::find(texts.begin(), text, *text);
      if (first != text)
        table.report(text->place, TextError::DuplicateName, what, text->value, first->place.line);
    }
  }

  const std::filesystem::path& file_;
  Findings& findings_;
};

/// The bare word that stands where TOML expects a value, if that is what is wrong.
std::string bareWord(std::string_view toml, Place place) {
  std::size_t start = 0;
  for (std::uint32_t line = 1; line < place.line && start != toml.npos; ++line) {
    start = toml.find('\n', start);
    start += start != toml.npos;
  }
  if (start == toml.npos)
    return {};
  auto line = toml.substr(start, toml.find('\n', start) - start);
  auto equals = line.find('=');
  auto first = equals == line.npos ? line.npos : line.find_first_not_of(" \t", equals + 1);
  if (first == line.npos)
    return {};
  auto word = line.substr(first, line.find_first_of(" \t\r#,}", first) - first);
  return isName(std::string(word)) && word != "true" && word != "false" && word != "inf" && word != "nan"
             ? std::string(word)
             : std::string();
}

} // namespace

bool operator==(const Literal& a, const Literal& b) {
  auto x = std::get_if<double>(&a.value), y = std::get_if<double>(&b.value);
  if (x && y)
    return std::bit_cast<std::uint64_t>(*x) == std::bit_cast<std::uint64_t>(*y);
  return a.value == b.value;
}

ProfileText readProfileText(std::string_view toml, const std::filesystem::path& file, Findings& findings) {
  toml::table root;
  try {
    root = toml::parse(toml);
  } catch (const toml::parse_error& error) {
    auto place = placeOf(error.source().begin);
    std::string problem(error.description());
    if (auto word = bareWord(toml, place); !word.empty())
      problem += "; a text stands in quotes: \"" + word + "\"";
    findings.add(place, "", TextError::Syntax, problem);
    return {};
  }
  return Reader(file, findings).read(root);
}

} // namespace zelkor::text
