#include "kavra/standalone/EnumerationFile.h"

#include "kavra/Error.h"
#include "kavra/Text.h"

#include <toml++/toml.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <sstream>

namespace kavra {
namespace {

constexpr std::uintmax_t largestFile = 16 << 20;

/// A path for messages; one whose bytes are no text cannot be shown.
std::u16string pathText(const std::filesystem::path& path) {
  return fromUtf8(path.string()).value_or(u"(unreadable path)");
}

/// Reads one file; every complaint names the file and the line of the node that it is about.
class Reader {
public:
  explicit Reader(const std::filesystem::path& file) : file_(file) {}

  EnumerationDefinition read(std::u16string_view className, std::string_view text) {
    toml::table root = parse(text);
    refuseOtherKeys(root, {"members", "default"});
    auto* members = root.get("members");
    if (!members || !members->is_array())
      refuse(root, "\"members\" is missing: a list of { name = \"...\", value = ... }");

    EnumerationDefinition definition;
    definition.name = className;
    for (auto& node : *members->as_array())
      definition.members.push_back(readMember(node, definition.members));
    if (definition.members.empty())
      refuse(*members, "an enumeration needs at least one member");
    if (auto* chosen = root.get("default"))
      definition.defaultPosition = readDefault(*chosen, definition.members);
    return definition;
  }

private:
  using Member = EnumerationDefinition::Member;

  [[noreturn]] void refuse(std::uint32_t line, std::string_view problem) const {
    throw Error("kavra:messages:InvalidEnumerationFile", "{0}:{1}: {2}.",
                {pathText(file_), fromAscii(std::to_string(line)), fromUtf8(problem).value_or(u"bad text")});
  }
  [[noreturn]] void refuse(const toml::node& node, std::string_view problem) const {
    refuse(node.source().begin.line, problem);
  }

  toml::table parse(std::string_view text) const {
    try {
      return toml::parse(text);
    } catch (const toml::parse_error& error) {
      refuse(error.source().begin.line, error.description());
    }
  }

  void refuseOtherKeys(const toml::table& table, std::initializer_list<std::string_view> known) const {
    for (auto&& [key, node] : table) {
      if (std::find(known.begin(), known.end(), std::string_view(key.str())) == known.end())
        refuse(key.source().begin.line, "unknown key \"" + std::string(key.str()) + "\"");
    }
  }

  Member readMember(const toml::node& node, const std::vector<Member>& before) const {
    auto* table = node.as_table();
    if (!table)
      refuse(node, "a member is written { name = \"...\", value = ... }");
    refuseOtherKeys(*table, {"name", "value"});
    auto name = table->get_as<std::string>("name");
    if (!name)
      refuse(node, "a member needs a name");

    Member member{fromUtf8(name->get()).value_or(u""), readValue(*table, before)};
    if (!isValidClassName(member.name) || member.name.find(u'.') != member.name.npos)
      refuse(node, "\"" + name->get() + "\" is not a valid name");
    for (auto& other : before) {
      if (other.name == member.name)
        refuse(node, "the member \"" + name->get() + "\" stands here twice");
    }
    return member;
  }

  std::int32_t readValue(const toml::table& member, const std::vector<Member>& before) const {
    using Limits = std::numeric_limits<std::int32_t>;
    std::int64_t value = before.empty() ? 0 : std::int64_t{before.back().value} + 1;
    if (auto* given = member.get("value")) {
      if (!given->is_integer())
        refuse(*given, "a value is an integer");
      value = given->as_integer()->get();
    }
    if (value < Limits::min() || value > Limits::max())
      refuse(member, "the value does not fit into 32 bits");
    return static_cast<std::int32_t>(value);
  }

  std::uint32_t readDefault(const toml::node& node, const std::vector<Member>& members) const {
    auto* name = node.as_string();
    for (std::uint32_t i = 0; name && i < members.size(); ++i) {
      if (toUtf8(members[i].name) == name->get())
        return i + 1;
    }
    refuse(node, "\"default\" is the name of a member");
  }

  const std::filesystem::path& file_;
};

[[noreturn]] void refuseFile(std::string_view id, std::string_view text, const std::filesystem::path& file) {
  throw Error(id, text, {pathText(file)});
}

} // namespace

std::filesystem::path enumerationFileName(std::u16string_view className) {
  return std::filesystem::path(toUtf8(className) + ".enum.toml");
}

EnumerationDefinition parseEnumeration(std::u16string_view className, std::string_view toml,
                                       const std::filesystem::path& file) {
  return Reader(file).read(className, toml);
}

EnumerationDefinition readEnumerationFile(std::u16string_view className, const std::filesystem::path& file) {
  constexpr std::string_view id = "kavra:messages:CannotReadEnumerationFile";
  std::error_code error;
  auto size = std::filesystem::file_size(file, error);
  if (error || size > largestFile)
    refuseFile(id, "The enumeration file {0} cannot be read.", file);
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in || text.str().size() != size)
    refuseFile(id, "The enumeration file {0} cannot be read.", file);
  return parseEnumeration(className, text.str(), file);
}

std::string renderEnumeration(const EnumerationDefinition& definition) {
  std::string text = "# Members of the enumeration " + toUtf8(definition.name) + ".\n";
  auto position = definition.defaultPosition;
  if (position >= 1 && position <= definition.members.size())
    text += "default = \"" + toUtf8(definition.members[position - 1].name) + "\"\n";
  text += "members = [\n";
  for (auto& member : definition.members)
    text += "  { name = \"" + toUtf8(member.name) + "\", value = " + std::to_string(member.value) + " },\n";
  return text + "]\n";
}

} // namespace kavra
