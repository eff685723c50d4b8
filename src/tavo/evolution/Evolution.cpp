#include "tavo/evolution/Evolution.h"

#include "tavo/core/Errors.h"
#include "tavo/core/Utf.h"
#include "tavo/evolution/Evolving.h"

#include <algorithm>

namespace tavo::evolution {
namespace {

struct FamilySteps {
  std::string_view family;
  std::span<const Step> steps;
};

std::vector<FamilySteps>& allSteps() {
  static auto* const steps = new std::vector<FamilySteps>; // filled while libraries are loaded
  return *steps;
}

struct ReleasesOfTwo {
  std::string_view family, other;
  std::vector<std::pair<std::string_view, std::string_view>> versions;
};

std::vector<ReleasesOfTwo>& allReleases() {
  static auto* const releases = new std::vector<ReleasesOfTwo>; // like the steps
  return *releases;
}

const Step* stepTo(const Family& family, Version version) {
  for (const auto& [name, steps] : allSteps())
    if (name == family.name())
      for (const Step& step : steps)
        if (step.to == family.versions[version])
          return &step;
  return nullptr;
}

/// Leaves out what a version of a family does not have, and says so.
void leaveOut(Document& document, const Family& family, Version version, Account& account) {
  const auto isUnknown = [&](const FeatureRecord& feature) {
    return feature.owner->family == &family && !feature.life.holds(version);
  };
  document.each([&](Object& object) {
    const bool isHeldInVain = object.in && isUnknown(*object.in);
    if (isHeldInVain || (object.record->family == &family && !object.record->life.holds(version))) {
      account.note(object, object.record->name(), "is left out");
      document.remove(object);
      return;
    }
    const auto drop = [&](auto& list) {
      std::erase_if(list, [&](const auto& each) {
        if (!isUnknown(*each.feature))
          return false;
        account.note(object, each.feature->name(), "is left out");
        return true;
      });
    };
    drop(object.attributes);
    drop(object.values);
    drop(object.references);
  });
}

Version requireVersion(const Family& family, std::string_view version, const std::string& name) {
  const Version found = family.find(version);
  if (found == noVersion)
    raise(FrameworkError::InvalidFamilyVersion, version, family.name(), family.versions.back(), name);
  return found;
}

/// How many packages a package builds on, each on the next.
std::size_t heightOf(const PackageDecl& package) {
  std::size_t height = 0;
  for (const auto& dependency : package.depends)
    height = std::max(height, heightOf(dependency()) + 1);
  return height;
}

/// The family to bring up to date next, wherever the file names it: steps make objects of the families that their own
/// builds on, as these were, so those come later. Null when all are up to date.
const Family* nextOld(Document& document) {
  const Family* next = nullptr;
  for (const auto& [family, version] : document.families()) // steps may add some
    if (version < family->present() &&
        (!next || heightOf(family->package->declaration()) > heightOf(next->package->declaration())))
      next = family;
  return next;
}

/// Keeps a document until it is complete, then brings it up to date and tells it.
class Evolving final : public ObjectsHandler {
public:
  Evolving(const DocumentHead& head, const std::string& name, const OpenDocument& open)
      : document_(name), builder_(intoDocument(head, document_)), open_(open) {}

