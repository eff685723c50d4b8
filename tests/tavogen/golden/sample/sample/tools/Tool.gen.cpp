// Made by tavogen from Tool.toml; edit that instead.
#include "sample/tools/Tool.impl.h"

#include "sample/Named.h"
#include "sample/Plant.h"
#include "sample/package.h"
#include "sample/tools/Tool.builder.h"
#include "sample/tools/Tool.h"
#include "sample/tools/Tool.query.h"
#include "tavo/meta/GeneratedCalls.h"

#include <cstddef>

// Storages derive from each other, which offsetof supports conditionally; both compilers do.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace sample::tools {
namespace {

constexpr tavo::PropertyDecl toolProperties[] = {
    {.name = "user",
     .id = "70ce08f5-30b6-384d-9f39-226ca2569d6d",
     .kind = tavo::FeatureKind::refersOne,
     .flags = tavo::PropertyFlag::publicAccessor,
     .offset = offsetof(Tool::Impl::Storage, user),
     .target = &sample::Plant::declaration},
};

constexpr tavo::ArgumentDecl toolDescribeArguments[] = {
    {.name = "length", .id = "826ab0f3-7c19-3517-bf35-121c56bd00ab", .type = "uint32"},
};

constexpr tavo::OperationDecl toolOperations[] = {
    {.name = "describe",
     .id = "72cca380-3961-3083-bcb9-20e739aab328",
     .flags = tavo::OperationFlag::isPublic | tavo::OperationFlag::isVirtual | tavo::OperationFlag::isConst,
     .arguments = toolDescribeArguments,
     .returns = "string",
     .call = &tavo::detail::callOperation<&Tool::Impl::describe>},
};

} // namespace

const tavo::ClassDecl& Tool::declaration() {
  static const tavo::ClassDecl declared{
      .name = "Tool",
      .qualifiedName = "sample.tools.Tool",
      .id = "17a08b02-1a4e-3706-9a2c-3c81a9e3f3e2",
      .flags = 0,
      .base = &sample::Named::declaration,
      .package = &sample::package,
      .storageSize = sizeof(Impl::Storage),
      .builtOn = tavo::detail::layoutOf<Impl::Base>(),
      .construct = &tavo::detail::constructObject<Impl>,
      .destroyStorage = &tavo::detail::destroyStorage<Impl>,
      .properties = toolProperties,
      .operations = toolOperations,
      .doc = "A class of another namespace and folder.",
  };
  return declared;
}

const tavo::MetaClass& Tool::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

// The handle

Tool Tool::create(const tavo::Model& model, const tavo::Uuid& uuid) { return model.create<Tool>(uuid); }
sample::Plant Tool::user() const { return impl<Impl>().getUser(); }

// The object

sample::Plant Tool::Impl::getUser() const { return sample::Plant(tavo::targetOf(storage().user)); }
bool Tool::Impl::hasUser() const { return tavo::targetOf(storage().user) != nullptr; }
void Tool::Impl::setUser(const sample::Plant& value) { basicSetUser(value); }
void Tool::Impl::basicSetUser(const sample::Plant& value) { setOne(at(Index::user), value.get()); }

// Builders

void Tool::Impl::BuilderImpl::doSetUser(const sample::Plant& value) {
  setOrAdd(metaClass().at(Index::user), tavo::Value::of<tavo::ModelElement>(value));
}
sample::Plant Tool::Impl::BuilderImpl::getUser() const { return target(Index::user).as<sample::Plant>(); }

// Queries

Tool::Constrainables::Constrainables(const tavo::Query& query)
    : Constrainables(query, Tool::metaClass(), tavo::ClassMatch::withSubclasses) {}
tavo::ObjectTerms Tool::Constrainables::user() const { return tavo::ObjectTerms(at(Impl::Index::user)); }

} // namespace sample::tools
