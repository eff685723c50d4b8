#include "tools/zelkor/text/ProfileWriter.h"

#include "tools/zelkor/text/Texts.h"

#include "kavra/Literals.h"
#include "tavo/xml/XmlText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zelkor::text {
namespace {

/// A text in quotes. Line ends stay readable in texts of several lines.
std::string quoted(const std::string& text, bool severalLines = false) {
  severalLines = severalLines && text.find('\n') != text.npos;
  std::string result = severalLines ? "\"\"\"\n" : "\"";
  for (char c : text) {
    auto unit = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      result += '\\';
      result += c;
    } else if (c == '\n' && severalLines) {
      result += c;
    } else if (c == '\n') {
      result += "\\n";
    } else if (c == '\t') {
      result += "\\t";
    } else if (unit < 0x20 || unit == 0x7f) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(unit));
      result += escape;
    } else {
      result += c;
    }
  }
  return result + (severalLines ? "\"\"\"" : "\"");
}

/// Any text: what no text in quotes can hold has another form.
std::string rendered(const std::string& text, bool severalLines = false) {
  if (!hasHalfPair(text))
    return quoted(text, severalLines);
  return "{ escaped = " + quoted(tavo::escapeText(wide(text)).toUtf8()) + " }";
}

std::string rendered(const std::vector<std::string>& texts) {
  std::string list;
  for (auto& text : texts)
    list += (list.empty() ? "" : ", ") + rendered(text);
  return "[" + list + "]";
}

std::string number(double value) {
  if (std::isnan(value))
    return "nan";
  if (std::isinf(value))
    return value > 0 ? "inf" : "-inf";
  auto text = kavra::shortestLiteral(value);
  return text.find_first_of(".e") == text.npos ? text + ".0" : text;
}

std::string render(const Literal& literal) {
  if (auto* flag = std::get_if<bool>(&literal.value))
    return *flag ? "true" : "false";
  if (auto* integer = std::get_if<std::int64_t>(&literal.value))
    return std::to_string(*integer);
  if (auto* real = std::get_if<double>(&literal.value))
    return number(*real);
  if (auto* string = std::get_if<std::string>(&literal.value))
    return rendered(*string);
  std::string text;
  for (auto& item : std::get<Literal::List>(literal.value))
    text += (text.empty() ? "" : ", ") + render(item);
  return "[" + text + "]";
}

std::string render(const DefaultText& value) {
  if (value.literal && !value.units)
    return render(*value.literal);
  std::string text;
  if (value.literal)
    text = "value = " + render(*value.literal);
  else if (!value.expression.empty())
    text = "expr = " + rendered(value.expression);
  if (value.units)
    text += (text.empty() ? "" : ", ") + ("units = " + rendered(value.units->value));
  return "{ " + text + " }";
}

class Writer {
public:
  std::string write(const ProfileText& profile) {
    head(profile);
    for (auto& enumeration : profile.enumerations)
      write(enumeration);
    types("type", profile.types);
    for (auto& set : profile.sets)
      write(set);
    for (auto& stereotype : profile.stereotypes)
      write(stereotype);
    for (auto& tag : profile.tags) {
      begin("tag", tag);
      key("description", tag.description);
    }
    exact(profile.exact);
    return std::move(out_);
  }

private:
  void head(const ProfileText& profile) {
    out_ += "[profile]\n";
    key("name", profile.name);
    identity(profile);
    key("friendlyName", profile.friendlyName);
    key("description", profile.description);
    key("defaultStereotype", profile.defaultStereotype);
    key("dependsOn", profile.dependsOn);
  }

  void begin(const std::string& head) { out_ += "\n[[" + head + "]]\n"; }
  void begin(const std::string& head, const NamedText& named) {
    begin(head);
    key("name", named.name);
    identity(named);
  }
  void identity(const NamedText& named) {
    key("id", named.id);
    key("was", named.was);
    key("externalId", named.externalId);
  }

