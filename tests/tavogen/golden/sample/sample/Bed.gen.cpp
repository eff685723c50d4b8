// Made by tavogen from Bed.toml; edit that instead.
#include "sample/Bed.impl.h"

#include "sample/Bed.builder.h"
#include "sample/Bed.h"
#include "sample/Bed.query.h"
#include "sample/Named.h"
#include "sample/Plant.h"
#include "sample/Stone.h"
#include "sample/package.h"
#include "sample/tools/Tool.h"
#include "tavo/collection/Views.h"
#include "tavo/core/String.h"
#include "tavo/meta/GeneratedCalls.h"
#include "tavo/model/ModelElement.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

// Storages derive from each other, which offsetof supports conditionally; both compilers do.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace sample {
namespace {

constexpr tavo::PropertyDecl bedProperties[] = {
    {.name = "plants",
     .id = "c23f406a-9ba5-3ad0-a1f5-b372bc07ee94",
     .kind = tavo::FeatureKind::containsMany,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Bed::Impl::Storage, plants),
     .target = &Plant::declaration,
     .collection = tavo::CollectionKind::map,
     .opposite = "bed",
     .key = "Name",
     .secondKey = "number",
     .doc = "By name and by number."},
    {.name = "stones",
     .id = "354c1845-7bb7-3a2e-a162-fa9f71969400",
     .kind = tavo::FeatureKind::containsMany,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Bed::Impl::Storage, stones),
     .target = &Stone::declaration,
     .doc = "In order."},
    {.name = "spades",
     .id = "28728c71-2691-3746-b4a2-0ae3c4c021d0",
     .kind = tavo::FeatureKind::containsMany,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Bed::Impl::Storage, spades),
     .target = &sample::tools::Tool::declaration,
     .collection = tavo::CollectionKind::set},
    {.name = "gnome",
     .id = "e317691b-061b-3dfd-a351-46e0f16f8e98",
     .kind = tavo::FeatureKind::containsOne,
     .flags = tavo::PropertyFlag::publicAccessor | tavo::PropertyFlag::publicMutator,
     .offset = offsetof(Bed::Impl::Storage, gnome),
     .target = &Stone::declaration},
    {.name = "mark",
     .id = "b53f2c14-ad10-38be-ab9c-b4861ba7bda5",
     .kind = tavo::FeatureKind::containsOne,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Bed::Impl::Storage, mark),
     .target = &Stone::declaration},
    {.name = "byNumber",
     .id = "6d124b8d-2781-3ed9-912b-2fbe00c09f02",
     .kind = tavo::FeatureKind::refersMany,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Bed::Impl::Storage, byNumber),
     .target = &Plant::declaration,
     .collection = tavo::CollectionKind::map,
     .key = "number"},
    {.name = "favorites",
     .id = "d146d6c1-f0d9-365a-af45-b7a3f2fd0a50",
     .kind = tavo::FeatureKind::refersMany,
     .flags = tavo::PropertyFlag::publicAccessor | tavo::PropertyFlag::publicMutator,
     .offset = offsetof(Bed::Impl::Storage, favorites),
     .target = &Plant::declaration,
     .collection = tavo::CollectionKind::set},
    {.name = "anything",
     .id = "519410a3-1f14-334e-9d91-9a67fde61518",
     .kind = tavo::FeatureKind::refersOne,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Bed::Impl::Storage, anything),
     .target = &tavo::ModelElement::declaration},
};

constexpr tavo::ArgumentDecl bedGetArguments[] = {
    {.name = "name", .id = "cb22666c-b278-382f-bfc0-a26f4130f06c", .type = "string"},
};

constexpr tavo::ArgumentDecl bedDescribeArguments[] = {
    {.name = "length", .id = "7fde4a89-02b3-3c24-a841-f41ae0d3afa8", .type = "uint32"},
};

constexpr tavo::OperationDecl bedOperations[] = {
    {.name = "get",
     .id = "f0e18453-7ecc-3c20-b575-a3fb4b4c937e",
     .flags = tavo::OperationFlag::isStatic | tavo::OperationFlag::isPublic,
     .arguments = bedGetArguments,
     .returns = "Bed",
     .call = &tavo::detail::callOperation<static_cast<Bed (*)(const tavo::String&)>(&Bed::get)>,
     .doc = "Always an empty handle."},
    {.name = "describe",
     .id = "2054de78-0816-3d4c-9e65-5f710897d3b0",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isVirtual | tavo::OperationFlag::isConst,
     .arguments = bedDescribeArguments,
     .returns = "string",
     .call = &tavo::detail::callOperation<&Bed::Impl::describe>},
};

} // namespace

