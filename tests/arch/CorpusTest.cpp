// The files of all releases in tests/data/releases: they open to what they always meant, and present files go down to
// each release and come back. README.md there says which file is what.
#include "tests/zelkor/ProfileFixture.h"

#include "arch/Architecture.h"
#include "arch/Connector.h"
#include "arch/Port.h"
#include "zelkor/evolution/Evolver.h"
#include "zelkor/evolution/ReleaseExport.h"
#include "zelkor/evolution/ReleaseRegistry.h"
#include "zelkor/framework/ModelFile.h"
#include "zelkor/meta/ValueStruct.h"
#include "zelkor/property/Value.h"

#include <cstdlib>
#include <map>
#include <regex>
#include <set>

namespace zelkor {
namespace {

namespace fs = std::filesystem;
using profile::text;
using property::evolution::Evolver;
using property::evolution::ReleaseRegistry;

const fs::path corpus = fs::path(ZELKOR_TEST_DATA) / "../../data/releases";
const tavo::String present(ReleaseRegistry::releases().back().release);

class CorpusTest : public profile::ProfileFixture {
protected:
  CorpusTest() {
    dynamic_cast<kavra::StandaloneClassRegistry&>(kavra::host().classes()).addFolder(corpus / "enumerations");
  }

  static constexpr std::string_view models = "models";

  static std::vector<tavo::String> releases() {
    std::vector<tavo::String> names;
    for (const auto& each : ReleaseRegistry::releases())
      names.emplace_back(each.release);
    return names;
  }
  /// The profiles and models in a folder, in the order of their names.
  static std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    if (!fs::exists(folder))
      return files;
    for (const auto& each : fs::recursive_directory_iterator(folder))
      if (each.path().extension() == ".xml")
        files.push_back(each.path());
    std::ranges::sort(files);
    return files;
  }
  static std::vector<fs::path> presentFiles() {
    auto files = filesIn(corpus / "expected");
    std::ranges::copy(filesIn(corpus / present.toUtf8()), std::back_inserter(files));
    return files;
  }
  /// The folder of the newest release that has a file.
  static fs::path newestWith(const fs::path& place) {
    auto names = releases();
    while (names.size() > 1 && !fs::exists(corpus / names.back().toUtf8() / place))
      names.pop_back();
    return corpus / names.back().toUtf8();
  }
  static bool isModel(const fs::path& path) { return path.parent_path().filename() == models; }

  /// Puts a copy of a release's folder where its profiles are found by name, beside what older releases have left.
  void bring(const fs::path& from) {
    catalog().unloadAllProfiles();
    for (const auto& each : fs::directory_iterator(folder_))
      if (each.is_regular_file())
        fs::remove(each.path());
    for (const auto& release : releases()) {
      for (const auto& each : filesIn(from.parent_path() / release.toUtf8()))
        fs::copy_file(each, file(each.filename().string()), fs::copy_options::overwrite_existing);
      if (release.toUtf8() == from.filename())
        break;
    }
  }

  /// What there is to know of an open file.
  struct Content {
    std::string text;
    std::map<std::string, std::pair<std::string, kavra::HostArray>>
        values; ///< of the elements, as written and evaluated
  };
  Content open(const std::string& name, bool asModel) {
    if (!asModel) {
      const auto profile = profile::Profile::loadFromFile(text(file(name)));
      EXPECT_FALSE(profile.dirty());
      tavo::checkInvariants(profile.model());
      return {tavo::modelText(profile.model()).toUtf8(), {}};
    }
    const auto opened = ModelFile::open(file(name));
    EXPECT_FALSE(opened.isDirty());
    tavo::checkInvariants(opened.model());
    Content content{tavo::modelText(opened.model()).toUtf8(), {}};
    addValues(Architecture::getArchitecture(opened.model()), content);
    return content;
  }
  static void addValues(const Element& element, Content& content) {
    for (const auto& property : element.getPropertyNames()) {
      const auto value = element.getPropVal(property);
      const bool isOwn = !element.isPropValDefault(property);
      content.values[element.getPath().toUtf8() + " " + property.toUtf8()] = {
          value.expression.toUtf8() + " " + value.units.toUtf8() + (isOwn ? " own" : ""),
          element.getNormalizedValue(property)};
    }
    if (const auto component = element.as<Component>()) {
      for (const auto& part : component.components())
        addValues(part, content);
      for (const auto& port : component.ports())
        addValues(port, content);
      for (const auto& connector : component.connectors())
        addValues(connector, content);
    }
  }