  void raw(const char* name, const std::string& value) { out_ += std::string(name) + " = " + value + "\n"; }
  void key(const char* name, const Text& text) { raw(name, rendered(text.value)); }
  void key(const char* name, const std::optional<Text>& text) {
    if (text)
      key(name, *text);
  }
  void key(const char* name, const std::string& text) {
    if (!text.empty())
      raw(name, rendered(text, true));
  }
  void key(const char* name, const std::optional<ColourText>& colour) {
    if (!colour)
      return;
    auto [red, green, blue] = *colour;
    char text[64];
    bool isUsual = std::max({red, green, blue}) <= 0xff;
    std::snprintf(text, sizeof text, isUsual ? "\"#%02x%02x%02x\"" : "[%u, %u, %u]", red, green, blue);
    raw(name, text);
  }
  void key(const char* name, const std::vector<Text>& texts) {
    if (texts.empty())
      return;
    std::vector<std::string> list;
    for (auto& text : texts)
      list.push_back(text.value);
    raw(name, rendered(list));
  }

  void write(const EnumerationText& enumeration) {
    begin("enumeration");
    key("name", enumeration.name);
    bool plain = std::none_of(enumeration.members.begin(), enumeration.members.end(),
                              [](auto& member) { return member.value.has_value(); });
    std::string list;
    for (auto& member : enumeration.members) {
      auto name = quoted(member.name.value);
      if (plain) {
        list += (list.empty() ? "" : ", ") + name;
      } else {
        auto value = member.value ? ", value = " + std::to_string(member.value->value) : std::string();
        list.append("  { name = ").append(name).append(value).append(" },\n");
      }
    }
    raw("members", plain ? "[" + list + "]" : "[\n" + list + "]");
    key("default", enumeration.defaultMember);
  }

  void shape(const ShapeText& shape) {
    key("units", shape.units);
    if (shape.dimensions) {
      std::string list;
      for (auto extent : shape.dimensions->value)
        list += (list.empty() ? "" : ", ") + std::to_string(extent);
      raw("dimensions", "[" + list + "]");
    }
    if (shape.min)
      raw("min", render(shape.min->value));
    if (shape.max)
      raw("max", render(shape.max->value));
  }

  void types(const std::string& head, const std::vector<TypeText>& types) {
    for (auto& type : types) {
      begin(head, type);
      key("base", type.base);
      key("enumeration", type.enumeration);
      key("kind", type.kind);
      shape(type);
    }
  }

  void properties(const std::string& head, const std::vector<PropertyText>& properties) {
    for (auto& property : properties) {
      begin(head, property);
      key("type", property.type);
      shape(property);
      if (property.defaultValue)
        raw("default", render(property.defaultValue->value));
    }
  }

  void write(const SetText& set) {
    begin("set", set);
    key("description", set.description);
    types("set.type", set.types);
    properties("set.property", set.properties);
  }

  void write(const StereotypeText& stereotype) {
    begin("stereotype", stereotype);
    key("description", stereotype.description);
    key("parent", stereotype.parent);
    key("appliesTo", stereotype.appliesTo);
    key("icon", stereotype.icon);
    key("customIcon", stereotype.customIcon);
    key("headerColour", stereotype.headerColour);
    key("lineColour", stereotype.lineColour);
    key("lineStyle", stereotype.lineStyle);
    if (!stereotype.defaults.empty()) {
      std::string list;
      for (auto& [kind, name] : stereotype.defaults)
        list += (list.empty() ? "" : ", ") + kind + " = " + quoted(name.value);
      raw("defaults", "{ " + list + " }");
    }
    key("setDescription", stereotype.setDescription);
    types("stereotype.type", stereotype.types);
    properties("stereotype.property", stereotype.properties);
  }

  void exact(const ExactFacts& facts) {
    if (facts.empty())
      return;
    out_ += "\n# What the tables above do not say. Written by a program; leave it as it is.\n[exact]\n";
    for (auto& [path, fact] : facts) {
      auto* text = std::get_if<std::string>(&fact.value);
      auto* list = std::get_if<std::vector<std::string>>(&fact.value);
      out_ += quoted(path) + " = " + (text ? rendered(*text) : list ? rendered(*list) : "false") + "\n";
    }
  }

  std::string out_;
};

} // namespace

std::string writeProfileText(const ProfileText& profile) { return Writer().write(profile); }

} // namespace zelkor::text
