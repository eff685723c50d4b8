// Made by tavogen from Tool.toml; edit that instead.
#pragma once

#include "sample/Named.impl.h"
#include "sample/tools/Tool.h"
#include "tavo/core/String.h"
#include "tavo/meta/MetaRegistry.h"

#include <cstdint>

namespace sample {
class Plant;
}

namespace sample::tools {

class SAMPLE_EXPORT Tool::Impl : public sample::Named::Impl {
public:
  using Base = sample::Named::Impl;
  struct Storage : Base::Storage {
    tavo::LinkField user = nullptr;
  };
  struct Index {
    static constexpr tavo::PropertyIndex user = Base::propertyCount + 0;
  };
  static constexpr tavo::PropertyIndex propertyCount = Base::propertyCount + 1;
  class BuilderImpl;

  using Base::Base;
  Tool This() { return Tool(this); }

  sample::Plant getUser() const;
  bool hasUser() const;
  void setUser(const sample::Plant& value);
  void basicSetUser(const sample::Plant& value);

  tavo::String describe(std::uint32_t length) const override;

private:
  Storage& storage() { return storageAs<Storage>(); }
  const Storage& storage() const { return storageAs<Storage>(); }
  const tavo::MetaProperty& at(tavo::PropertyIndex index) const { return objectClass().at(index); }
};

} // namespace sample::tools
