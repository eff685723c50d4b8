// Made by tavogen from Plant.toml; edit that instead.
#include "sample/Plant.impl.h"

#include "sample/Bed.h"
#include "sample/Bee.h"
#include "sample/Named.h"
#include "sample/Named.impl.h"
#include "sample/Plant.builder.h"
#include "sample/Plant.h"
#include "sample/Plant.query.h"
#include "sample/Season.h"
#include "sample/Spot.h"
#include "sample/package.h"
#include "tavo/collection/Views.h"
#include "tavo/core/String.h"
#include "tavo/meta/GeneratedCalls.h"
#include "tavo/meta/MetaRegistry.h"
#include "tavo/model/Model.h"
#include "tests/tavogen/sample/Clock.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

// Storages derive from each other, which offsetof supports conditionally; both compilers do.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace sample {
namespace {

const void* plantIsPerennialDefault() {
  static const bool value = true;
  return &value;
}

const void* plantHeightDefault() {
  static const double value = 0.25;
  return &value;
}

const void* plantFamilyDefault() {
  static const tavo::String value = u"Rosaceae";
  return &value;
}

const void* plantSeasonDefault() {
  static const Season value = Season::SUMMER;
  return &value;
}

constexpr tavo::PropertyDecl plantProperties[] = {
    {.name = "bed",
     .id = "fbbb8c62-6300-3c4e-9d5c-af935c9ace8b",
     .kind = tavo::FeatureKind::container,
     .flags = tavo::PropertyFlag::publicAccessor,
     .target = &Bed::declaration,
     .opposite = "plants",
     .doc = "Where it stands."},
    {.name = "number",
     .id = "4bfede18-07fa-38bb-8170-5ffb24bbfa41",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::publicAccessor | tavo::PropertyFlag::publicMutator,
     .offset = offsetof(Plant::Impl::Storage, number),
     .datatype = &tavo::datatypeOf<std::uint32_t>,
     .doc = "Its number in the bed."},
    {.name = "isPerennial",
     .id = "37c1b10b-cf5c-34a4-ae0d-232404e322df",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Plant::Impl::Storage, isPerennial),
     .datatype = &tavo::datatypeOf<bool>,
     .defaultValue = &plantIsPerennialDefault},
    {.name = "height",
     .id = "5b1726cd-6fe6-3ab8-8f92-5b002d061f44",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::publicAccessor | tavo::PropertyFlag::publicMutator,
     .offset = offsetof(Plant::Impl::Storage, height),
     .datatype = &tavo::datatypeOf<double>,
     .defaultValue = &plantHeightDefault,
     .set = &tavo::detail::callSetter<&Plant::Impl::setHeight>,
     .doc = "The height above the ground, not below zero."},
    {.name = "family",
     .id = "43c7d8a7-de84-344f-8a36-b194f2528cdf",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Plant::Impl::Storage, family),
     .datatype = &tavo::datatypeOf<tavo::String>,
     .defaultValue = &plantFamilyDefault,
     .since = "1.2"},
    {.name = "season",
     .id = "9ee86935-0496-3e54-b804-43ad7ebfd73e",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::publicAccessor | tavo::PropertyFlag::publicMutator,
     .offset = offsetof(Plant::Impl::Storage, season),
     .datatype = &tavo::datatypeOf<Season>,
     .defaultValue = &plantSeasonDefault},
    {.name = "spot",
     .id = "79787be2-9787-36fa-abb8-08a98936bf06",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::publicAccessor | tavo::PropertyFlag::publicMutator,
     .offset = offsetof(Plant::Impl::Storage, spot),
     .datatype = &tavo::datatypeOf<Spot>},
    {.name = "aliases",
     .id = "4f9f298c-3a05-3012-92fa-3fce106f08d2",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::publicAccessor | tavo::PropertyFlag::hidden,
     .offset = offsetof(Plant::Impl::Storage, aliases),
     .datatype = &tavo::datatypeOf<std::vector<tavo::String>>},
    {.name = "sownAt",
     .id = "b96b5400-d7d9-33e2-aacc-210e9faa5fc4",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::transient | tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Plant::Impl::Storage, sownAt),
     .datatype = &tavo::datatypeOf<sample::Clock>},
    {.name = "code",
     .id = "8c1b6a4e-7f0d-3b5e-9d2a-1e4f5a6b7c8d",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::readOnly | tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Plant::Impl::Storage, code),
     .datatype = &tavo::datatypeOf<tavo::String>},
    {.name = "secret",
     .id = "0d5ff162-bca3-3abc-a7d1-12ac737ba384",
     .kind = tavo::FeatureKind::attribute,
     .offset = offsetof(Plant::Impl::Storage, secret),
     .datatype = &tavo::datatypeOf<tavo::String>},
    {.name = "URI",
     .id = "176bd37b-a1df-3733-b76e-378955f8e0e5",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Plant::Impl::Storage, URI),
     .datatype = &tavo::datatypeOf<tavo::String>},
    {.name = "label",
     .id = "158b10bc-265d-35ae-b7bb-9bcb955051ed",
     .kind = tavo::FeatureKind::derived,
     .flags = tavo::PropertyFlag::publicAccessor,
     .datatype = &tavo::datatypeOf<tavo::String>,
     .derive = &tavo::detail::deriveFeature<&Named::Impl::getLabel>},
    {.name = "tallest",
     .id = "9006af8e-4f8d-3435-8603-297fe21efb4e",
     .kind = tavo::FeatureKind::derived,
     .flags = tavo::PropertyFlag::publicAccessor,
     .target = &Plant::declaration,
     .derive = &tavo::detail::deriveFeature<&Plant::Impl::getTallest>},
    {.name = "lastSeen",
     .id = "0af8b3b1-bd03-37ff-8ad1-a9dc5495fd2c",
     .kind = tavo::FeatureKind::runtime,
     .flags = tavo::PropertyFlag::publicAccessor | tavo::PropertyFlag::publicMutator,
     .offset = offsetof(Plant::Impl::Storage, lastSeen),
     .datatype = &tavo::datatypeOf<sample::Clock>,
     .set = &tavo::detail::callSetter<&Plant::Impl::setLastSeen>,
     .doc = "When somebody looked at it."},
    {.name = "visits",
     .id = "f69f03fc-dc29-3664-87e9-20f2d170fada",
     .kind = tavo::FeatureKind::runtime,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Plant::Impl::Storage, visits),
     .datatype = &tavo::datatypeOf<std::uint32_t>},
    {.name = "neighbour",
     .id = "91412956-80c4-376e-b3c0-af375bff3d05",
     .kind = tavo::FeatureKind::refersOne,
     .flags = tavo::PropertyFlag::publicAccessor | tavo::PropertyFlag::publicMutator,
     .offset = offsetof(Plant::Impl::Storage, neighbour),
     .target = &Plant::declaration,
     .doc = "A plant that it likes."},
    {.name = "feeds",
     .id = "27754ae6-05d7-36c6-99fa-c8a39816cb33",
     .kind = tavo::FeatureKind::refersMany,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Plant::Impl::Storage, feeds),
     .target = &Bee::declaration,
     .opposite = "visited",
     .doc = "The bees that come."},
};