const tavo::ClassDecl& Bed::declaration() {
  static const tavo::ClassDecl declared{
      .name = "Bed",
      .qualifiedName = "sample.Bed",
      .id = "5e51a4b1-8d5b-3ee6-8d71-69ed4b6b0ec1",
      .flags = tavo::ClassFlag::isRoot,
      .base = &Named::declaration,
      .package = &sample::package,
      .storageSize = sizeof(Impl::Storage),
      .builtOn = tavo::detail::layoutOf<Impl::Base>(),
      .construct = &tavo::detail::constructObject<Impl>,
      .destroyStorage = &tavo::detail::destroyStorage<Impl>,
      .properties = bedProperties,
      .operations = bedOperations,
      .doc = "A bed with plants.",
  };
  return declared;
}

const tavo::MetaClass& Bed::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

// The handle

Bed Bed::create(const tavo::Model& model, const tavo::Uuid& uuid) { return model.create<Bed>(uuid); }
tavo::IndexedMapView<Plant, std::u16string_view, std::uint32_t> Bed::plants() const { return impl<Impl>().getPlants(); }
tavo::View<Stone> Bed::stones() const { return impl<Impl>().getStones(); }
tavo::View<sample::tools::Tool> Bed::spades() const { return impl<Impl>().getSpades(); }
Stone Bed::gnome() const { return impl<Impl>().getGnome(); }
tavo::MutableChild<Stone> Bed::getGnomeMutable() const { return impl<Impl>().getGnomeMutable(); }
Stone Bed::mark() const { return impl<Impl>().getMark(); }
tavo::MapView<Plant, std::uint32_t> Bed::byNumber() const { return impl<Impl>().getByNumber(); }
tavo::View<Plant> Bed::favorites() const { return impl<Impl>().getFavorites(); }
tavo::Mutable<tavo::View<Plant>> Bed::getFavoritesMutable() const { return impl<Impl>().getFavoritesMutable(); }
tavo::ModelElement Bed::anything() const { return impl<Impl>().getAnything(); }

// The object

tavo::IndexedMapView<Plant, std::u16string_view, std::uint32_t> Bed::Impl::getPlants() const {
  return {handle(), at(Index::plants)};
}
tavo::Mutable<tavo::IndexedMapView<Plant, std::u16string_view, std::uint32_t>> Bed::Impl::getPlantsMutable() {
  return {handle(), at(Index::plants)};
}
bool Bed::Impl::hasPlants() const { return !getPlants().empty(); }
Plant Bed::Impl::createIntoPlants(const tavo::ModelElement::Impl::BuilderImpl& builder, const tavo::Uuid& uuid) {
  return Plant(createInto(at(Index::plants), builder, uuid));
}
tavo::View<Stone> Bed::Impl::getStones() const { return {handle(), at(Index::stones)}; }
tavo::Mutable<tavo::View<Stone>> Bed::Impl::getStonesMutable() { return {handle(), at(Index::stones)}; }
bool Bed::Impl::hasStones() const { return !getStones().empty(); }
Stone Bed::Impl::createIntoStones(const tavo::ModelElement::Impl::BuilderImpl& builder, const tavo::Uuid& uuid) {
  return Stone(createInto(at(Index::stones), builder, uuid));
}
tavo::View<sample::tools::Tool> Bed::Impl::getSpades() const { return {handle(), at(Index::spades)}; }
tavo::Mutable<tavo::View<sample::tools::Tool>> Bed::Impl::getSpadesMutable() { return {handle(), at(Index::spades)}; }
bool Bed::Impl::hasSpades() const { return !getSpades().empty(); }
sample::tools::Tool Bed::Impl::createIntoSpades(const tavo::ModelElement::Impl::BuilderImpl& builder,
                                                const tavo::Uuid& uuid) {
  return sample::tools::Tool(createInto(at(Index::spades), builder, uuid));
}
Stone Bed::Impl::getGnome() const { return Stone(storage().gnome); }
bool Bed::Impl::hasGnome() const { return storage().gnome != nullptr; }
void Bed::Impl::setGnome(const Stone& value) { setOne(at(Index::gnome), value.get()); }
tavo::MutableChild<Stone> Bed::Impl::getGnomeMutable() { return {handle(), at(Index::gnome)}; }
Stone Bed::Impl::createIntoGnome(const tavo::ModelElement::Impl::BuilderImpl& builder, const tavo::Uuid& uuid) {
  return Stone(createInto(at(Index::gnome), builder, uuid));
}
Stone Bed::Impl::getMark() const { return Stone(storage().mark); }
bool Bed::Impl::hasMark() const { return storage().mark != nullptr; }
void Bed::Impl::setMark(const Stone& value) { setOne(at(Index::mark), value.get()); }
tavo::MutableChild<Stone> Bed::Impl::getMarkMutable() { return {handle(), at(Index::mark)}; }
Stone Bed::Impl::createIntoMark(const tavo::ModelElement::Impl::BuilderImpl& builder, const tavo::Uuid& uuid) {
  return Stone(createInto(at(Index::mark), builder, uuid));
}
tavo::MapView<Plant, std::uint32_t> Bed::Impl::getByNumber() const { return {handle(), at(Index::byNumber)}; }
tavo::Mutable<tavo::MapView<Plant, std::uint32_t>> Bed::Impl::getByNumberMutable() {
  return {handle(), at(Index::byNumber)};
}
bool Bed::Impl::hasByNumber() const { return !getByNumber().empty(); }
tavo::View<Plant> Bed::Impl::getFavorites() const { return {handle(), at(Index::favorites)}; }
tavo::Mutable<tavo::View<Plant>> Bed::Impl::getFavoritesMutable() { return {handle(), at(Index::favorites)}; }
bool Bed::Impl::hasFavorites() const { return !getFavorites().empty(); }
tavo::ModelElement Bed::Impl::getAnything() const { return tavo::ModelElement(tavo::targetOf(storage().anything)); }
bool Bed::Impl::hasAnything() const { return tavo::targetOf(storage().anything) != nullptr; }
void Bed::Impl::setAnything(const tavo::ModelElement& value) { basicSetAnything(value); }
void Bed::Impl::basicSetAnything(const tavo::ModelElement& value) { setOne(at(Index::anything), value.get()); }

