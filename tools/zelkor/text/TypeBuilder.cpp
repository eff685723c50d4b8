#include "tools/zelkor/text/TypeBuilder.h"

#include "zelkor/property/BooleanType.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/FloatType.h"
#include "zelkor/property/IntegerType.h"
#include "zelkor/property/StringArrayType.h"
#include "zelkor/property/StringType.h"

#include <algorithm>
#include <set>

namespace zelkor::text {
namespace {

using property::Enumeration;
using property::FloatType;
using property::IntegerType;
using property::ValueType;

class TypeBuilder {
public:
  TypeBuilder(BuildContext& context, const std::vector<TypeText>& types, const property::PropertySet& set,
              const std::string& owner)
      : context_(context), types_(types), set_(set), prefix_(owner.empty() ? "" : owner + ".") {}

  void build() {
    for (auto& type : types_)
      make(type);
    // A base gets its bounds before those who narrow it.
    for (auto& type : types_)
      fill(type);
  }

private:
  std::string elementOf(const TypeText& text) const { return prefix_ + text.name.value; }

  /// The description of the base, when it is one of these types.
  const TypeText* baseOf(const TypeText& type) const {
    Reference reference(type.base ? type.base->value : std::string());
    auto found = std::find_if(types_.begin(), types_.end(), [&](auto& t) { return t.name.value == reference.name; });
    // With the name of the profile before it, a name is not one of a set's types.
    bool isHere = set_ ? reference.profile.empty() : context_.isOwn(reference);
    return type.base && isHere && found != types_.end() ? &*found : nullptr;
  }

  /// The first type of the chain whose base is none of these, which says what kind of type they are; null when there
  /// is none. A circle is reported once, at the first of its types.
  const TypeText* rootOf(const TypeText& type) {
    std::string chain = type.name.value;
    std::set<const TypeText*> visited{&type};
    auto* root = &type;
    for (auto* next = baseOf(type); next; next = baseOf(*next)) {
      chain += " -> " + next->name.value;
      if (next == &type && !circles_.contains(next)) {
        context_.findings.add(type.base->place, elementOf(type), TextError::Cycle, chain);
        circles_.insert(visited.begin(), visited.end());
      }
      if (!visited.insert(next).second)
        return nullptr;
      root = next;
    }
    return root;
  }

  void make(const TypeText& text) {
    auto* root = rootOf(text);
    if (!root)
      return;
    context_.attempt(text.enumeration ? text.enumeration->place : text.name.place, elementOf(text), [&] {
      ValueType type;
      if (root->enumeration)
        type = Enumeration::makeEnumeration(model(), wide(root->enumeration->value));
      else if (root->kind)
        type = makeOfKind(root->kind->value);
      else if (auto base = requireType(*root->base, *root))
        type = makeSameKind(base);
      if (!type)
        return;
      type.setName(wide(text.name.value));
      if (text.externalId)
        type.setExternalUID(wide(text.externalId->value));
      auto owner = set_ ? tavo::ModelElement(set_) : tavo::ModelElement(context_.profile);
      owner.object().add(owner.objectClass().property("valueTypes"), type.get());
    });
  }

  tavo::Model model() const { return context_.profile.model(); }

  ValueType requireType(const Text& name, const TypeText& text) {
    return context_.requireType(name, set_, elementOf(text));
  }

  ValueType makeOfKind(const std::string& kind) const {
    if (kind == "real")
      return FloatType::makeFloatType(model());
    if (kind == "integer")
      return IntegerType::makeIntegerType(model());
    if (kind == "boolean")
      return property::BooleanType::makeBooleanType(model());
    if (kind == "string")
      return property::StringType::makeStringType(model());
    return property::StringArrayType::makeStringArrayType(model());
  }

  ValueType makeSameKind(const ValueType& base) const {
    if (base.as<FloatType>())
      return FloatType::makeFloatType(model());
    if (base.as<IntegerType>())
      return IntegerType::makeIntegerType(model());
    if (auto enumeration = base.as<Enumeration>())
      return Enumeration::makeEnumeration(model(), enumeration.getKavraEnumName());
    return model().create(base.objectClass()).cast<ValueType>();
  }

  /// Empty when it could not be made.
  ValueType madeFrom(const TypeText& text) const {
    return set_ ? set_.valueTypes().find(wide(text.name.value).view()) : findType(context_.profile, text.name.value);
  }

  void fill(const TypeText& text) {
    if (!filled_.insert(&text).second)
      return;
    if (auto* base = baseOf(text))
      fill(*base);
    auto element = elementOf(text);
    auto type = madeFrom(text);
    if (!type)
      return;
    auto* own = baseOf(text);
    if (text.base && (!own || madeFrom(*own))) {
      if (auto base = requireType(*text.base, text))
        context_.attempt(text.base->place, element, [&] { type.setBaseType(base); });
    }
    if (text.dimensions)
      type.setDimensions(text.dimensions->value);
    if (text.units)
      setUnits(type, *text.units, element);
    setBounds<FloatType, double>(type, text, element);
    setBounds<IntegerType, std::int64_t>(type, text, element);
    if (!type.as<FloatType>() && !type.as<IntegerType>() && (text.min || text.max))
      context_.findings.add((text.min ? text.min : text.max)->place, element, TextError::WrongKind,
                            text.min ? "min" : "max", "left out: the type is not one of numbers");
  }

  void setUnits(const ValueType& type, const Text& units, const std::string& element) {
    auto numeric = type.as<property::RealType>();
    if (!numeric || type.as<Enumeration>()) {
      context_.findings.add(units.place, element, TextError::WrongKind, "units",
                            "left out: the type is not one of numbers");
      return;
    }
    context_.attempt(units.place, element, [&] {
      auto base = type.getBaseType().as<property::RealType>();
      if (base && !base.units().empty() && base.units() != wide(units.value))
        tavo::raise(TextError::UnitsOfBase, units.value, narrow(base.units()));
      numeric.setUnits(wide(units.value));
    });
  }

  template <class Type, class Number>
  void setBounds(const ValueType& valueType, const TypeText& text, const std::string& element) {
    auto type = valueType.as<Type>();
    if (!type)
      return;
    auto max = context_.number<Number>(text.max, "max", element);
    auto min = context_.number<Number>(text.min, "min", element);
    if (max)
      context_.attempt(text.max->place, element, [&] { type.setMax(max); });
    if (min)
      context_.attempt(text.min->place, element, [&] { type.setMin(min); });
  }

  BuildContext& context_;
  const std::vector<TypeText>& types_;
  const property::PropertySet& set_;
  std::string prefix_;
  std::set<const TypeText*> circles_; ///< types that a reported circle has
  std::set<const TypeText*> filled_;
};

} // namespace

void buildTypes(BuildContext& context, const std::vector<TypeText>& types, const property::PropertySet& set,
                const std::string& owner) {
  TypeBuilder(context, types, set, owner).build();
}

} // namespace zelkor::text