constexpr tavo::ArgumentDecl plantMakeArguments[] = {
    {.name = "bed", .id = "2c078901-1561-3f94-ae2a-eb8d1734906a", .type = "Bed"},
    {.name = "name", .id = "12d47bb8-ea70-36ae-be74-f57c068f140b", .type = "string"},
    {.name = "number", .id = "0b1fe518-7449-37c4-a208-7d3e9471fa2f", .type = "uint32"},
};

constexpr tavo::ArgumentDecl plantGrowArguments[] = {
    {.name = "by", .id = "fe12d677-76d5-3a28-9959-fbb8c41047a9", .type = "metres"},
};

constexpr tavo::ArgumentDecl plantGrowInSeasonsArguments[] = {
    {.name = "by", .id = "62401ba2-d31f-3f28-bcbe-af1e44868a4b", .type = "metres"},
    {.name = "seasons", .id = "3ac1f83c-166d-364e-84d1-a0ff3ed5714e", .type = "Season[]"},
};

constexpr tavo::ArgumentDecl plantMeasureArguments[] = {
    {.name = "unit", .id = "e63b2326-963b-32a0-bbd7-ea8b6544e204", .type = "string?"},
    {.name = "isRough", .id = "a7778a5e-a6e5-32fb-b9b3-7a237592e13d", .type = "bool", .input = false},
};

