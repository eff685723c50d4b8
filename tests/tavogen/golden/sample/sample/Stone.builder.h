// Made by tavogen from Bed.toml; edit that instead.
#pragma once

#include "sample/Stone.impl.h"
#include "tavo/meta/Builder.h"

namespace sample {

class SAMPLE_EXPORT Stone::Impl::BuilderImpl : public tavo::ModelElement::Impl::BuilderImpl {
public:
  using Base::BuilderImpl::BuilderImpl;
};

class Stone::Builder : public tavo::BuilderBase<Stone::Impl::BuilderImpl, Stone, Stone::Builder> {
public:
  using BuilderBase::BuilderBase;
};

} // namespace sample