  void start(const Whereabouts& at, std::string_view name, std::span<const XmlAttribute> attributes) override {
    builder_->start(at, name, attributes);
  }
  void end(const Whereabouts& at) override { builder_->end(at); }
  void finish() override {
    builder_->finish();
    Account nothing;
    while (const Family* family = nextOld(document_))
      evolve(document_, *family, family->present(), nothing);
    tell(document_, open_);
  }

private:
  Document document_;
  std::unique_ptr<ObjectsHandler> builder_;
  const OpenDocument& open_;
};

} // namespace

void Account::note(const Object& object, std::string_view what, std::string_view effect) {
  // Long names are cut: an object may have thousands of losses.
  constexpr std::size_t longest = 300, longestPath = 1000;
  std::string path;
  for (const Object* at = &object; at && path.size() < longestPath; at = at->owner) {
    if (at->in && at->in->kind == FeatureKind::containsOne)
      continue; // a part of its owner, which people do not know by a name of its own
    for (const Attribute& attribute : at->attributes)
      if (attribute.feature->name() == "Name")
        path.insert(0, path.empty() ? "" : ".").insert(0, beginningOf(attribute.text, longest));
  }
  Loss loss{std::move(path), beginningOf(what, longest), beginningOf(effect, longest)};
  if (known_.insert(loss).second)
    losses_.push_back(std::move(loss));
}

bool registerSteps(std::string_view family, std::span<const Step> steps) noexcept {
  try {
    allSteps().push_back({family, steps});
    return true;
  } catch (...) {
    return false; // nobody could catch it while a library is loaded; old files are then refused
  }
}

bool registerReleases(std::string_view family, std::string_view other,
                      std::vector<std::pair<std::string_view, std::string_view>> versions) noexcept {
  try {
    allReleases().push_back({family, other, std::move(versions)});
    return true;
  } catch (...) {
    return false;
  }
}

void requireVersionsOfOneRelease(const DocumentHead& head) {
  const auto find = [&](std::string_view name) {
    return std::ranges::find(head.families, name, &DocumentHead::Family::name);
  };
  const auto isOf = [](const DocumentHead::Family& family, std::string_view version) {
    return family.version == (version.empty() ? findFamily(family.name)->versions.back() : version);
  };
  for (const auto& [family, other, versions] : allReleases()) {
    const auto one = find(family), two = find(other);
    if (one == head.families.end() || two == head.families.end() ||
        std::ranges::any_of(versions,
                            [&](const auto& each) { return isOf(*one, each.first) && isOf(*two, each.second); }))
      continue;
    raiseInvalid(two->place, "no release wrote version " + two->version + " of the schema \"" + two->name +
                                 "\" together with version " + one->version + " of \"" + one->name + "\"");
  }
}

void evolve(Document& document, const Family& family, Version to, Account& account) {
  for (Version version = document.versionOf(family); version < to; ++version) {
    if (const Step* step = stepTo(family, version + 1); step && step->up)
      step->up(document);
    document.setVersion(family, version + 1);
  }
  for (Version version = document.versionOf(family); version > to; --version) {
    if (const Step* step = stepTo(family, version); step && step->down)
      step->down(document, account);
    leaveOut(document, family, version - 1, account);
    document.setVersion(family, version - 1);
  }
  document.dropDanglingReferences();
}

std::unique_ptr<Document> EvolutionEngine::run(ByteSource& source, const std::string& name) {
  account_ = {};
  auto document = std::make_unique<Document>(name);
  readDocument(source, name, Limits::current(), [&](DocumentHead&& head) { return intoDocument(head, *document); });

  struct Way {
    const Family* family;
    Version from, to;
  };
  std::vector<Way> ways;
  for (const auto& each : families_) {
    const Family* family = findFamily(each.family);
    if (!family)
      raise(FrameworkError::UnknownFamily, name, each.family);
    const Way way{family, requireVersion(*family, each.oldVersion, name),
                  requireVersion(*family, each.newVersion, name)};
    for (const auto& [used, version] : document->families())
      if (used == family && version != way.from)
        raise(FrameworkError::InvalidFamilyVersion, family->versions[version], family->name(), each.oldVersion, name);
    ways.push_back(way);
  }
  for (const auto& [family, from, to] : ways)
    if (from < to)
      evolve(*document, *family, to, account_);
  std::ranges::reverse(ways);
  for (const auto& [family, from, to] : ways)
    if (from > to)
      evolve(*document, *family, to, account_);
  document->renewAnchors();
  return document;
}

bool isOld(const DocumentHead& head) {
  return std::ranges::any_of(head.families, [](const auto& named) {
    const Family* family = findFamily(named.name);
    return family && family->find(named.version) < family->present();
  });
}

std::unique_ptr<ObjectsHandler> evolving(const DocumentHead& head, const std::string& name, const OpenDocument& open) {
  return std::make_unique<Evolving>(head, name, open);
}

} // namespace tavo::evolution