constexpr tavo::ArgumentDecl plantPlantsArguments[] = {
    {.name = "among", .id = "b30386f1-8abe-330b-95ff-9a53038de2ed", .type = "Plant[]"},
};

constexpr tavo::ArgumentDecl plantWiltedArguments[] = {
    {.name = "at", .id = "30c39c2d-a425-387b-a7ce-79188e27a4fd", .type = "Clock"},
};

constexpr tavo::ArgumentDecl plantIsInArguments[] = {
    {.name = "model", .id = "4eff30f1-a1a1-3b7a-a173-a3e49910928d", .type = "Model"},
    {.name = "metaClass", .id = "390b0ba9-8281-3d56-ab2a-c70c521454d9", .type = "MetaClass"},
};

constexpr tavo::ArgumentDecl plantDescribeArguments[] = {
    {.name = "length", .id = "9d9d9ae1-b69f-3964-ad09-00d89776611c", .type = "uint32"},
};

constexpr tavo::ArgumentDecl plantRenameArguments[] = {
    {.name = "name", .id = "1f8cf88d-7cc5-32d4-aa0b-8f216d5a046a", .type = "string"},
};

constexpr tavo::ArgumentDecl plantRenameTwiceArguments[] = {
    {.name = "first", .id = "4a4fe32d-4750-35ba-aef1-5880ab20ad90", .type = "string"},
    {.name = "second", .id = "a150ba96-0f84-30b8-a47c-53e0e822560c", .type = "string"},
};

constexpr tavo::ArgumentDecl plantSetP_NameArguments[] = {
    {.name = "name", .id = "265f8726-7e02-3a6b-a398-f2b6782f35fe", .type = "string"},
};

