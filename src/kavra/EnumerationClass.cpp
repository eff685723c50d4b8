#include "kavra/EnumerationClass.h"

#include "kavra/Error.h"
#include "kavra/NameRules.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <unordered_set>

namespace kavra {

/// All definitions ever made. They are few and small, so none is ever dropped.
struct EnumerationTable {
  std::vector<std::unique_ptr<EnumerationClass>> classes;
  std::unordered_multimap<std::u16string, std::uint32_t> idsByName;

  static EnumerationTable& instance() {
    static EnumerationTable* table = new EnumerationTable; // outlives every array, static ones included
    return *table;
  }

  const EnumerationClass* find(const EnumerationDefinition& definition) const {
    auto [first, last] = idsByName.equal_range(definition.name);
    for (auto it = first; it != last; ++it) {
      if (classes[it->second]->definition() == definition)
        return classes[it->second].get();
    }
    return nullptr;
  }

  const EnumerationClass& add(EnumerationDefinition definition) {
    auto id = static_cast<std::uint32_t>(classes.size());
    auto name = definition.name;
    classes.push_back(std::unique_ptr<EnumerationClass>(new EnumerationClass(std::move(definition), id)));
    idsByName.emplace(std::move(name), id);
    return *classes.back();
  }
};

namespace {

void check(const EnumerationDefinition& definition) {
  auto refuse = [&](std::string_view problem, std::u16string_view what) {
    throw Error("kavra:messages:InvalidEnumeration",
                "The enumeration class {0} cannot be defined: " + std::string(problem),
                {definition.name, std::u16string(what)});
  };
  if (!isValidClassName(definition.name))
    refuse("the name is not valid.", definition.name);
  std::unordered_set<std::u16string_view> names;
  for (auto& member : definition.members) {
    if (!isValidName(member.name))
      refuse("the member name \"{1}\" is not valid.", member.name);
    if (!names.insert(member.name).second)
      refuse("the member {1} stands in it twice.", member.name);
  }
  bool hasDefault = definition.defaultPosition >= 1 && definition.defaultPosition <= definition.members.size();
  if (!hasDefault && !definition.members.empty())
    refuse("the default position has no member.", {});
}

} // namespace

bool isValidClassName(std::u16string_view name) {
  for (;;) {
    auto dot = name.find(u'.');
    if (!isValidName(name.substr(0, dot)))
      return false;
    if (dot == name.npos)
      return true;
    name.remove_prefix(dot + 1);
  }
}

const EnumerationClass& EnumerationClass::define(EnumerationDefinition definition) {
  check(definition);
  auto& table = EnumerationTable::instance();
  auto* known = table.find(definition);
  return known ? *known : table.add(std::move(definition));
}

EnumerationClass::EnumerationClass(EnumerationDefinition definition, std::uint32_t id)
    : definition_(std::move(definition)), id_(id) {}

const EnumerationClass& EnumerationClass::withId(std::uint32_t id) { return *EnumerationTable::instance().classes[id]; }

std::optional<std::uint32_t> EnumerationClass::indexOfName(std::u16string_view name) const {
  auto it = std::find_if(members().begin(), members().end(), [&](auto& member) { return member.name == name; });
  if (it == members().end())
    return {};
  return static_cast<std::uint32_t>(it - members().begin());
}

std::optional<std::uint32_t> EnumerationClass::indexOfValue(std::int64_t value) const {
  auto it = std::find_if(members().begin(), members().end(), [&](auto& member) { return member.value == value; });
  if (it == members().end())
    return {};
  return static_cast<std::uint32_t>(it - members().begin());
}

} // namespace kavra
