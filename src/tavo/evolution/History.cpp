#include "tavo/evolution/History.h"

#include "tavo/core/Errors.h"

#include <algorithm>

namespace tavo::evolution {
namespace {

/// All families of the registered packages. Packages come when their libraries are loaded, and stay, so each is read
/// once.
class Histories {
public:
  static Histories& instance() {
    static auto* const histories = new Histories; // like the registry, it never goes
    return *histories;
  }

  const Family* find(const MetaPackage* package) {
    if (!package)
      return nullptr;
    for (const auto& family : families_)
      if (family->package == package)
        return family.get();
    return &add(*package);
  }

  const ClassRecord* find(const Uuid& id) {
    for (const MetaPackage* package : MetaRegistry::instance().packages())
      find(package);
    const auto found = byId_.find(id);
    return found == byId_.end() ? nullptr : found->second;
  }

  const ClassRecord* find(std::string_view qualifiedName) {
    for (const MetaPackage* package : MetaRegistry::instance().packages())
      find(package);
    const auto found = byName_.find(qualifiedName);
    return found == byName_.end() ? nullptr : found->second;
  }

private:
  Family& add(const MetaPackage& package) {
    if (const auto* root = &ModelElement::metaClass().package(); root != &package)
      find(root); // which no package names among those that it depends on
    for (const auto& dependency : package.declaration().depends)
      find(MetaRegistry::instance().findPackage(dependency().name));
    auto& family = *families_.emplace_back(std::make_unique<Family>(Family{&package}));
    try {
      fill(family, package);
    } catch (...) { // out of memory: who comes next tries again
      const auto isOfFamily = [&](const auto& entry) { return entry.second->family == &family; };
      boost::unordered::erase_if(byName_, isOfFamily);
      boost::unordered::erase_if(byId_, isOfFamily);
      families_.pop_back();
      throw;
    }
    return family;
  }

  void fill(Family& family, const MetaPackage& package) {
    const auto& versions = package.declaration().versions;
    family.versions.assign(versions.begin(), versions.end());
    if (versions.empty())
      family.versions.push_back(package.version());

    for (const auto& metaClass : package.classes())
      addClass(family, metaClass->qualifiedName(), metaClass->id(), metaClass->has(ClassFlag::derivedIdentity));
    for (const HistoryDecl& past : package.declaration().history)
      if (past.feature.empty()) {
        if (!past.removed.empty())
          addClass(family, past.metaClass, *parseUuid(past.id), past.derivedIdentity);
        date(byName_.at(past.metaClass)->life, past, family);
      }
    for (const auto& metaClass : package.classes())
      if (metaClass->base())
        byName_.at(metaClass->qualifiedName())->base = byName_.at(metaClass->base()->qualifiedName());
    for (const auto& metaClass : package.classes())
      addFeatures(*metaClass);
    for (const HistoryDecl& past : package.declaration().history)
      if (!past.base.empty())
        byName_.at(past.metaClass)->base = byName_.at(past.base);
    for (const HistoryDecl& past : package.declaration().history)
      if (!past.feature.empty())
        date(featureOf(past)->life, past, family);
  }

  void addClass(Family& family, std::string_view qualifiedName, const Uuid& id, bool derivesIdentity) {
    Lifetime life;
    life.name = qualifiedName.substr(qualifiedName.rfind('.') + 1);
    auto& record =
        family.classes.emplace_back(ClassRecord{&family, qualifiedName, id, nullptr, derivesIdentity, std::move(life)});
    byName_.emplace(qualifiedName, &record);
    byId_.emplace(id, &record);
  }

  void addFeatures(const MetaClass& metaClass) {
    auto& record = *byName_.at(metaClass.qualifiedName());
    for (const MetaProperty* property : metaClass.properties())
      if (&property->owner() == &metaClass && property->isSaved()) {
        Lifetime life;
        life.name = property->name();
        const auto* target = property->target() ? byName_.at(property->target()->qualifiedName()) : nullptr;
        addFeature(record, property->id(), property->kind(), target, std::move(life)).today = property;
      }
  }

  static FeatureRecord& addFeature(ClassRecord& record, const Uuid& id, FeatureKind kind, const ClassRecord* target,
                                   Lifetime&& life) {
    std::uint32_t depth = 0;
    for (const ClassRecord* at = record.base; at; at = at->base)
      ++depth;
    const auto order = (depth << 16) + static_cast<std::uint32_t>(record.features.size());
    return record.features.emplace_back(FeatureRecord{&record, id, kind, target, std::move(life), order});
  }