  /// The text with numbers in place of the identities, and of the anchors made of them, that another text has not:
  /// those of objects that opening has made.
  static std::string withoutNewIdentities(const std::string& content, const std::string& known) {
    static const std::regex identity("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}");
    std::map<std::string, std::string> names;
    for (std::sregex_iterator each(content.begin(), content.end(), identity), end; each != end; ++each)
      if (known.find(each->str()) == known.npos && !names.contains(each->str()))
        names[each->str()] = "new" + std::to_string(names.size());
    std::map<std::string, std::string> anchors;
    static const std::regex anchored("uuid=\"([^\"]*)\" as=\"([^\"]*)\"");
    for (std::sregex_iterator each(content.begin(), content.end(), anchored), end; each != end; ++each)
      anchors[(*each)[2]] = names.contains((*each)[1]) ? names[(*each)[1]] : std::string((*each)[1]);
    static const std::regex word("[^\" ]+");
    std::string result;
    auto last = content.cbegin();
    for (std::sregex_iterator each(content.begin(), content.end(), word), end; each != end; ++each) {
      const auto name = names.find(each->str());
      const auto anchor = anchors.find(each->str());
      result.append(last, (*each)[0].first);
      result += name != names.end() ? name->second : anchor != anchors.end() ? anchor->second : each->str();
      last = (*each)[0].second;
    }
    return result.append(last, content.cend());
  }
  static std::string differences(const std::string& a, const std::string& b) {
    const auto linesOf = [](const std::string& all) {
      std::vector<std::string> lines;
      std::istringstream in(all);
      for (std::string line; std::getline(in, line);)
        lines.push_back(line);
      return lines;
    };
    std::string found;
    const auto ours = linesOf(a), theirs = linesOf(b);
    for (const auto& [from, in, mark] : {std::tuple(&ours, &theirs, "- "), std::tuple(&theirs, &ours, "+ ")})
      for (const auto& line : *from)
        if (std::ranges::find(*in, line) == in->end())
          found += mark + line + "\n";
    return found.empty() && a != b ? "another order" : found;
  }

  tavo::String down(const std::string& content, const tavo::String& release) {
    losses_.clear();
    return Evolver::evolve(present, release, text(content), {}, &losses_);
  }
  static std::string upAgain(const tavo::String& content, const std::string& name) {
    const auto model = tavo::Model::create();
    tavo::readModel(content, name, model);
    tavo::checkInvariants(model);
    return tavo::modelText(model).toUtf8();
  }

