// Made by tavogen from Plant.toml; edit that instead.
#include "sample/Named.impl.h"

#include "sample/Named.builder.h"
#include "sample/Named.h"
#include "sample/Named.query.h"
#include "sample/package.h"
#include "tavo/core/String.h"
#include "tavo/meta/GeneratedCalls.h"

#include <cstddef>
#include <cstdint>
#include <optional>

// Storages derive from each other, which offsetof supports conditionally; both compilers do.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace sample {
namespace {

constexpr tavo::PropertyDecl namedProperties[] = {
    {.name = "Name",
     .id = "3913f937-0a1f-39af-8901-5a6b0d331a83",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Named::Impl::Storage, Name),
     .datatype = &tavo::datatypeOf<tavo::String>,
     .set = &tavo::detail::callSetter<&Named::Impl::setP_Name>,
     .doc = "The name; beds find their plants by it."},
    {.name = "note",
     .id = "1f6058e2-f569-38e7-8d0f-2e22af0b0d46",
     .kind = tavo::FeatureKind::attribute,
     .flags = tavo::PropertyFlag::publicAccessor | tavo::PropertyFlag::publicMutator,
     .offset = offsetof(Named::Impl::Storage, note),
     .datatype = &tavo::datatypeOf<std::optional<tavo::String>>,
     .doc = "A remark; an empty one differs from none."},
};

constexpr tavo::ArgumentDecl namedDescribeArguments[] = {
    {.name = "length", .id = "1f352367-233c-383c-b87f-f87a363ff662", .type = "uint32"},
};

constexpr tavo::ArgumentDecl namedRenameArguments[] = {
    {.name = "name", .id = "66f50146-efea-308a-92e8-07e0e1989ed8", .type = "string"},
};

constexpr tavo::OperationDecl namedOperations[] = {
    {.name = "getLabel",
     .id = "14777fda-62c7-3d4c-89a7-b16d4789309f",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isVirtual | tavo::OperationFlag::isConst,
     .returns = "string",
     .call = &tavo::detail::callOperation<&Named::Impl::getLabel>,
     .doc = "What signs say."},
    {.name = "describe",
     .id = "3406ebfd-0b2f-3c9a-9414-d72e3a2298a0",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isAbstract | tavo::OperationFlag::isVirtual |
              tavo::OperationFlag::isConst,
     .arguments = namedDescribeArguments,
     .returns = "string",
     .call = &tavo::detail::callOperation<&Named::Impl::describe>,
     .doc = "A description of at most that many units."},
    {.name = "rename",
     .id = "8c866a7d-9e87-35d3-8f04-5d2ff9dedcf7",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isVirtual,
     .arguments = namedRenameArguments,
     .call = &tavo::detail::callOperation<&Named::Impl::rename>,
     .doc = "Gives another name."},
};

} // namespace

const tavo::ClassDecl& Named::declaration() {
  static const tavo::ClassDecl declared{
      .name = "Named",
      .qualifiedName = "sample.Named",
      .id = "8fefbde3-567f-3a5a-b555-1759194fbc8d",
      .flags = tavo::ClassFlag::isAbstract,
      .base = &tavo::ModelElement::declaration,
      .package = &sample::package,
      .storageSize = sizeof(Impl::Storage),
      .builtOn = tavo::detail::layoutOf<Impl::Base>(),
      .construct = nullptr,
      .destroyStorage = nullptr,
      .properties = namedProperties,
      .operations = namedOperations,
      .doc = "Anything with a name.",
  };
  return declared;
}

const tavo::MetaClass& Named::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

// The handle

const tavo::String& Named::p_Name() const { return impl<Impl>().getP_Name(); }
const std::optional<tavo::String>& Named::note() const { return impl<Impl>().getNote(); }
void Named::setNote(const std::optional<tavo::String>& value) const { impl<Impl>().setNote(value); }
tavo::String Named::getLabel() const { return impl<Impl>().getLabel(); }
tavo::String Named::describe(std::uint32_t length) const { return impl<Impl>().describe(length); }
void Named::rename(const tavo::String& name) const { impl<Impl>().rename(name); }

// The object

void Named::Impl::setP_Name(const tavo::String& value) { writeValue(at(Index::Name), value); }
void Named::Impl::setNote(const std::optional<tavo::String>& value) { writeValue(at(Index::note), value); }

// Builders

void Named::Impl::BuilderImpl::doSetP_Name(const tavo::String& value) { setValue<tavo::String>(Index::Name, value); }
tavo::String Named::Impl::BuilderImpl::getP_Name() const { return value<tavo::String>(Index::Name); }
void Named::Impl::BuilderImpl::doSetNote(const std::optional<tavo::String>& value) {
  setValue<std::optional<tavo::String>>(Index::note, value);
}
std::optional<tavo::String> Named::Impl::BuilderImpl::getNote() const {
  return value<std::optional<tavo::String>>(Index::note);
}

// Queries

Named::Constrainables::Constrainables(const tavo::Query& query)
    : Constrainables(query, Named::metaClass(), tavo::ClassMatch::withSubclasses) {}
tavo::AttributeTerms<tavo::String> Named::Constrainables::p_Name() const {
  return tavo::AttributeTerms<tavo::String>(at(Impl::Index::Name));
}
tavo::AttributeTerms<std::optional<tavo::String>> Named::Constrainables::note() const {
  return tavo::AttributeTerms<std::optional<tavo::String>>(at(Impl::Index::note));
}

} // namespace sample