constexpr tavo::OperationDecl plantOperations[] = {
    {.name = "make",
     .id = "2fc2de99-fc21-3644-a8bc-fa2a086425fd",
     .flags = tavo::OperationFlag::isStatic | tavo::OperationFlag::isPublic,
     .arguments = plantMakeArguments,
     .returns = "Plant",
     .call = &tavo::detail::callOperation<&Plant::make>,
     .doc = "A new plant in a bed."},
    {.name = "getTallest",
     .id = "231ee1a1-2da6-3d3d-a43f-5cbca2a888ed",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isConst,
     .returns = "Plant",
     .call = &tavo::detail::callOperation<&Plant::Impl::getTallest>,
     .doc = "The tallest of the bed; itself without a bed."},
    {.name = "grow",
     .id = "32cce365-6c4b-3a5c-847a-696ab98608a9",
     .flags = tavo::OperationFlag::isPublic,
     .arguments = plantGrowArguments,
     .returns = "double",
     .call = &tavo::detail::callOperation<static_cast<double (Plant::Impl::*)(double)>(&Plant::Impl::grow)>,
     .doc = "Adds to the height and returns the new one."},
    {.name = "grow",
     .id = "37994dbd-e1fa-35a0-a91c-54c1bc2d04c0",
     .flags = tavo::OperationFlag::isPublic,
     .arguments = plantGrowInSeasonsArguments,
     .returns = "double",
     .call = &tavo::detail::callOperation<static_cast<double (Plant::Impl::*)(double, const std::vector<Season>&)>(
         &Plant::Impl::grow)>,
     .doc = "Grows once for each season."},
    {.name = "measure",
     .id = "46a46695-2914-32dd-8396-ff8436a28cdc",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isConst,
     .arguments = plantMeasureArguments,
     .returns = "double",
     .call = &tavo::detail::callOperation<&Plant::Impl::measure>,
     .doc = "The height, and whether it is a guess."},
    {.name = "plants",
     .id = "83963832-cb7a-3157-b6ff-a7a7ad499352",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isConst,
     .arguments = plantPlantsArguments,
     .returns = "Plant[]",
     .call = &tavo::detail::callOperation<&Plant::Impl::plants>,
     .doc = "Those of its family."},
    {.name = "wilted",
     .id = "ce537c27-072e-3d7a-a8bb-8017135ffa65",
     .flags = tavo::OperationFlag::isEvent,
     .arguments = plantWiltedArguments},
    {.name = "isIn",
     .id = "30070d7b-7862-334b-b0b3-807a881538a3",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isConst,
     .arguments = plantIsInArguments,
     .returns = "bool",
     .call = &tavo::detail::callOperation<&Plant::Impl::isIn>,
     .doc = "Whether it is in that model and has that class."},
    {.name = "describe",
     .id = "fb163655-0196-356b-a174-7dad073586b4",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isVirtual | tavo::OperationFlag::isConst,
     .arguments = plantDescribeArguments,
     .returns = "string",
     .call = &tavo::detail::callOperation<&Plant::Impl::describe>},
    {.name = "rename",
     .id = "f246be87-79a2-30bd-b325-f3d4c634d9b9",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isVirtual,
     .arguments = plantRenameArguments,
     .call =
         &tavo::detail::callOperation<static_cast<void (Plant::Impl::*)(const tavo::String&)>(&Plant::Impl::rename)>},
    {.name = "rename",
     .id = "e0cb2bad-098c-39ec-9025-7696c114a65b",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isVirtual,
     .arguments = plantRenameTwiceArguments,
     .call = &tavo::detail::callOperation<static_cast<void (Plant::Impl::*)(const tavo::String&, const tavo::String&)>(
         &Plant::Impl::rename)>,
     .doc = "Gives a name of two words."},
    {.name = "setP_Name",
     .id = "a55953db-9323-3c55-8fbd-e7b22e5ffadd",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isVirtual,
     .arguments = plantSetP_NameArguments,
     .call = &tavo::detail::callOperation<&Plant::Impl::setP_Name>},
    {.name = "aboutToDestroy",
     .id = "1e0ac721-737f-3b9e-abad-a2110f3e7c6d",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isVirtual,
     .call = &tavo::detail::callOperation<&Plant::Impl::aboutToDestroy>},
};

} // namespace

const tavo::ClassDecl& Plant::declaration() {
  static const tavo::ClassDecl declared{
      .name = "Plant",
      .qualifiedName = "sample.Plant",
      .id = "5d0d0f2e-4b5c-3f6a-8a55-0f5a3c1f9b10",
      .flags = 0,
      .base = &Named::declaration,
      .package = &sample::package,
      .storageSize = sizeof(Impl::Storage),
      .builtOn = tavo::detail::layoutOf<Impl::Base>(),
      .construct = &tavo::detail::constructObject<Impl>,
      .destroyStorage = &tavo::detail::destroyStorage<Impl>,
      .properties = plantProperties,
      .operations = plantOperations,
      .doc = "A plant in a bed.",
  };
  return declared;
}

const tavo::MetaClass& Plant::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

// The handle

