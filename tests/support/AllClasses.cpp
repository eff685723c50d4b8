#include "tests/support/AllClasses.h"

#include "tests/support/ErrorMatchers.h"
#include "tests/support/StateDump.h"

#include "tavo/collection/Views.h"
#include "tavo/model/ModelElementDatatype.h"
#include "tavo/model/Transaction.h"

#include <algorithm>

namespace testsupport {

using tavo::Datatype;
using tavo::MetaClass;
using tavo::MetaProperty;
using tavo::ModelElement;
using tavo::Value;

namespace {

/// Identities ascend as keys do: what a tree only refers to has no keys there and stands in the order of identities.
tavo::Uuid identity(unsigned seed) {
  tavo::Uuid uuid{};
  for (unsigned i = 0; i < 4; ++i)
    uuid.data[i] = static_cast<std::uint8_t>(seed >> (24 - 8 * i));
  uuid.data[6] = 0x40;
  uuid.data[8] = 0x80;
  return uuid;
}

/// Makes a value one that differs from the default of its type, and from those of other seeds where it can.
void vary(const Datatype& type, void* value, unsigned seed) {
  switch (type.kind) {
  case Datatype::Kind::string: // with what XML cannot carry, and too long to stand in place
    *static_cast<tavo::String*>(value) =
        tavo::concat(u"text \x01 & <\r\n> \xD800 ", tavo::String::fromUtf8(std::to_string(100'000 + seed)));
    return;
  case Datatype::Kind::uuid:
    *static_cast<tavo::Uuid*>(value) = identity(seed);
    return;
  case Datatype::Kind::enumeration:
    type.read(value, type.literals.back().name);
    return;
  case Datatype::Kind::structure:
    for (const auto& field : type.fields)
      vary(field.datatype(), static_cast<std::byte*>(value) + field.offset, ++seed);
    return;
  case Datatype::Kind::optional:
    vary(type.element(), type.emplace(value), seed);
    return;
  case Datatype::Kind::sequence:
    for (unsigned i = 0; i < 3; ++i) {
      Value element(type.element());
      vary(type.element(), element.data(), seed + i);
      type.append(value, element.data());
    }
    return;
  case Datatype::Kind::boolean:
    *static_cast<bool*>(value) = true;
    return;
  case Datatype::Kind::integer:
    type.read(value, std::to_string(seed));
    return;
  case Datatype::Kind::real:
    type.read(value, std::to_string(seed) + ".0625");
    return;
  default:
    return;
  }
}

/// Empty for types that only their library can make values of.
Value someValue(const Datatype& type, unsigned seed) {
  if (!type.saved)
    return {};
  Value value(type);
  vary(type, value.data(), seed);
  return value;
}

/// The first class that can be created and is `metaClass` or derives from it; null when there is none.
const MetaClass* concreteClass(const MetaClass& metaClass) {
  const auto candidates = metaClass.withSubclasses();
  const auto found =
      std::find_if(candidates.begin(), candidates.end(), [](const MetaClass* each) { return !each->isAbstract(); });
  return found == candidates.end() ? nullptr : *found;
}

void setKeys(const ModelElement& item, const MetaProperty& holder, unsigned& seed) {
  for (std::size_t which = 0; which < 2; ++which)
    if (const MetaProperty* key = holder.key(which))
      item.setPropertyValue(*key, someValue(*key->datatype(), ++seed));
}

/// Gives every feature of the object that can be written something that is not its default: a value, references to new
/// objects, and children that are filled in turn, but have none of their own. Says whether there was any.
bool fill(const ModelElement& object, bool withContents = true) {
  static unsigned seed = 100;
  const tavo::FrameworkUpdate guard(object.model()); // any text is welcome, so hooks have no say
  bool any = false;
  for (const MetaProperty* property : object.objectClass().properties()) {
    const bool isUndone = property->kind() != tavo::FeatureKind::runtime;
    if (!property->isWritable() || !isUndone || (!property->datatype() && !property->isSaved()))
      continue;
    Value value;
    if (property->datatype()) {
      value = someValue(*property->datatype(), ++seed);
    } else if (const MetaClass* target = concreteClass(*property->target());
               target && (withContents || property->isReference())) {
      std::vector<ModelElement> others;
      for (int i = 0; i < (property->isMany() ? 3 : 1); ++i) {
        others.push_back(object.model().create(*target, identity(++seed)));
        if (property->isContainment())
          fill(others.back(), false);
        setKeys(others.back(), *property, seed);
      }
      value = property->isMany() ? Value::of(others) : Value::of(others.front());
    }
    if (value.isEmpty())
      continue;
    object.setPropertyValue(*property, value);
    any = true;
  }
  return any;
}

void expectXmlRoundTrip(const MetaClass& metaClass) {
  const auto model = tavo::Model::create();
  const auto object = model.create(metaClass);
  fill(object);
  tavo::checkInvariants(model);
  const auto text = tavo::treeText(object);

  const auto again = tavo::Model::create();
  tavo::readModel(text, "again.xml", again);
  tavo::checkInvariants(again);
  const auto copy = again.find(object.Uuid());
  ASSERT_TRUE(copy);
  EXPECT_EQ(tavo::treeText(copy), text);
  for (const MetaProperty* property : metaClass.properties())
    if (property->isSaved() && property->datatype()) {
      EXPECT_EQ(copy.getPropertyValue(*property), object.getPropertyValue(*property)) << property->name();
    }
}

void expectUndoAndRedo(const MetaClass& metaClass) {
  const auto model = tavo::Model::create();
  const auto object = model.create(metaClass);
  model.clearHistory();
  std::vector<std::string> states{dumpState(model, false)};
  tavo::Transaction transaction(model);
  const bool hasFeatures = fill(object);
  transaction.commit();
  if (hasFeatures)
    states.push_back(dumpState(model, false));
  object.destroy();
  states.push_back(dumpState(model, false));

  const auto expectState = [&](std::size_t step) {
    tavo::checkInvariants(model);
    EXPECT_EQ(dumpState(model, false), states[step]) << "after step " << step;
  };
  for (std::size_t step = states.size() - 1; step-- > 0;) {
    EXPECT_TRUE(model.undo());
    expectState(step);
  }
  for (std::size_t step = 1; step < states.size(); ++step) {
    EXPECT_TRUE(model.redo());
    expectState(step);
  }
}

void expectRefusals(const MetaClass& metaClass) {
  const auto model = tavo::Model::create();
  const auto object = model.create(metaClass);
  const auto wrong = Value::of(std::vector<double>{1, 2});
  for (const MetaProperty* property : metaClass.properties()) {
    SCOPED_TRACE(property->name());
    EXPECT_ERROR_UNCHANGED(model, object.setPropertyValue(*property, wrong),
                           property->isWritable() ? "tavo:messages:InvalidValue"
                                                  : "tavo:messages:CannotSetReadOnlyProperty");
  }
}

/// One key of a keyed feature, over `count` objects: with few of them there is no index.
void expectKeyFollows(const MetaClass& metaClass, const MetaProperty& holder, std::size_t which, unsigned count) {
  const MetaProperty& key = *holder.key(which);
  const auto model = tavo::Model::create();
  const auto owner = model.create(metaClass);
  std::vector<ModelElement> items;
  unsigned seed = 0;
  for (unsigned i = 0; i < count; ++i) {
    items.push_back(model.create(*concreteClass(*holder.target())));
    setKeys(items.back(), holder, seed);
    owner.object().add(holder, items.back().get());
  }
  const tavo::ObjectView view(owner, holder);
  const auto find = [&](const Value& value) { return ModelElement(view.findKey(which, value.data())); };
  const ModelElement item = items[1];
  const Value old = item.getPropertyValue(key), fresh = someValue(*key.datatype(), ++seed);
  const auto expectUnder = [&](const Value& present, const Value& absent, const char* when) {
    EXPECT_EQ(find(present), item) << when;
    EXPECT_FALSE(find(absent)) << when;
    tavo::checkInvariants(model);
  };

  item.setPropertyValue(key, fresh);
  expectUnder(fresh, old, "changed");
  EXPECT_ERROR_UNCHANGED(model, item.setPropertyValue(key, items[0].getPropertyValue(key)),
                         "tavo:messages:UniquenessConstraint");
  expectUnder(fresh, old, "after a clash");
  EXPECT_TRUE(model.undo());
  expectUnder(old, fresh, "undone");
  EXPECT_TRUE(model.redo());
  expectUnder(fresh, old, "made again");
}

void expectKeysFollow(const MetaClass& metaClass) {
  for (const MetaProperty* holder : metaClass.properties())
    for (std::size_t which = 0; which < 2; ++which)
      if (holder->key(which) && concreteClass(*holder->target()))
        for (const unsigned count : {2u, 12u}) {
          SCOPED_TRACE(holder->name());
          expectKeyFollows(metaClass, *holder, which, count);
        }
}

} // namespace

std::vector<const MetaClass*> concreteClasses(std::initializer_list<std::string_view> packages) {
  std::vector<const MetaClass*> concrete;
  for (const std::string_view name : packages) {
    const tavo::MetaPackage* package = tavo::MetaRegistry::instance().findPackage(name);
    EXPECT_NE(package, nullptr) << name;
    if (package)
      for (const auto& metaClass : package->classes())
        if (!metaClass->isAbstract())
          concrete.push_back(metaClass.get());
  }
  return concrete;
}

void expectWhatMustHoldForAll(const std::vector<const MetaClass*>& classes) {
  for (const auto* metaClass : classes) {
    SCOPED_TRACE(metaClass->qualifiedName());
    expectXmlRoundTrip(*metaClass);
    expectUndoAndRedo(*metaClass);
    expectRefusals(*metaClass);
    expectKeysFollow(*metaClass);
  }
}

} // namespace testsupport