  /// The feature that a line of history is about; one that was removed comes into being with it.
  FeatureRecord* featureOf(const HistoryDecl& past) {
    auto& record = *byName_.at(past.metaClass);
    const Uuid id = *parseUuid(past.id);
    for (auto& feature : record.features)
      if (feature.id == id)
        return &feature;
    Lifetime life;
    life.name = past.feature;
    const auto* target = past.target.empty() ? nullptr : byName_.at(past.target);
    return &addFeature(record, id, past.kind, target, std::move(life));
  }

  static void date(Lifetime& life, const HistoryDecl& past, const Family& family) {
    if (!past.since.empty())
      life.since = family.find(past.since);
    if (!past.removed.empty())
      life.removed = family.find(past.removed);
    for (const FormerName& name : past.names)
      life.former.push_back({family.find(name.until), name.name});
  }

  std::vector<std::unique_ptr<Family>> families_;
  boost::unordered_flat_map<std::string_view, ClassRecord*> byName_;
  boost::unordered_flat_map<Uuid, ClassRecord*, UuidHash> byId_;
};

} // namespace

std::string_view Lifetime::nameIn(Version version) const {
  for (const Former& each : former)
    if (version < each.until)
      return each.name;
  return name;
}

std::string FeatureRecord::qualifiedName() const {
  return std::string(owner->qualifiedName) + "." + std::string(name());
}

bool FeatureRecord::givesIdentityTo(const ClassRecord& record) const {
  if (!today)
    return kind == FeatureKind::containsOne && record.derivesIdentity;
  const MetaClass* metaClass = MetaRegistry::instance().findClass(record.id);
  return metaClass ? today->givesIdentityTo(*metaClass) : kind == FeatureKind::containsOne && record.derivesIdentity;
}

Uuid FeatureRecord::derivedIdentity(const Uuid& ownerId, const Uuid& key, std::size_t position) const {
  return today ? today->derivedIdentity(ownerId, key, position) : derivedUuid(ownerId, id);
}

bool ClassRecord::isA(const ClassRecord& other) const {
  for (const ClassRecord* at = this; at; at = at->base)
    if (at == &other)
      return true;
  return false;
}

bool ClassRecord::mayContain(const ClassRecord& other) const {
  for (const ClassRecord* at = this; at; at = at->base)
    for (const FeatureRecord& each : at->features)
      if (each.isContainment() && other.isA(*each.target))
        return true;
  return false;
}

const FeatureRecord* ClassRecord::find(const Uuid& feature) const {
  for (const ClassRecord* at = this; at; at = at->base)
    for (const FeatureRecord& each : at->features)
      if (each.id == feature)
        return &each;
  return nullptr;
}

const FeatureRecord* ClassRecord::soleReference(Version version) const {
  const FeatureRecord* sole = nullptr;
  for (const ClassRecord* at = this; at; at = at->base)
    for (const FeatureRecord& each : at->features)
      if (each.life.holds(version)) {
        if (sole || each.kind != FeatureKind::refersOne || (each.today && each.today->opposite()))
          return nullptr;
        sole = &each;
      }
  return derivesIdentity ? sole : nullptr;
}

const FeatureRecord& ClassRecord::feature(std::string_view name) const {
  for (const ClassRecord* at = this; at; at = at->base)
    for (const FeatureRecord& each : at->features)
      if (each.name() == name)
        return each;
  raise(FrameworkError::NoSuchProperty, name, qualifiedName);
}

Version Family::find(std::string_view version) const {
  const auto found = std::ranges::find(versions, version);
  return found == versions.end() ? noVersion : static_cast<Version>(found - versions.begin());
}

std::string Family::uriOf(Version version) const {
  const auto parts = MetaRegistry::parseUri(package->uri());
  return parts.host + "/tavo/" + parts.package + "/" + std::string(versions[version]);
}

const Family* findFamily(std::string_view name) {
  return Histories::instance().find(MetaRegistry::instance().findPackage(name));
}

const ClassRecord* findClass(const Uuid& id) { return Histories::instance().find(id); }

const ClassRecord& classNamed(std::string_view qualifiedName) {
  if (const auto* found = Histories::instance().find(qualifiedName))
    return *found;
  raise(FrameworkError::NoSuchType, qualifiedName);
}

} // namespace tavo::evolution