Plant Plant::create(const tavo::Model& model, const tavo::Uuid& uuid) { return model.create<Plant>(uuid); }
Bed Plant::bed() const { return impl<Impl>().getBed(); }
std::uint32_t Plant::number() const { return impl<Impl>().getNumber(); }
void Plant::setNumber(std::uint32_t value) const { impl<Impl>().setNumber(value); }
bool Plant::isPerennial() const { return impl<Impl>().getIsPerennial(); }
double Plant::height() const { return impl<Impl>().getHeight(); }
void Plant::setHeight(double value) const { impl<Impl>().setHeight(value); }
const tavo::String& Plant::family() const { return impl<Impl>().getFamily(); }
Season Plant::season() const { return impl<Impl>().getSeason(); }
void Plant::setSeason(Season value) const { impl<Impl>().setSeason(value); }
const Spot& Plant::spot() const { return impl<Impl>().getSpot(); }
void Plant::setSpot(const Spot& value) const { impl<Impl>().setSpot(value); }
const std::vector<tavo::String>& Plant::aliases() const { return impl<Impl>().getAliases(); }
const sample::Clock& Plant::sownAt() const { return impl<Impl>().getSownAt(); }
const tavo::String& Plant::code() const { return impl<Impl>().getCode(); }
const tavo::String& Plant::uRI() const { return impl<Impl>().getURI(); }
tavo::String Plant::label() const { return impl<Impl>().getLabel(); }
Plant Plant::tallest() const { return impl<Impl>().getTallest(); }
const sample::Clock& Plant::lastSeen() const { return impl<Impl>().getLastSeen(); }
void Plant::setLastSeen(const sample::Clock& value) const { impl<Impl>().setLastSeen(value); }
std::uint32_t Plant::visits() const { return impl<Impl>().getVisits(); }
Plant Plant::neighbour() const { return impl<Impl>().getNeighbour(); }
void Plant::setNeighbour(const Plant& value) const { impl<Impl>().setNeighbour(value); }
tavo::View<Bee> Plant::feeds() const { return impl<Impl>().getFeeds(); }
Plant Plant::getTallest() const { return impl<Impl>().getTallest(); }
double Plant::grow(double by) const { return impl<Impl>().grow(by); }
double Plant::grow(double by, const std::vector<Season>& seasons) const { return impl<Impl>().grow(by, seasons); }
double Plant::measure(const std::optional<tavo::String>& unit, bool& isRough) const {
  return impl<Impl>().measure(unit, isRough);
}
std::vector<Plant> Plant::plants(const std::vector<Plant>& among) const { return impl<Impl>().plants(among); }
bool Plant::isIn(const tavo::Model& model, const tavo::MetaClass& metaClass) const {
  return impl<Impl>().isIn(model, metaClass);
}
void Plant::rename(const tavo::String& first, const tavo::String& second) const { impl<Impl>().rename(first, second); }

// The object

Bed Plant::Impl::getBed() const { return Bed(one(at(Index::bed))); }
bool Plant::Impl::hasBed() const { return one(at(Index::bed)) != nullptr; }
void Plant::Impl::setBed(const Bed& value) { setOne(at(Index::bed), value.get()); }
void Plant::Impl::setNumber(std::uint32_t value) { writeValue(at(Index::number), value); }
void Plant::Impl::setIsPerennial(bool value) { writeValue(at(Index::isPerennial), value); }
void Plant::Impl::setHeight(double value) {
  requireWritable(at(Index::height));
  if (runsHooks())
    aboutToSetHeight(value);
  writeValue(at(Index::height), value);
}
void Plant::Impl::setFamily(const tavo::String& value) { writeValue(at(Index::family), value); }
void Plant::Impl::setSeason(Season value) { writeValue(at(Index::season), value); }
void Plant::Impl::setSpot(const Spot& value) { writeValue(at(Index::spot), value); }
void Plant::Impl::setAliases(const std::vector<tavo::String>& value) { writeValue(at(Index::aliases), value); }
void Plant::Impl::setSownAt(const sample::Clock& value) { writeValue(at(Index::sownAt), value); }
void Plant::Impl::setCode(const tavo::String& value) { writeValue(at(Index::code), value); }
void Plant::Impl::setSecret(const tavo::String& value) { writeValue(at(Index::secret), value); }
void Plant::Impl::setURI(const tavo::String& value) { writeValue(at(Index::URI), value); }
void Plant::Impl::setLastSeen(const sample::Clock& value) {
  if (runsHooks())
    aboutToSetLastSeen(value);
  storage().lastSeen = value;
}
void Plant::Impl::setVisits(std::uint32_t value) { storage().visits = value; }
Plant Plant::Impl::getNeighbour() const { return Plant(tavo::targetOf(storage().neighbour)); }
bool Plant::Impl::hasNeighbour() const { return tavo::targetOf(storage().neighbour) != nullptr; }
void Plant::Impl::setNeighbour(const Plant& value) { basicSetNeighbour(value); }
void Plant::Impl::basicSetNeighbour(const Plant& value) { setOne(at(Index::neighbour), value.get()); }
tavo::View<Bee> Plant::Impl::getFeeds() const { return {handle(), at(Index::feeds)}; }
tavo::Mutable<tavo::View<Bee>> Plant::Impl::getFeedsMutable() { return {handle(), at(Index::feeds)}; }
bool Plant::Impl::hasFeeds() const { return !getFeeds().empty(); }

