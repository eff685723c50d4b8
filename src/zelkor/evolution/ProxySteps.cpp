// What the versions of the proxy services did to files, beyond what the schemas say; docs/schema-history.md tells why.
#include "tavo/evolution/Evolution.h"

#include <map>

namespace zelkor::services::proxy::evolution {
namespace {

using namespace tavo::evolution;

struct Records {
  const ClassRecord& resolver = classNamed("zelkor.services.proxy.Resolver");
  const ClassRecord& source = classNamed("zelkor.services.proxy.ProxySource");
  const ClassRecord& target = classNamed("zelkor.services.proxy.ProxyTarget");
  const ClassRecord& ownResolver = classNamed("zelkor.services.proxy.CurrentModelResolver");
  const ClassRecord& lostResolver = classNamed("zelkor.services.proxy.LostModelResolver");
  const ClassRecord& identifier = classNamed("zelkor.services.proxy.ModelIdentifier");
  const FeatureRecord& uri = resolver.feature("URI");
  const FeatureRecord& proxies = resolver.feature("proxies");
  const FeatureRecord& shared = source.feature("target");
  const FeatureRecord& resolvedBy = source.feature("resolver");
  /// Of the sources in the former versions, and of the targets that took them over.
  const FeatureRecord* ofSource[3] = {&source.feature("targetId"), &source.feature("targetClassId"),
                                      &source.feature("targetName")};
  const FeatureRecord* ofTarget[3] = {&target.feature("targetId"), &target.feature("targetClassId"),
                                      &target.feature("targetName")};
};

const Records& records() {
  static const Records all;
  return all;
}

constexpr std::string_view extension = ".xml";

//----------------------------------------------------------------------------------------------------------------------
// 1.0: resolvers name what they lead to; before, the file in which it was

std::string_view withoutFolder(std::string_view path) {
  return path.substr(path.find_last_of("/\\") + 1); // npos + 1 is 0
}

void pathsBecomeNames(Document& document) {
  document.each(records().resolver, [&](Object& object) {
    auto path = withoutFolder(object.text(records().uri));
    if (path.ends_with(extension))
      path.remove_suffix(extension.size());
    if (!path.empty())
      document.set(object, records().uri, path);
  });
}

void namesBecomePaths(Document& document, Account& account) {
  const auto& uri = records().uri;
  document.each([&](Object& object) {
    if (object.isA(records().identifier) || object.isA(records().ownResolver))
      return document.remove(object); // the name of the file says it, and inside a file references were plain
    if (!object.isA(records().resolver) || object.text(uri).empty())
      return;
    const auto name = std::string(object.text(uri));
    const auto kept = std::string(withoutFolder(name));
    if (kept != name) // no model is called that; what is before it would be taken for a folder
      account.note(object, "the model \"" + name + "\"", kept.empty() ? "is not named" : "is called \"" + kept + "\"");
    if (kept.empty())
      Document::clear(object, uri);
    else
      document.set(object, uri, kept + std::string(extension));
  });
}

//----------------------------------------------------------------------------------------------------------------------
// 1.1: the sources that lead to one element share a target, which the resolver keeps

void shareTargets(Document& document) {
  const auto& r = records();
  std::map<std::pair<const Object*, std::string_view>, Object*> targets;
  std::map<std::string_view, Object*> lost;
  // Where nothing resolves a source, the name of its target begins with that of the model that has it.
  const auto lostResolver = [&](const Object& source) {
    const auto name = source.text(*r.ofSource[2]);
    const auto model = name.substr(0, name.find('.'));
    auto*& resolver = lost[model];
    if (!resolver) {
      const auto uuid = tavo::nameUuid(document.top().front().uuid,
                                       std::string(r.lostResolver.qualifiedName) + " " + std::string(model));
      resolver = &document.add(r.lostResolver, nullptr, nullptr, uuid);
      document.set(*resolver, r.uri, model);
    }
    return resolver;
  };
  document.each(r.source, [&](Object& source) {
    const auto id = source.text(*r.ofSource[0]);
    if (!id.empty()) {
      auto* resolver = document.target(source.text(r.resolvedBy));
      if (!resolver)
        resolver = lostResolver(source);
      auto*& target = targets[{resolver, id}];
      if (!target) {
        target = &document.add(r.target, resolver, &r.proxies, tavo::nameUuid(resolver->uuid, id));
        for (int i = 0; i < 3; ++i)
          if (const auto* text = source.find(*r.ofSource[i]))
            Document::setKept(*target, *r.ofTarget[i], *text);
      }
      document.set(source, r.shared, document.referenceTo(*target));
    }
    for (const auto* feature : r.ofSource)
      Document::clear(source, *feature);
    Document::clear(source, r.resolvedBy);
  });
}

void tellEachSource(Document& document, Account&) {
  const auto& r = records();
  boost::unordered_flat_map<const Object*, std::string_view> references;
  const auto referenceTo = [&](const Object& resolver) {
    const auto [found, isNew] = references.try_emplace(&resolver);
    if (isNew)
      found->second = document.referenceTo(resolver);
    return found->second;
  };
  document.each(r.source, [&](Object& source) {
    if (const auto* target = document.target(source.text(r.shared))) {
      for (int i = 0; i < 3; ++i)
        if (const auto* text = target->find(*r.ofTarget[i]))
          Document::setKept(source, *r.ofSource[i], *text);
      if (target->owner && !target->owner->isA(r.lostResolver))
        Document::setKept(source, r.resolvedBy, referenceTo(*target->owner));
    }
    Document::clear(source, r.shared);
  });
  document.each(r.target, [&](Object& target) { document.remove(target); });
  document.each(r.lostResolver, [&](Object& lost) { document.remove(lost); });
}

constexpr Step steps[] = {{.to = "1.0", .up = &pathsBecomeNames, .down = &namesBecomePaths},
                          {.to = "1.1", .up = &shareTargets, .down = &tellEachSource}};
[[maybe_unused]] const bool registered = registerSteps("zelkor_services_proxy", steps);

} // namespace
} // namespace zelkor::services::proxy::evolution
