// Made by tavogen from Tool.toml; edit that instead.
#pragma once

#include "sample/Export.h"
#include "sample/Named.h"
#include "tavo/model/Model.h"

namespace sample {
class Plant;
}

namespace sample::tools {

/// A class of another namespace and folder.
class SAMPLE_EXPORT Tool : public sample::Named {
public:
  class Impl;
  class Builder;
  class Constrainables;

  Tool() noexcept = default;
  explicit Tool(tavo::ModelElement::Impl* object) noexcept : sample::Named(object) {}

  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();
  static Tool create(const tavo::Model& model, const tavo::Uuid& uuid = {});

  sample::Plant user() const;
};

} // namespace sample::tools