// Builders

void Plant::Impl::BuilderImpl::doSetNumber(std::uint32_t value) { setValue<std::uint32_t>(Index::number, value); }
std::uint32_t Plant::Impl::BuilderImpl::getNumber() const { return value<std::uint32_t>(Index::number); }
void Plant::Impl::BuilderImpl::doSetIsPerennial(bool value) { setValue<bool>(Index::isPerennial, value); }
bool Plant::Impl::BuilderImpl::getIsPerennial() const { return value<bool>(Index::isPerennial); }
void Plant::Impl::BuilderImpl::doSetHeight(double value) { setValue<double>(Index::height, value); }
double Plant::Impl::BuilderImpl::getHeight() const { return value<double>(Index::height); }
void Plant::Impl::BuilderImpl::doSetFamily(const tavo::String& value) { setValue<tavo::String>(Index::family, value); }
tavo::String Plant::Impl::BuilderImpl::getFamily() const { return value<tavo::String>(Index::family); }
void Plant::Impl::BuilderImpl::doSetSeason(Season value) { setValue<Season>(Index::season, value); }
Season Plant::Impl::BuilderImpl::getSeason() const { return value<Season>(Index::season); }
void Plant::Impl::BuilderImpl::doSetSpot(const Spot& value) { setValue<Spot>(Index::spot, value); }
Spot Plant::Impl::BuilderImpl::getSpot() const { return value<Spot>(Index::spot); }
void Plant::Impl::BuilderImpl::doSetAliases(const std::vector<tavo::String>& value) {
  setValue<std::vector<tavo::String>>(Index::aliases, value);
}
std::vector<tavo::String> Plant::Impl::BuilderImpl::getAliases() const {
  return value<std::vector<tavo::String>>(Index::aliases);
}
void Plant::Impl::BuilderImpl::doSetSownAt(const sample::Clock& value) {
  setValue<sample::Clock>(Index::sownAt, value);
}
sample::Clock Plant::Impl::BuilderImpl::getSownAt() const { return value<sample::Clock>(Index::sownAt); }
void Plant::Impl::BuilderImpl::doSetCode(const tavo::String& value) { setValue<tavo::String>(Index::code, value); }
tavo::String Plant::Impl::BuilderImpl::getCode() const { return value<tavo::String>(Index::code); }
void Plant::Impl::BuilderImpl::doSetSecret(const tavo::String& value) { setValue<tavo::String>(Index::secret, value); }
tavo::String Plant::Impl::BuilderImpl::getSecret() const { return value<tavo::String>(Index::secret); }
void Plant::Impl::BuilderImpl::doSetURI(const tavo::String& value) { setValue<tavo::String>(Index::URI, value); }
tavo::String Plant::Impl::BuilderImpl::getURI() const { return value<tavo::String>(Index::URI); }
void Plant::Impl::BuilderImpl::doSetLastSeen(const sample::Clock& value) {
  setValue<sample::Clock>(Index::lastSeen, value);
}
sample::Clock Plant::Impl::BuilderImpl::getLastSeen() const { return value<sample::Clock>(Index::lastSeen); }
void Plant::Impl::BuilderImpl::doSetVisits(std::uint32_t value) { setValue<std::uint32_t>(Index::visits, value); }
std::uint32_t Plant::Impl::BuilderImpl::getVisits() const { return value<std::uint32_t>(Index::visits); }
void Plant::Impl::BuilderImpl::doSetNeighbour(const Plant& value) {
  setOrAdd(metaClass().at(Index::neighbour), tavo::Value::of<tavo::ModelElement>(value));
}
Plant Plant::Impl::BuilderImpl::getNeighbour() const { return target(Index::neighbour).as<Plant>(); }
void Plant::Impl::BuilderImpl::doAddFeeds(const Bee& value) {
  setOrAdd(metaClass().at(Index::feeds), tavo::Value::of<tavo::ModelElement>(value));
}
void Plant::Impl::BuilderImpl::doClearFeeds() { clear(metaClass().at(Index::feeds)); }
std::vector<Bee> Plant::Impl::BuilderImpl::getFeeds() const { return targets<Bee>(Index::feeds); }

