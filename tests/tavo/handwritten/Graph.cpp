#include "tests/tavo/handwritten/Graph.h"

#include "tavo/collection/ItemList.h"

#include <cstddef>

#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace graph {

class Node::Impl : public tavo::ModelElement::Impl {
public:
  using Base = tavo::ModelElement::Impl;
  struct Storage : Base::Storage {
    tavo::String name;
    std::uint32_t rank = 0;
    tavo::ListField children, named, peers, friends, followers, left, right, index;
    tavo::ChildField only = nullptr;
    tavo::LinkField leader = nullptr, partner = nullptr, partnerOf = nullptr, mark = nullptr;
  };
  using Base::Base;
};

namespace {

using tavo::CollectionKind;
using tavo::FeatureKind;

#define FEATURE(NUMBER, NAME, KIND)                                                                                    \
  .name = #NAME, .id = "00000000-0000-3000-8000-0000000001" #NUMBER, .kind = FeatureKind::KIND,                        \
  .offset = offsetof(Node::Impl::Storage, NAME)
#define OBJECTS(NUMBER, NAME, KIND) FEATURE(NUMBER, NAME, KIND), .target = &Node::declaration

const tavo::PropertyDecl properties[] = {
    {FEATURE(01, name, attribute), .datatype = &tavo::datatypeOf<tavo::String>},
    {FEATURE(02, rank, attribute), .datatype = &tavo::datatypeOf<std::uint32_t>},
    {OBJECTS(03, children, containsMany)},
    {OBJECTS(04, named, containsMany), .collection = CollectionKind::map, .key = "name"},
    {OBJECTS(05, only, containsOne)},
    {OBJECTS(06, peers, refersMany)},
    {OBJECTS(07, friends, refersMany), .collection = CollectionKind::set},
    {OBJECTS(08, leader, refersOne), .opposite = "followers"},
    {OBJECTS(09, followers, refersMany), .opposite = "leader"},
    {OBJECTS(10, partner, refersOne), .opposite = "partnerOf"},
    {OBJECTS(11, partnerOf, refersOne), .opposite = "partner"},
    {OBJECTS(12, left, refersMany), .opposite = "right"},
    {OBJECTS(13, right, refersMany), .opposite = "left"},
    {OBJECTS(14, index, refersMany), .collection = CollectionKind::map, .key = "name"},
    {OBJECTS(15, mark, refersOne)},
};

const tavo::PackageDecl& package() {
  static const tavo::ClassDecl& (*const classes[])() = {&Node::declaration};
  static const tavo::PackageDecl declared{.name = "graph",
                                          .version = "1.0",
                                          .uri = "http://schema.zelkor.example/tavo/graph/1.0",
                                          .depends = {},
                                          .namespaces = {},
                                          .datatypes = {},
                                          .classes = classes};
  return declared;
}

} // namespace

const tavo::ClassDecl& Node::declaration() {
  static const tavo::ClassDecl declared{.name = "Node",
                                        .qualifiedName = "graph.Node",
                                        .id = "00000000-0000-3000-8000-000000000100",
                                        .flags = tavo::ClassFlag::isRoot,
                                        .base = &tavo::ModelElement::declaration,
                                        .package = &package,
                                        .storageSize = sizeof(Impl::Storage),
                                        .construct = &tavo::detail::constructObject<Impl>,
                                        .destroyStorage = &tavo::detail::destroyStorage<Impl>,
                                        .properties = properties,
                                        .operations = {}};
  return declared;
}

const tavo::MetaClass& Node::metaClass() {
  static const tavo::MetaClass& known = tavo::MetaRegistry::instance().require(declaration());
  return known;
}

} // namespace graph
