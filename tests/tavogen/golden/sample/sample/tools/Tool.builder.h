// Made by tavogen from Tool.toml; edit that instead.
#pragma once

#include "sample/Named.builder.h"
#include "sample/tools/Tool.impl.h"

namespace sample {
class Plant;
}

namespace sample::tools {

class SAMPLE_EXPORT Tool::Impl::BuilderImpl : public sample::Named::Impl::BuilderImpl {
public:
  using Base::BuilderImpl::BuilderImpl;

  void doSetUser(const sample::Plant& value);
  sample::Plant getUser() const;
};

class Tool::Builder : public tavo::BuilderBase<Tool::Impl::BuilderImpl, Tool, Tool::Builder> {
public:
  using BuilderBase::BuilderBase;
};

} // namespace sample::tools
