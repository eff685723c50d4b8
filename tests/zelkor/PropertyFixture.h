// A model with a profile to put things into, built-in types, an enumeration class, and words for what tests do again
// and again.
#pragma once

#include "kavra/Error.h"
#include "kavra/Literals.h"
#include "kavra/standalone/StandaloneHost.h"
#include "tavo/model/Transaction.h"
#include "tavo/xml/ModelXml.h"
#include "tests/support/ErrorMatchers.h"
#include "zelkor/profile/Profile.impl.h"
#include "zelkor/property/FloatType.h"
#include "zelkor/property/IntegerType.h"
#include "zelkor/property/PropertyDefinition.impl.h"
#include "zelkor/property/PropertySet.h"
#include "zelkor/property/TypeCatalog.h"
#include "zelkor/property/Value.impl.h"

#include <gtest/gtest.h>

#include <string>

namespace zelkor::test {

using property::FloatType;
using property::IntegerType;
using property::PropertyDefinition;
using property::PropertySet;
using property::TypeCatalog;
using property::Value;
using property::ValueType;

using testsupport::stateOf;

inline kavra::HostArray number(double value) { return kavra::HostArray::scalar(value); }
inline kavra::HostArray int64(std::int64_t value) { return kavra::HostArray::scalar(value); }

class PropertyTest : public testing::Test {
protected:
  PropertyTest() {
    parts.diagnostics = diagnostics;
    host = std::make_unique<kavra::ScopedHost>(std::make_shared<kavra::Host>(parts));
    classes().defineEnumeration(
        {.name = u"Colors", .members = {{u"Red", 0}, {u"Green", 1}, {u"Blue", 2}}, .defaultPosition = 2});
    classes().defineEnumeration(
        {.name = u"paint.Gloss", .members = {{u"Dull", 0}, {u"Shiny", 1}}, .defaultPosition = 1});
    classes().defineClass(u"Widget");
    model = tavo::Model::create();
    catalog = TypeCatalog::createTypeCatalog(model);
    set = PropertySet::make(model, u"Motor", true);
  }

  kavra::StandaloneClassRegistry& classes() { return static_cast<kavra::StandaloneClassRegistry&>(*parts.classes); }
  kavra::Workspace& workspace() { return *parts.workspaces->of(model.get()); }

  ValueType builtIn(std::u16string_view name) const {
    for (const auto& type : catalog.getValueTypes())
      if (type.p_Name() == name)
        return type;
    ADD_FAILURE() << "no such type";
    return {};
  }

  /// A type that narrows a built-in one.
  template <class Type>
  Type narrowed(std::u16string_view base, std::vector<std::uint64_t> dimensions = {}) const {
    auto made = model.create<Type>();
    made.setBaseType(builtIn(base));
    made.setDimensions(std::move(dimensions));
    return made;
  }
  FloatType floatType(double min, double max, std::u16string_view base = u"double") const {
    auto type = FloatType::makeFloatType(model);
    type.setBaseType(builtIn(base));
    type.setMax(max);
    type.setMin(min);
    return type;
  }
  IntegerType integerType(std::int64_t min, std::int64_t max, std::u16string_view base = u"int64") const {
    auto type = IntegerType::makeIntegerType(model);
    type.setBaseType(builtIn(base));
    type.setMax(max);
    type.setMin(min);
    return type;
  }
  FloatType lengths() const {
    auto type = floatType(-1e6, 1e6);
    type.setUnits(u"m");
    return type;
  }
  Value valueOf(const ValueType& type, std::u16string_view text = {}) const {
    auto value = Value::make(model, type);
    value.setExpression(text);
    return value;
  }

  kavra::Host::Parts parts = kavra::standaloneParts();
  std::shared_ptr<kavra::RecordingDiagnostics> diagnostics = std::make_shared<kavra::RecordingDiagnostics>();
  std::unique_ptr<kavra::ScopedHost> host;
  tavo::Model model;
  TypeCatalog catalog;
  PropertySet set;
};

} // namespace zelkor::test
