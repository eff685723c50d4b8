// Made by tavogen from Plant.toml; edit that instead.
#pragma once

#include "sample/Named.impl.h"
#include "tavo/core/String.h"
#include "tavo/meta/Builder.h"

#include <optional>

namespace sample {

class SAMPLE_EXPORT Named::Impl::BuilderImpl : public tavo::ModelElement::Impl::BuilderImpl {
public:
  using Base::BuilderImpl::BuilderImpl;

  void doSetP_Name(const tavo::String& value);
  tavo::String getP_Name() const;
  void doSetNote(const std::optional<tavo::String>& value);
  std::optional<tavo::String> getNote() const;
};

} // namespace sample