// Queries

Plant::Constrainables::Constrainables(const tavo::Query& query)
    : Constrainables(query, Plant::metaClass(), tavo::ClassMatch::withSubclasses) {}
tavo::ObjectTerms Plant::Constrainables::bed() const { return tavo::ObjectTerms(at(Impl::Index::bed)); }
tavo::AttributeTerms<std::uint32_t> Plant::Constrainables::number() const {
  return tavo::AttributeTerms<std::uint32_t>(at(Impl::Index::number));
}
tavo::AttributeTerms<bool> Plant::Constrainables::isPerennial() const {
  return tavo::AttributeTerms<bool>(at(Impl::Index::isPerennial));
}
tavo::AttributeTerms<double> Plant::Constrainables::height() const {
  return tavo::AttributeTerms<double>(at(Impl::Index::height));
}
tavo::AttributeTerms<tavo::String> Plant::Constrainables::family() const {
  return tavo::AttributeTerms<tavo::String>(at(Impl::Index::family));
}
tavo::AttributeTerms<Season> Plant::Constrainables::season() const {
  return tavo::AttributeTerms<Season>(at(Impl::Index::season));
}
tavo::AttributeTerms<Spot> Plant::Constrainables::spot() const {
  return tavo::AttributeTerms<Spot>(at(Impl::Index::spot));
}
tavo::AttributeTerms<std::vector<tavo::String>> Plant::Constrainables::aliases() const {
  return tavo::AttributeTerms<std::vector<tavo::String>>(at(Impl::Index::aliases));
}
tavo::AttributeTerms<tavo::String> Plant::Constrainables::code() const {
  return tavo::AttributeTerms<tavo::String>(at(Impl::Index::code));
}
tavo::AttributeTerms<tavo::String> Plant::Constrainables::uRI() const {
  return tavo::AttributeTerms<tavo::String>(at(Impl::Index::URI));
}
tavo::AttributeTerms<tavo::String> Plant::Constrainables::label() const {
  return tavo::AttributeTerms<tavo::String>(at(Impl::Index::label));
}
tavo::ObjectTerms Plant::Constrainables::tallest() const { return tavo::ObjectTerms(at(Impl::Index::tallest)); }
tavo::ObjectTerms Plant::Constrainables::neighbour() const { return tavo::ObjectTerms(at(Impl::Index::neighbour)); }
tavo::CollectionTerms Plant::Constrainables::feeds() const { return tavo::CollectionTerms(at(Impl::Index::feeds)); }

} // namespace sample
