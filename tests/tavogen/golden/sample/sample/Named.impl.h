// Made by tavogen from Plant.toml; edit that instead.
#pragma once

#include "sample/Named.h"
#include "tavo/core/String.h"
#include "tavo/meta/MetaRegistry.h"

#include <cstdint>
#include <optional>

namespace sample {

class SAMPLE_EXPORT Named::Impl : public tavo::ModelElement::Impl {
public:
  using Base = tavo::ModelElement::Impl;
  struct Storage : Base::Storage {
    tavo::String Name;
    std::optional<tavo::String> note;
  };
  struct Index {
    static constexpr tavo::PropertyIndex Name = Base::propertyCount + 0;
    static constexpr tavo::PropertyIndex note = Base::propertyCount + 1;
  };
  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + 2;
  class BuilderImpl;

  using Base::Base;
  Named This() { return Named(this); }

  const tavo::String& getP_Name() const { return storage().Name; }
  virtual void setP_Name(const tavo::String& value);
  const std::optional<tavo::String>& getNote() const { return storage().note; }
  void setNote(const std::optional<tavo::String>& value);

  virtual tavo::String getLabel() const;
  virtual tavo::String describe(std::uint32_t length) const = 0;
  virtual void rename(const tavo::String& name);

private:
  Storage& storage() { return storageAs<Storage>(); }
  const Storage& storage() const { return storageAs<Storage>(); }
  const tavo::MetaProperty& at(tavo::PropertyIndex index) const { return objectClass().at(index); }
};

} // namespace sample
