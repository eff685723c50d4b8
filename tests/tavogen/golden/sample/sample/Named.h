// Made by tavogen from Plant.toml; edit that instead.
#pragma once

#include "sample/Export.h"
#include "tavo/core/String.h"
#include "tavo/model/ModelElement.h"

#include <cstdint>
#include <optional>

namespace sample {

/// Anything with a name.
class SAMPLE_EXPORT Named : public tavo::ModelElement {
public:
  class Impl;
  class Constrainables;

  Named() noexcept = default;
  explicit Named(tavo::ModelElement::Impl* object) noexcept : tavo::ModelElement(object) {}

  static const tavo::ClassDecl& declaration();
  static const tavo::MetaClass& metaClass();

  /// The name; beds find their plants by it.
  const tavo::String& p_Name() const;
  /// A remark; an empty one differs from none.
  const std::optional<tavo::String>& note() const;
  void setNote(const std::optional<tavo::String>& value) const;

  /// What signs say.
  tavo::String getLabel() const;
  /// A description of at most that many units.
  tavo::String describe(std::uint32_t length) const;
  /// Gives another name.
  void rename(const tavo::String& name) const;
};

} // namespace sample