  /// What a feature of an object says in a file.
  struct Fact {
    std::vector<tavo::evolution::Loss> whole; ///< how an account would tell that the object goes, or what contains it
    std::string feature, text;
    bool isList = false; ///< of references, with a bar behind each
  };
  using Facts = std::map<std::pair<std::string, std::string>, Fact>; ///< by object and feature
  /// What proxies lead to is said where they stand, and what values elements have as these see it.
  static Facts factsOf(const Content& content) {
    using tavo::evolution::classNamed, tavo::evolution::Object;
    const auto& resolver = classNamed("zelkor.services.proxy.Resolver");
    const auto& proxy = classNamed("zelkor.services.proxy.ProxySource");
    const auto& profile = classNamed("zelkor.profile.Profile");
    const auto& catalog = classNamed("zelkor.property.TypeCatalog");
    const auto& type = classNamed("zelkor.property.ValueType");
    const auto& descriptor = classNamed("zelkor.property.ValueTypeDescriptor");
    tavo::MemorySource source(content.text);
    const auto document = tavo::evolution::EvolutionEngine({}).run(source, "facts");
    Facts facts;
    document->each([&](Object& object) {
      if (object.isA(resolver) || object.isA(proxy) || (object.owner && object.owner->isA(resolver)))
        return;
      // Built-in types come back under other identities, and so do their descriptions.
      const bool isShared = object.owner && (object.owner->isA(profile) || object.owner->isA(catalog));
      const bool isType = object.isA(descriptor) || (object.isA(type) && !object.child(type.feature("typeProxy")));
      const auto name = object.text(profile.feature("Name"));
      const auto known = isShared && isType && !name.empty() ? object.in->qualifiedName() + std::string(name)
                                                             : tavo::toText(object.uuid);
      tavo::evolution::Account account;
      for (const auto* at = &object; at; at = at->owner)
        account.note(*at, at->record->name(), "is left out");
      const auto add = [&](std::string_view feature, std::string_view text, bool isOfList = false) {
        auto& fact = facts[{known, std::string(feature)}];
        fact = {account.losses(), std::string(feature), fact.text + std::string(text) + "|", isOfList};
      };
      const auto identityOf = [&](std::string_view reference) {
        const auto* target = document->target(reference);
        return target ? tavo::toText(target->uuid) : std::string(reference);
      };
      for (const auto& each : object.attributes)
        add(each.feature->name(), each.feature->isReference() ? identityOf(each.text) : each.text);
      for (const auto& each : object.references)
        add(each.feature->name(), identityOf(each.target), true);
      for (const auto& each : object.values) {
        for (const auto& [field, text] : each.own.fields)
          add(each.feature->name(), text);
        for (const auto& item : each.items)
          for (const auto& [field, text] : item.fields)
            add(each.feature->name(), text);
      }
      for (const auto& child : object.children)
        if (const auto* target = document->target(child.text(proxy.feature("target"))); child.isA(proxy) && target)
          add(child.in->name(), target->text(target->record->feature("targetId")), true);
    });
    for (const auto& [place, value] : content.values) {
      const auto blank = place.find(' ');
      auto element = place.substr(0, blank);
      const auto property = place.substr(blank + 1);
      std::ranges::replace(element, '/', '.');
      facts[{element, property}] = {{{element, "Value", "is left out"}}, property, value.first};
    }
    return facts;
  }
  /// Whether files of a release have no word for it, and opening makes it anew.
  static bool isMadeAnew(const Fact& fact, const tavo::String& release) {
    static const std::map<std::string_view, tavo::String> lastWithout = {
        {"PrototypeToPrototypableCache", u"Oriole"},
        {"currentVersionId", u"Oriole"},
        {"lastDefVersionSynced", u"Oriole"},
        {"valueTypeProxy", u"Thrush"}, // follows from the property
        {"PropertySetUsage", u"Linnet"},
        {"TypeCatalog", u"Linnet"},
        {"ModelIdentifier", u"Linnet"},
        {"p_PropertySets", u"Linnet"},
        {"unitChecker", u"Linnet"}};
    const auto isOne = [&](std::string_view name) {
      const auto all = releases();
      const auto found = lastWithout.find(name);
      return found != lastWithout.end() && std::ranges::find(all, release) <= std::ranges::find(all, found->second);
    };
    return isOne(fact.feature) || std::ranges::any_of(fact.whole, isOne, &tavo::evolution::Loss::what);
  }
  /// How many items of a list have gone, or come; 1 for everything else.
  static std::size_t changes(const Fact& fact, const std::string& before, const std::string& after) {
    const auto itemsNotIn = [](const std::string& list, const std::string& other) {
      std::size_t count = 0;
      for (std::size_t at = 0, end = 0; (end = list.find('|', at)) != list.npos; at = end + 1)
        count += ("|" + other).find("|" + list.substr(at, end + 1 - at)) == other.npos;
      return count;
    };
    return fact.isList ? std::max(itemsNotIn(before, after), itemsNotIn(after, before)) : 1;
  }
  /// What an expression with members of enumerations, or texts in place of them, says of these.
  static std::string membersOf(const std::string& expression) {
    static const std::regex signs("[A-Za-z]\\w*\\.|['\\[\\]{}]");
    return std::regex_replace(expression, signs, "");
  }
  /// Whether the last way down has told what becomes of it, each change by itself, or opening what it has not found.
  bool isTold(const Fact& fact, const std::string& before, const std::string& after,
              const std::vector<kavra::Diagnostic>& reports) const {
    static const std::multimap<std::string_view, std::string_view> words = {
        {"typeProxy", "the type "},
        {"typeProxy", "the base type "},
        {"minValue", "the base type "},
        {"maxValue", "the base type "},
        {"nameProxy", "the type "},
        {"Name", "the enumeration "},
        {"nameProxy", "the enumeration "},
        {"parentProxy", "the parent "},
        {"componentHeaderColor", "the colour of components is left out"},
        {"componentHeaderColor", "the colour of connectors becomes "},
        {"connectorLineColor", "the colour of connectors is left out"},
        {"connectorLineColor", "the colour of components becomes "},
        {"_PrototypeProxy", "the stereotype "},
        {"ProfileProxy", "the profile "},
        {"p_DependentProfileProxy", "the profile "}};
    const auto& object = fact.whole.front().object;
    const auto [first, last] = words.equal_range(fact.feature);
    const bool isSameAsText = fact.feature == "storedExpression" && membersOf(before) == membersOf(after);
    const auto tells = [&, first = first, last = last](const tavo::evolution::Loss& loss) {
      const auto sentence = loss.what + " " + loss.effect;
      return loss.object == object &&
             (loss.what == fact.feature || loss.what == fact.whole.front().what ||
              loss.what.ends_with(" " + fact.feature) || (isSameAsText && sentence.starts_with("the type ")) ||
              std::any_of(first, last, [&](const auto& each) { return sentence.starts_with(each.second); }));
    };
    const auto isWhole = [&](const auto& loss) { return std::ranges::count(fact.whole, loss) != 0; };
    const auto told = static_cast<std::size_t>(std::ranges::count_if(losses_, tells));
    const auto element = '"' + object.substr(object.rfind('.') + 1) + '"';
    return told >= changes(fact, before, after) || std::ranges::any_of(losses_, isWhole) ||
           std::ranges::any_of(reports, [&](const kavra::Diagnostic& report) {
             return report.causes.front().find(element) != std::string::npos;
           });
  }
  /// What is reported of a file as its author meant it: a profile that refers to what is gone, values that nobody can
  /// take over.
  static std::vector<std::string> reportsOf(const fs::path& place, bool isOld) {
    static const std::set<std::string> ofLostType = {"Thrush/Traction.xml", "Thrush/models/Shed.xml",
                                                     "Oriole/Stations.xml", "Oriole/models/Terminus.xml"};
    static const std::map<std::string, std::size_t> wrongValues = {{"Plover/models/Junction.xml", 7},
                                                                   {"Linnet/models/Depot.xml", 5}};
    if (ofLostType.contains(place.string()))
      return {"Velmora:Profile:ErrorLoadingProfile"};
    const auto found = wrongValues.find(place.string());
    const bool hasWrong = isOld && found != wrongValues.end();
    return std::vector<std::string>(hasWrong ? found->second : 0, "Velmora:Architecture:FailedToMigrateLinnetModel");
  }

