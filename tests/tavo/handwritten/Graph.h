// A class with every kind of feature that can hold objects, reached through reflection only.
#pragma once

#include "tavo/meta/Declarations.h"
#include "tavo/model/Model.h"

namespace graph {

class Node : public tavo::ModelElement {
public:
  class Impl;
  Node() noexcept = default;
  explicit Node(tavo::ModelElement::Impl* object) noexcept : tavo::ModelElement(object) {}
  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();
};

} // namespace graph