// Builders

void Bed::Impl::BuilderImpl::doAddPlants(tavo::ModelElement::Impl::BuilderImpl child) {
  setOrAdd(metaClass().at(Index::plants), std::move(child));
}
void Bed::Impl::BuilderImpl::doClearPlants() { clear(metaClass().at(Index::plants)); }
void Bed::Impl::BuilderImpl::doAddStones(tavo::ModelElement::Impl::BuilderImpl child) {
  setOrAdd(metaClass().at(Index::stones), std::move(child));
}
void Bed::Impl::BuilderImpl::doClearStones() { clear(metaClass().at(Index::stones)); }
void Bed::Impl::BuilderImpl::doAddSpades(tavo::ModelElement::Impl::BuilderImpl child) {
  setOrAdd(metaClass().at(Index::spades), std::move(child));
}
void Bed::Impl::BuilderImpl::doClearSpades() { clear(metaClass().at(Index::spades)); }
void Bed::Impl::BuilderImpl::doAddGnome(tavo::ModelElement::Impl::BuilderImpl child) {
  setOrAdd(metaClass().at(Index::gnome), std::move(child));
}
void Bed::Impl::BuilderImpl::doClearGnome() { clear(metaClass().at(Index::gnome)); }
void Bed::Impl::BuilderImpl::doAddMark(tavo::ModelElement::Impl::BuilderImpl child) {
  setOrAdd(metaClass().at(Index::mark), std::move(child));
}
void Bed::Impl::BuilderImpl::doClearMark() { clear(metaClass().at(Index::mark)); }
void Bed::Impl::BuilderImpl::doAddByNumber(const Plant& value) {
  setOrAdd(metaClass().at(Index::byNumber), tavo::Value::of<tavo::ModelElement>(value));
}
void Bed::Impl::BuilderImpl::doClearByNumber() { clear(metaClass().at(Index::byNumber)); }
std::vector<Plant> Bed::Impl::BuilderImpl::getByNumber() const { return targets<Plant>(Index::byNumber); }
void Bed::Impl::BuilderImpl::doAddFavorites(const Plant& value) {
  setOrAdd(metaClass().at(Index::favorites), tavo::Value::of<tavo::ModelElement>(value));
}
void Bed::Impl::BuilderImpl::doClearFavorites() { clear(metaClass().at(Index::favorites)); }
std::vector<Plant> Bed::Impl::BuilderImpl::getFavorites() const { return targets<Plant>(Index::favorites); }
void Bed::Impl::BuilderImpl::doSetAnything(const tavo::ModelElement& value) {
  setOrAdd(metaClass().at(Index::anything), tavo::Value::of<tavo::ModelElement>(value));
}
tavo::ModelElement Bed::Impl::BuilderImpl::getAnything() const {
  return target(Index::anything).as<tavo::ModelElement>();
}

// Queries

Bed::Constrainables::Constrainables(const tavo::Query& query)
    : Constrainables(query, Bed::metaClass(), tavo::ClassMatch::withSubclasses) {}
tavo::CollectionTerms Bed::Constrainables::plants() const { return tavo::CollectionTerms(at(Impl::Index::plants)); }
tavo::CollectionTerms Bed::Constrainables::stones() const { return tavo::CollectionTerms(at(Impl::Index::stones)); }
tavo::CollectionTerms Bed::Constrainables::spades() const { return tavo::CollectionTerms(at(Impl::Index::spades)); }
tavo::ObjectTerms Bed::Constrainables::gnome() const { return tavo::ObjectTerms(at(Impl::Index::gnome)); }
tavo::ObjectTerms Bed::Constrainables::mark() const { return tavo::ObjectTerms(at(Impl::Index::mark)); }
tavo::CollectionTerms Bed::Constrainables::byNumber() const { return tavo::CollectionTerms(at(Impl::Index::byNumber)); }
tavo::CollectionTerms Bed::Constrainables::favorites() const {
  return tavo::CollectionTerms(at(Impl::Index::favorites));
}
tavo::ObjectTerms Bed::Constrainables::anything() const { return tavo::ObjectTerms(at(Impl::Index::anything)); }

} // namespace sample