  std::vector<tavo::evolution::Loss> losses_;
};

TEST_F(CorpusTest, IsLargeEnough) {
  for (const auto& release : releases()) {
    const auto files = filesIn(corpus / release.toUtf8());
    const auto ofModels = std::ranges::count_if(files, isModel);
    EXPECT_GE(ofModels, 2) << release.toUtf8();
    EXPECT_GE(std::ssize(files) - ofModels, 4) << release.toUtf8();
  }
}

// Only of what some file says do the tests below see what becomes of it.
TEST_F(CorpusTest, FilesOfEachReleaseSayAllThatItCan) {
  using namespace tavo::evolution;
  static const std::set<std::string_view> inNoFile = {
      "CloneContext", "UUIDElemPair", "ProfileUseChecker", // stand alone while something is done, and are no roots
      "CorvaneBlockHandleSIDPair",                         // of a list that is not saved
      "TransientCorvaneArchitectureElemPair"};             // gone before the model is saved
  for (const auto& release : releases()) {
    std::set<const void*> said; // records of classes and features
    std::set<std::pair<const FeatureRecord*, std::string>> literals;
    bool hasEscaped = false;
    for (const auto& path : filesIn(corpus / release.toUtf8())) {
      const auto content = contentOf(path);
      tavo::MemorySource source(content);
      const auto document = EvolutionEngine({}).run(source, path.filename());
      document->each([&](const Object& object) {
        for (const auto* record = object.record; record; record = record->base)
          said.insert(record);
        said.insert(object.in);
        for (const auto& each : object.attributes) {
          said.insert(each.feature);
          literals.emplace(each.feature, each.text);
        }
        for (const auto& each : object.references)
          said.insert(each.feature);
        for (const auto& each : object.values) {
          said.insert(each.feature);
          for (const auto& field : each.own.fields)
            hasEscaped = hasEscaped || field.first == "escaped";
        }
      });
    }
    EXPECT_TRUE(hasEscaped) << release.toUtf8() << " has no text in escapes";

    const auto expectAll = [&](const Family& family, const tavo::String& name) {
      const auto version = family.find(name.toUtf8());
      ASSERT_NE(version, noVersion);
      for (const auto& record : family.classes) {
        if (!record.life.holds(version) || record.qualifiedName.starts_with("zelkor.test.") ||
            inNoFile.contains(record.name()))
          continue;
        EXPECT_TRUE(said.contains(&record)) << release.toUtf8() << " has no " << record.life.nameIn(version);
        for (const auto& feature : record.features) {
          if (!feature.life.holds(version))
            continue;
          EXPECT_TRUE(said.contains(&feature)) << release.toUtf8() << " has no " << feature.qualifiedName();
          if (!feature.today || !feature.today->datatype())
            continue;
          for (const auto& literal : feature.today->datatype()->literals)
            EXPECT_TRUE(literal.value == 0 ||
                        literals.contains({&feature, std::string(literal.name)})) // 0: the default
                << release.toUtf8() << " has no " << feature.qualifiedName() << " " << literal.name;
        }
      }
    };
    expectAll(*findFamily("zelkor_property"), ReleaseRegistry::getFamilyVersionForKavraRelease(release));
    expectAll(*findFamily("zelkor_services_proxy"),
              services::proxy::evolution::ReleaseRegistry::getFamilyVersionForKavraRelease(release));
    expectAll(*findFamily("zelkor_arch"), tavo::String(u"1.0"));
  }
}

// A file that was typed by hand is told by its fellow in `expected`; of the others, the present form is in the folder
// of the present release.
TEST_F(CorpusTest, FilesOfAllReleasesOpenToWhatTheyMean) {
  for (const auto& release : releases())
    for (const auto& old : filesIn(corpus / release.toUtf8())) {
      const auto name = old.filename().string();
      const auto place = fs::relative(old, corpus);
      SCOPED_TRACE(place.string());
      const auto before = contentOf(old);
      bring(corpus / release.toUtf8());
      auto opened = open(name, isModel(old));
      EXPECT_EQ(reported(), reportsOf(place, true));
      EXPECT_EQ(contentOf(file(name)), before);

      const auto expected = corpus / "expected" / place;
      if (std::getenv("ZELKOR_UPDATE") && fs::exists(expected) && fs::file_size(expected) == 0)
        write(expected, opened.text);
      const auto newest = newestWith(fs::relative(old, corpus / release.toUtf8()));
      EXPECT_TRUE(fs::exists(expected) || release == present || newest != corpus / release.toUtf8())
          << "nothing says what it means: put an empty file of its name into `expected`, and run with ZELKOR_UPDATE=1";
      bring(fs::exists(expected) ? corpus / "expected" / release.toUtf8() : newest);
      auto meant = open(name, isModel(old));
      EXPECT_EQ(reported(), reportsOf(place, false));
      if (fs::exists(expected)) {
        EXPECT_EQ(differences(withoutNewIdentities(opened.text, before), withoutNewIdentities(meant.text, before)), "");
        EXPECT_EQ(opened.values, meant.values);
      } else {
        const auto known = before + contentOf(file(name));
        EXPECT_EQ(differences(withoutNewIdentities(down(opened.text, release).toUtf8(), known),
                              withoutNewIdentities(down(meant.text, release).toUtf8(), known)),
                  "");
      }
    }
}

// Whatever a file no longer says after the way down and up again, or says otherwise, the account tells.
TEST_F(CorpusTest, NothingGoesWithoutAWord) {
  for (const auto& path : presentFiles()) {
    const auto name = path.filename().string();
    const auto folder = isModel(path) ? path.parent_path().parent_path() : path.parent_path();
    bring(folder);
    const auto now = open(name, isModel(path));
    const auto facts = factsOf(now);
    for (const auto& release : releases()) {
      bring(folder);
      write(file(name), down(now.text, release).toUtf8());
      diagnostics_->diagnostics.clear();
      const auto later = factsOf(open(name, isModel(path)));
      std::set<std::string> objects;
      const auto compare = [&](const auto& place, const Fact& fact, const std::string& before,
                               const std::string& after) {
        EXPECT_TRUE(before == after || isMadeAnew(fact, release) ||
                    isTold(fact, before, after, diagnostics_->diagnostics))
            << fs::relative(path, corpus).string() << " for " << release.toUtf8() << ": " << place.second << " of "
            << fact.whole.front().object << " (" << fact.whole.front().what << "): " << before << " became " << after;
      };
      for (const auto& [place, fact] : facts) {
        objects.insert(place.first);
        const auto same = later.find(place);
        compare(place, fact, fact.text, same == later.end() ? "nothing" : same->second.text);
      }
      for (const auto& [place, fact] : later)
        if (const bool isDefault = fact.whole.front().what == "Value" && !fact.text.ends_with(" own");
            !isDefault && objects.contains(place.first) && !facts.contains(place))
          compare(place, fact, "nothing", fact.text);
    }
  }
}

// What an older release cannot hold is told to the letter: see `losses`.
TEST_F(CorpusTest, PresentFilesGoDownToEachReleaseAndComeBack) {
  auto typedFiles = filesIn(corpus / "down");
  for (const auto& path : presentFiles()) {
    std::string account;
    const auto place = fs::relative(path, corpus);
    SCOPED_TRACE(place.string());
    const auto now = upAgain(text(contentOf(path)), path.filename());
    for (const auto& release : releases()) {
      SCOPED_TRACE(release.toUtf8());
      const auto old = down(now, release);
      account += release.toUtf8() + "\n";
      for (const auto& loss : losses_) {
        const auto words = property::evolution::inWords(loss);
        EXPECT_TRUE(loss.what.find(' ') != loss.what.npos || !words.starts_with(loss.what)) << "no words for " << words;
        account += "  " + loss.object + ": " + words + "\n";
      }
      const auto again = upAgain(old, path.filename());
      if (release == present) {
        EXPECT_EQ(differences(now, again), "");
      }
      const auto typed = corpus / "down" / release.toUtf8() / (isModel(path) ? models : "") / path.filename();
      if (std::erase(typedFiles, typed)) {
        const auto meant = Evolver::evolve(release, release, text(contentOf(typed)), {}).toUtf8();
        EXPECT_EQ(differences(withoutNewIdentities(meant, now), withoutNewIdentities(old.toUtf8(), now)), "");
      }
      EXPECT_EQ(differences(old.toUtf8(), down(again, release).toUtf8()), "");
      EXPECT_TRUE(losses_.empty()) << "comes back with " << losses_.front().object << " " << losses_.front().what;
    }
    const bool isExpected = *place.begin() == "expected";
    auto golden = corpus / "losses" / (isExpected ? fs::relative(place, "expected") : place);
    golden.replace_extension(".txt");
    if (std::getenv("ZELKOR_UPDATE")) {
      fs::create_directories(golden.parent_path());
      write(golden, account);
    }
    EXPECT_EQ(account, contentOf(golden)) << "run this test with ZELKOR_UPDATE=1 and review what has changed";
  }
  EXPECT_EQ(typedFiles, std::vector<fs::path>()) << "compared with no present file";
}

} // namespace
} // namespace zelkor
