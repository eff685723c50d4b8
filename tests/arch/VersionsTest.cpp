// What each version of each family has is fixed once files of it are out: the goldens in tests/data/versions say it.
#include "arch/Architecture.h"
#include "tavo/evolution/History.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

namespace zelkor {
namespace {

namespace fs = std::filesystem;
using namespace tavo::evolution;

const char* const families[] = {"zelkor_services_proxy", "zelkor_property", "zelkor_arch"};
const fs::path folder = fs::path(ZELKOR_TEST_DATA) / "../../data/versions";

/// Classes that no file of anybody has.
bool isForTests(const ClassRecord& record) { return record.qualifiedName.starts_with("zelkor.test."); }

/// What of a feature with objects decides which files are refused, or changed when they are opened: the keys of the
/// collection, unless the version had none of that name, and the other end, which is set along with it. Where an object
/// is contained needs no word.
std::string rulesOf(const FeatureRecord& feature, Version version) {
  std::string text;
  const auto add = [&](const std::string& rule) { text += (text.empty() ? ": " : ", ") + rule; };
  std::string keys;
  bool hasAll = true;
  for (const auto* key : {feature.today->key(0), feature.today->key(1)})
    if (const auto* known = key ? feature.target->find(key->id()) : nullptr) {
      hasAll = hasAll && known->life.holds(version);
      keys += (keys.empty() ? "by " : " and ") + std::string(known->life.nameIn(version));
    }
  if (hasAll && !keys.empty())
    add(keys);
  if (feature.today->collection() == tavo::CollectionKind::set)
    add("each once");
  if (const auto* opposite = feature.today->opposite(); opposite && opposite->isReference())
    add((opposite->isMany() ? "from many " : "from ") + std::string(opposite->name()));
  return text;
}

/// The features are told by what stays known of them when they are removed, then, after a colon, by what does not.
std::string line(const FeatureRecord& feature, Version version, const Family& family) {
  static const char* const kinds[] = {"value", "contains", "contains many", "", "refers", "refers to many"};
  std::string text = "  " + std::string(feature.life.nameIn(version)) + " " + tavo::toText(feature.id) + " " +
                     kinds[static_cast<std::size_t>(feature.kind)];
  if (feature.target)
    text += " " + std::string(feature.target->family == &family ? feature.target->life.nameIn(version)
                                                                : feature.target->name());
  if (!feature.today)
    return text + ": ?";
  if (feature.target)
    return text + rulesOf(feature, version);
  const auto& type = *feature.today->datatype();
  text += ": " + std::string(type.name);
  if (const auto given = feature.today->declaration().defaultValue) {
    std::string value;
    if (type.write)
      type.write(given(), value);
    else
      value = static_cast<const tavo::String*>(given())->toUtf8();
    text += " = " + value;
  }
  return text;
}

/// The classes of a version in the order of their names, each with its own features in the same order.
std::vector<std::string> listing(const Family& family, Version version) {
  std::map<std::string, std::vector<std::string>> classes;
  for (const auto& record : family.classes) {
    if (!record.life.holds(version) || isForTests(record))
      continue;
    auto& lines = classes[std::string(record.life.nameIn(version))];
    lines.push_back(std::string(record.life.nameIn(version)) + " " + tavo::toText(record.id) + " is a " +
                    std::string(record.base ? record.base->life.nameIn(version) : "") +
                    (record.derivesIdentity ? ", with an identity from its place" : ""));
    std::map<std::string, std::string> features;
    for (const auto& feature : record.features)
      if (feature.life.holds(version))
        features[std::string(feature.life.nameIn(version))] = line(feature, version, family);
    for (const auto& [name, text] : features)
      lines.push_back(text);
  }
  std::vector<std::string> all;
  for (const auto& [name, lines] : classes)
    all.insert(all.end(), lines.begin(), lines.end());
  return all;
}

std::vector<std::string> linesOf(const fs::path& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string each; std::getline(in, each);)
    lines.push_back(each);
  return lines;
}

/// Of a feature that has gone since, the type, or the rules, are not known any more.
bool agree(const std::string& recorded, const std::string& found) {
  if (!found.ends_with(": ?"))
    return recorded == found;
  const auto known = found.substr(0, found.size() - 3);
  return recorded == known || recorded.starts_with(known + ":");
}

std::string differences(const std::vector<std::string>& recorded, const std::vector<std::string>& found) {
  const auto missing = [](const auto& from, const auto& in, const auto& same, const char* mark) {
    std::string text, of;
    for (const auto& each : from) {
      if (!each.starts_with(' '))
        of = each.substr(0, each.find(' '));
      if (std::ranges::none_of(in, [&](const auto& other) { return same(each, other); }))
        text.append(mark).append(of).append(": ").append(each).append("\n");
    }
    return text;
  };
  return missing(recorded, found, agree, "- ") +
         missing(
             found, recorded, [](const auto& a, const auto& b) { return agree(b, a); }, "+ ");
}

/// The enumerations and structures that files spell out.
std::vector<std::string> datatypes() {
  std::vector<std::string> lines;
  for (const auto* name : families)
    for (const auto& declared : findFamily(name)->package->declaration().datatypes) {
      std::string text(declared.qualifiedName);
      for (const auto& literal : declared.datatype().literals)
        text += " " + std::string(literal.name) + "=" + std::to_string(literal.value);
      for (const auto& field : declared.datatype().fields)
        text += " " + std::string(field.name) + ": " + std::string(field.datatype().name);
      lines.push_back(std::move(text));
    }
  return lines;
}

/// Writes a golden that is not there yet, when told to.
fs::path recorded(const std::string& name, const std::vector<std::string>& found) {
  const auto path = folder / (name + ".txt");
  if (std::getenv("ZELKOR_UPDATE") && !fs::exists(path)) {
    std::ofstream out(path);
    for (const auto& each : found)
      out << each << '\n';
  }
  return path;
}

TEST(VersionsTest, HaveWhatTheyHadWhenFilesOfThemWereFirstWritten) {
  EXPECT_TRUE(Architecture::metaClass().isA(tavo::ModelElement::metaClass())); // the host's package is there
  std::set<fs::path> known;
  for (const auto* name : families) {
    const auto* family = findFamily(name);
    ASSERT_TRUE(family);
    for (Version version = 0; version <= family->present(); ++version) {
      const auto found = listing(*family, version);
      const auto path = recorded(std::string(name) + "-" + std::string(family->versions[version]), found);
      known.insert(path.filename());
      ASSERT_TRUE(fs::exists(path)) << "a new version: run this test with ZELKOR_UPDATE=1, review " << path
                                    << " and keep it";
      EXPECT_EQ(differences(linesOf(path), found), "")
          << name << " " << family->versions[version]
          << " is not what it was. Files of it are out, so it has to stay: what is new, gone or has another name\n"
             "belongs to a new version, and says so with `since`, `removed` or `was` (docs/schema-history.md, \"Adding "
             "a "
             "version\")."
          << (version < family->present() ? ""
                                          : "\nWhile no release has written it: remove " + path.string() +
                                                " and run this test with ZELKOR_UPDATE=1.");
    }
  }
  const auto path = recorded("datatypes", datatypes());
  known.insert(path.filename());
  EXPECT_EQ(differences(linesOf(path), datatypes()), "")
      << "Files spell literals and fields by name, so those that there are have to stay. What is new is not known to "
         "the\n"
         "older versions: a step replaces it on the way down. Then remove "
      << path << " and run this test with ZELKOR_UPDATE=1.";
  for (const auto& each : fs::directory_iterator(folder))
    EXPECT_TRUE(known.contains(each.path().filename())) << "no such version any more: " << each.path();
}

} // namespace
} // namespace zelkor
