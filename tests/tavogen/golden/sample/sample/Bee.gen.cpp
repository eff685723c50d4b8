// Made by tavogen from Bed.toml; edit that instead.
#include "sample/Bee.impl.h"

#include "sample/Bed.h"
#include "sample/Bee.builder.h"
#include "sample/Bee.h"
#include "sample/Bee.query.h"
#include "sample/Plant.h"
#include "sample/package.h"
#include "tavo/collection/Views.h"
#include "tavo/core/Errors.h"
#include "tavo/meta/GeneratedCalls.h"

#include <cstddef>
#include <vector>

// Storages derive from each other, which offsetof supports conditionally; both compilers do.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace sample {
namespace {

constexpr tavo::PropertyDecl beeProperties[] = {
    {.name = "visited",
     .id = "aad812b4-07ae-3718-831e-5675d822040a",
     .kind = tavo::FeatureKind::refersMany,
     .flags = tavo::PropertyFlag::transient | tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Bee::Impl::Storage, visited),
     .target = &Plant::declaration,
     .opposite = "feeds"},
    {.name = "home",
     .id = "17ddab84-c8a0-3391-92b4-6baf9802e6e3",
     .kind = tavo::FeatureKind::refersOne,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Bee::Impl::Storage, home),
     .target = &Bed::declaration},
};

constexpr tavo::ArgumentDecl beeDanceArguments[] = {
    {.name = "around", .id = "222a5536-9e2c-3420-a6df-c5a1653e168a", .type = "Plant"},
};

constexpr tavo::OperationDecl beeOperations[] = {
    {.name = "dance",
     .id = "07de0e8c-7d7a-37df-903d-f39001b10f5a",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isConst,
     .arguments = beeDanceArguments,
     .returns = "metres",
     .call = &tavo::detail::callOperation<&Bee::Impl::dance>,
     .doc = "How far it is."},
};

} // namespace

const tavo::ClassDecl& Bee::declaration() {
  static const tavo::ClassDecl declared{
      .name = "Bee",
      .qualifiedName = "sample.Bee",
      .id = "baff9130-fca0-3b81-8501-2f3d1ecd72d7",
      .flags = tavo::ClassFlag::isRoot,
      .base = &tavo::ModelElement::declaration,
      .package = &sample::package,
      .storageSize = sizeof(Impl::Storage),
      .builtOn = tavo::detail::layoutOf<Impl::Base>(),
      .construct = &tavo::detail::constructObject<Impl>,
      .destroyStorage = &tavo::detail::destroyStorage<Impl>,
      .properties = beeProperties,
      .operations = beeOperations,
      .doc = "A visitor.",
  };
  return declared;
}

const tavo::MetaClass& Bee::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

// The handle

Bee Bee::create(const tavo::Model& model, const tavo::Uuid& uuid) { return model.create<Bee>(uuid); }
tavo::View<Plant> Bee::visited() const { return impl<Impl>().getVisited(); }
Bed Bee::home() const { return impl<Impl>().getHome(); }
double Bee::dance(const Plant& around) const { return impl<Impl>().dance(around); }

// The object

tavo::View<Plant> Bee::Impl::getVisited() const { return {handle(), at(Index::visited)}; }
tavo::Mutable<tavo::View<Plant>> Bee::Impl::getVisitedMutable() { return {handle(), at(Index::visited)}; }
bool Bee::Impl::hasVisited() const { return !getVisited().empty(); }
Bed Bee::Impl::getHome() const { return Bed(tavo::targetOf(storage().home)); }
bool Bee::Impl::hasHome() const { return tavo::targetOf(storage().home) != nullptr; }
void Bee::Impl::setHome(const Bed& value) { basicSetHome(value); }
void Bee::Impl::basicSetHome(const Bed& value) { setOne(at(Index::home), value.get()); }

// Not written yet

double Bee::Impl::dance(const Plant&) const { tavo::raise(tavo::FrameworkError::NotAvailable, "sample.Bee.dance"); }

// Builders

void Bee::Impl::BuilderImpl::doAddVisited(const Plant& value) {
  setOrAdd(metaClass().at(Index::visited), tavo::Value::of<tavo::ModelElement>(value));
}
void Bee::Impl::BuilderImpl::doClearVisited() { clear(metaClass().at(Index::visited)); }
std::vector<Plant> Bee::Impl::BuilderImpl::getVisited() const { return targets<Plant>(Index::visited); }
void Bee::Impl::BuilderImpl::doSetHome(const Bed& value) {
  setOrAdd(metaClass().at(Index::home), tavo::Value::of<tavo::ModelElement>(value));
}
Bed Bee::Impl::BuilderImpl::getHome() const { return target(Index::home).as<Bed>(); }

// Queries

Bee::Constrainables::Constrainables(const tavo::Query& query)
    : Constrainables(query, Bee::metaClass(), tavo::ClassMatch::withSubclasses) {}
tavo::CollectionTerms Bee::Constrainables::visited() const { return tavo::CollectionTerms(at(Impl::Index::visited)); }
tavo::ObjectTerms Bee::Constrainables::home() const { return tavo::ObjectTerms(at(Impl::Index::home)); }

} // namespace sample
