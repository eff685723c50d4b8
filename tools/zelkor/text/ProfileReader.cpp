#include "tools/zelkor/text/ProfileReader.h"

#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/Keywords.h"
#include "tools/zelkor/text/Spelling.h"
#include "tools/zelkor/text/TomlTable.h"

#include "kavra/EnumerationClass.h"
#include "kavra/NameRules.h"
#include "kavra/Text.h"
#include "tavo/core/Uuid.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <limits>

namespace zelkor::text {
namespace {

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

class Reader {
public:
  Reader(const std::filesystem::path& file, Findings& findings) : file_(file), findings_(findings) {}

  ProfileText read(const toml::table& root) {
    ProfileText profile;
    profile.file = findings_.file();
    TomlTable table(root, "The text", "", findings_);
    readProfile(table, profile);
    table.tables("enumeration", "[[enumeration]]", [&](TomlTable item) { readEnumeration(item, profile); });
    readTypes(table, "type", profile.types);
    refuseTakenNames(profile);
    table.tables("set", "[[set]]", [&](TomlTable item) { readSet(item, profile); });
    table.tables("stereotype", "[[stereotype]]", [&](TomlTable item) { readStereotype(item, profile); });
    table.tables("tag", "[[tag]]", [&](TomlTable item) { readTag(item, profile); });
    readExact(table, profile);
    table.finish();
    return profile;
  }

private:
  void readProfile(TomlTable& root, ProfileText& profile) {
    const toml::table none;
    auto given = root.table("profile", "[profile]", "a table with the head [profile]");
    auto table = given ? *given : TomlTable(none, "[profile]", "", findings_);
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

  void readIdentity(TomlTable& table, NamedText& named) {
    named.id = table.text("id");
    if (named.id && tavo::parseUuid(named.id->value).value_or(tavo::Uuid{}) == tavo::Uuid{})
      table.report(named.id->place, TextError::InvalidIdentity, named.id->value);
    named.was = table.text("was");
    named.externalId = table.text("externalId");
  }

  /// Reads the name and what belongs to it. Things without a usable name are read all the same, for their other faults.
  template <class Thing>
  void readNamed(TomlTable& table, const char* what, Thing& thing, const std::vector<Thing>& before) {
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

  void readEnumeration(TomlTable& table, ProfileText& profile) {
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

  void readMembers(TomlTable& table, EnumerationText& enumeration) {
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

  void readMember(TomlTable& table, const toml::node& item, std::vector<EnumerationText::Member>& members,
                  std::int64_t& next) {
    EnumerationText::Member member;
    if (auto* plain = item.as_string()) {
      member.name = {plain->get(), placeOf(item)};
    } else if (auto* inner = item.as_table()) {
      TomlTable entry(*inner, "A member", table.element(), findings_);
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

  void readTypes(TomlTable& owner, const std::string& head, std::vector<TypeText>& types) {
    owner.tables("type", "[[" + head + "]]", [&](TomlTable table) {
      TypeText type;
      readNamed(table, "type", type, types);
      type.base = table.text("base");
      type.enumeration = table.text("enumeration");
      type.kind = choice(table, "kind", kindsOfValues());
      int given = 0;
      for (auto key : {"base", "enumeration", "kind"})
        given += table.find(key) != nullptr;
      auto& second = type.kind ? type.kind : type.enumeration;
      if (given > 1)
        table.report(second ? second->place : table.place(), TextError::OneOf,
                     "\"base\", \"enumeration\" and \"kind\"");
      else if (given == 0)
        table.report(table.place(), TextError::MissingKey, table.kind(), "base");
      readShape(table, type);
      table.finish();
      types.push_back(std::move(type));
    });
  }

  /// Types and enumerations go by names that mean one thing only.
  void refuseTakenNames(const ProfileText& profile) {
    auto refuseBuiltIn = [&](const Text& name) {
      if (auto& names = builtInTypes(); std::find(names.begin(), names.end(), name.value) != names.end())
        findings_.add(name.place, name.value, TextError::BuiltInName, name.value);
    };
    for (auto& enumeration : profile.enumerations)
      refuseBuiltIn(enumeration.name);
    for (auto& type : profile.types) {
      refuseBuiltIn(type.name);
      for (auto& enumeration : profile.enumerations) {
        if (enumeration.name.value == type.name.value)
          findings_.add(type.name.place, type.name.value, TextError::DuplicateName, "name", type.name.value,
                        enumeration.name.place.line);
      }
    }
  }

  void readShape(TomlTable& table, ShapeText& shape) {
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

  std::optional<At<Literal>> bound(TomlTable& table, std::string_view key) {
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
    if (auto text = textOf(node))
      return Literal{std::move(*text)};
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

  void readDefault(TomlTable& table, PropertyText& property) {
    constexpr auto expected = "a value (a flag, a number, a text in quotes, a list of these) or { expr = \"...\" }";
    auto* node = table.find("default");
    if (!node)
      return;
    At<DefaultText> result{{}, placeOf(*node)};
    auto* inner = node->as_table();
    if (!inner || textOf(*node)) {
      result.value.literal = literal(*node);
      if (!result.value.literal)
        return table.wrongKind(*node, "default", expected);
      property.defaultValue = std::move(result);
      return;
    }

    TomlTable entry(*inner, "A default", table.element(), findings_);
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

  void readProperties(TomlTable& table, const std::string& head, std::vector<PropertyText>& properties) {
    table.tables("property", "[[" + head + ".property]]", [&](TomlTable item) {
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

  void readSet(TomlTable& table, ProfileText& profile) {
    SetText set;
    readNamed(table, "set", set, profile.sets);
    set.description = table.plainText("description");
    readTypes(table, "set.type", set.types);
    readProperties(table, "set", set.properties);
    table.finish();
    profile.sets.push_back(std::move(set));
  }

  void readStereotype(TomlTable& table, ProfileText& profile) {
    StereotypeText stereotype;
    readNamed(table, "stereotype", stereotype, profile.stereotypes);
    stereotype.description = table.plainText("description");
    stereotype.parent = table.text("parent");
    stereotype.appliesTo = table.texts("appliesTo");
    refuseRepeated(table, "kind", stereotype.appliesTo);
    readLook(table, stereotype);
    readStereotypeDefaults(table, stereotype);
    stereotype.setDescription = table.plainText("setDescription");
    readTypes(table, "stereotype.type", stereotype.types);
    readProperties(table, "stereotype", stereotype.properties);
    table.finish();
    profile.stereotypes.push_back(std::move(stereotype));
  }

  void readLook(TomlTable& table, StereotypeText& stereotype) {
    stereotype.icon = choice(table, "icon", icons());
    stereotype.customIcon = table.text("customIcon");
    stereotype.headerColour = colour(table, "headerColour");
    stereotype.lineColour = colour(table, "lineColour");
    stereotype.lineStyle = choice(table, "lineStyle", lineStyles());
  }

  static std::optional<Text> choice(TomlTable& table, std::string_view key, const std::vector<std::string>& choices) {
    auto value = table.text(key);
    if (!value || std::find(choices.begin(), choices.end(), value->value) != choices.end())
      return value;
    table.report(value->place, TextError::UnknownChoice, key, value->value, joined(choices, ", "));
    return {};
  }

  static std::optional<ColourText> colour(TomlTable& table, std::string_view key) {
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
    } else if (auto* list = node->as_array(); list && list->size() == 3) {
      std::uint32_t parts[3];
      bool valid = true;
      for (std::size_t i = 0; i < 3; ++i) {
        auto* number = list->get(i)->as_integer();
        valid = valid && number && number->get() >= 0 && number->get() <= std::numeric_limits<std::uint32_t>::max();
        parts[i] = valid ? static_cast<std::uint32_t>(number->get()) : 0;
      }
      if (valid)
        return ColourText{parts[0], parts[1], parts[2]};
    }
    table.wrongKind(*node, key, "a colour like \"#1f77b4\" or [31, 119, 180]");
    return {};
  }

  void readStereotypeDefaults(TomlTable& table, StereotypeText& stereotype) {
    auto entry =
        table.table("defaults", "\"defaults\"", "a table { component = \"...\", port = \"...\", connector = \"...\" }");
    if (!entry)
      return;
    for (auto kind : {"component", "port", "connector"}) {
      if (auto name = entry->text(kind))
        stereotype.defaults[kind] = *name;
    }
    entry->finish();
  }

  void readTag(TomlTable& table, ProfileText& profile) {
    TagText tag;
    readNamed(table, "tag", tag, profile.tags);
    tag.description = table.plainText("description");
    table.finish();
    profile.tags.push_back(std::move(tag));
  }

  void readExact(TomlTable& root, ProfileText& profile) {
    auto* node = root.find("exact");
    auto* table = node ? node->as_table() : nullptr;
    if (node && !table)
      root.wrongKind(*node, "exact", "a table of paths and what is there");
    if (!table)
      return;
    for (auto&& [key, value] : *table) {
      std::string path(key.str());
      if (auto fact = factOf(value))
        profile.exact[path] = {std::move(*fact), placeOf(value)};
      else
        root.wrongKind(value, path, "a text, a list of texts, or false for nothing");
    }
  }

  static std::optional<Fact> factOf(const toml::node& node) {
    if (auto text = textOf(node))
      return std::move(*text);
    if (auto* flag = node.as_boolean(); flag && !flag->get())
      return Absent();
    auto* list = node.as_array();
    if (!list)
      return {};
    std::vector<std::string> texts;
    for (auto& item : *list) {
      auto text = textOf(item);
      if (!text)
        return {};
      texts.push_back(std::move(*text));
    }
    return texts;
  }

  static void refuseRepeated(TomlTable& table, const char* what, const std::vector<Text>& texts) {
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
