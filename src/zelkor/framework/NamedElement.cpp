#include "zelkor/framework/NamedElement.impl.h"

#include "kavra/Diagnostics.h"
#include "kavra/Error.h"
#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"
#include "zelkor/clone/CloneContext.h"

namespace zelkor::internal {

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
  const tavo::String text = tavo::treeText(handle(), writing);

  tavo::Transaction transaction(target);
  tavo::Uuid copied{};
  tavo::ReadOptions reading;
  reading.freshIdentities = [&](const tavo::Uuid& source, const tavo::Uuid& copy) {
    if (context)
      context.addSourceTargetPair(source, copy);
    if (source == uuid())
      copied = copy;
  };
  const auto parsed = tavo::Model::create();
  tavo::readModel(text, tavo::toText(uuid()), parsed, reading);
  parsed.moveContentsTo(target);
  transaction.commit();
  return target.find<NamedElement>(copied);
}

void NamedElement::Impl::remapAssociations(const NamedElement&, const clone::CloneContext&, const NamedElement&) {}

void NamedElement::Impl::reparent(const tavo::ModelElement&) {}

void NamedElement::Impl::aboutToDestroy() {
  Base::aboutToDestroy();
  destroyCachedWrapper();
}

} // namespace zelkor::internal
