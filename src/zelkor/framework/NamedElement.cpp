#include "zelkor/framework/NamedElement.impl.h"

#include "kavra/Diagnostics.h"
#include "kavra/Error.h"
#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/clone/CopyTransaction.h"
#include "zelkor/property/RealType.impl.h"
#include "zelkor/property/UnitQueryClientWrapper.h"
#include "zelkor/services/Proxies.h"
#include "zelkor/services/ProxySource.impl.h"

#include <unordered_map>

namespace zelkor::internal {
namespace {

namespace proxy = services::proxy;

/// The copy of each source, by identity.
using Copies = std::unordered_map<tavo::Uuid, tavo::Uuid, tavo::UuidHash>;

// References that lead out of what is copied. They are not copied but made anew, since the copy may be in another
// model.

const tavo::MetaProperty& proxyTarget() {
  return proxy::ProxySource::metaClass().at(proxy::ProxySource::Impl::Index::target);
}

const tavo::MetaProperty& unitChecker() {
  return property::RealType::metaClass().at(property::RealType::Impl::Index::unitChecker);
}

void leadOut(const tavo::ModelElement& copy, const tavo::ModelElement& source, const Copies& copies) {
  if (const auto reference = source.as<proxy::ProxySource>()) {
    const auto element = reference.findTargetElement();
    const auto copied = element ? copies.find(element.Uuid()) : copies.end();
    // What was copied along is meant; everything else stays what it is.
    if (copied == copies.end())
      proxy::referAs(copy.cast<proxy::ProxySource>(), reference);
    else
      proxy::referTo(copy.cast<proxy::ProxySource>(), copy.model().find<proxy::ProxiableElement>(copied->second));
  } else if (const auto type = source.as<property::RealType>(); type && type.unitChecker()) {
    static_cast<property::RealType::Impl&>(copy.object())
        .setUnitChecker(property::UnitQueryClientWrapper::get(copy.model()));
  }
}

} // namespace

tavo::String NamedElement::Impl::getName() const { return getP_Name(); }

void NamedElement::Impl::setName(const tavo::String& name) { setP_Name(name); }

tavo::String NamedElement::Impl::getExternalUID() const { return getP_ExternalUID().value_or(tavo::String()); }

void NamedElement::Impl::setExternalUID(const tavo::String& id) { setP_ExternalUID(id); }

tavo::String NamedElement::Impl::getQKIdentifier() const {
  return tavo::String::fromUtf8("QK:" + tavo::toText(uuid()));
}

void NamedElement::Impl::releaseCachedWrapper() { storage().cachedWrapper = nullptr; }

void NamedElement::Impl::destroyCachedWrapper() {
  if (!getCachedWrapper() || !getCachedWrapper()->isVessaObject())
    return;
  // Let go first, so that "delete" is called once whatever it does.
  const auto wrapper = getCachedWrapper();
  releaseCachedWrapper();
  try {
    wrapper->call(u"delete");
  } catch (const kavra::Error& error) {
    // A scripting object that does not die must not keep its element alive.
    kavra::report({.id = error.id(), .arguments = error.arguments(), .text = error.what(), .causes = {}});
  }
}

bool NamedElement::Impl::shouldDestroyCachedWrapperOnSet() const { return true; }

void NamedElement::Impl::aboutToSetCachedWrapper(const std::shared_ptr<kavra::HostObject>& wrapper) {
  if (wrapper && wrapper != getCachedWrapper() && shouldDestroyCachedWrapperOnSet())
    destroyCachedWrapper();
}

NamedElement NamedElement::Impl::clone(const tavo::Model&, const clone::CloneContext&) const { return {}; }

NamedElement NamedElement::Impl::cloneComposition(const tavo::Model& target, const clone::CloneContext& context,
                                                  const std::vector<tavo::Uuid>& excludedProperties) const {
  tavo::WriteOptions writing;
  for (const auto& id : excludedProperties)
    for (const auto* package : tavo::MetaRegistry::instance().packages())
      for (const auto& metaClass : package->classes())
        if (const auto* property = metaClass->findProperty(id); property && &property->owner() == metaClass.get())
          writing.transient.push_back(property);
  writing.transient.push_back(&proxyTarget());
  writing.transient.push_back(&unitChecker());
  const tavo::String text = tavo::treeText(handle(), writing);

  clone::CopyTransaction transaction(target, context);
  Copies copies;
  tavo::ReadOptions reading;
  reading.freshIdentities = [&](const tavo::Uuid& source, const tavo::Uuid& copy) { copies.emplace(source, copy); };
  const auto parsed = tavo::Model::create();
  tavo::readModel(text, tavo::toText(uuid()), parsed, reading);
  parsed.moveContentsTo(target);
  for (const auto& [source, copy] : copies) {
    leadOut(target.find(copy), model().find(source), copies);
    if (context)
      context.addSourceTargetPair(source, copy);
  }
  transaction.commit();
  return target.find<NamedElement>(copies.at(uuid()));
}

void NamedElement::Impl::remapAssociations(const NamedElement&, const clone::CloneContext&, const NamedElement&) {}

void NamedElement::Impl::reparent(const tavo::ModelElement&) {}

void NamedElement::Impl::aboutToDestroy() {
  Base::aboutToDestroy();
  destroyCachedWrapper();
}

} // namespace zelkor::internal
