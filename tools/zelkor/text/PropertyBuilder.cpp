#include "tools/zelkor/text/PropertyBuilder.h"

#include "tools/zelkor/text/Defaults.h"
#include "tools/zelkor/text/Spelling.h"

#include "kavra/Host.h"
#include "kavra/NameRules.h"
#include "kavra/Text.h"
#include "zelkor/property/Enumeration.h"
#include "zelkor/property/IntegerType.h"
#include "zelkor/property/PropertyDefinition.h"
#include "zelkor/property/StringType.h"
#include "zelkor/property/Value.h"

namespace zelkor::text {
namespace {

using property::PropertyDefinition;
using property::PropertySet;
using tavo::String;

/// What can be added to the error of an expression that cannot be evaluated.
std::string evaluationHint(const String& expression, bool takesText) {
  if (takesText && kavra::isValidName(expression))
    return "A text stands in quotes: default = \"" + narrow(expression) + "\".";
  if (kavra::host().workspaces().of(nullptr)->evaluate(expression))
    return {};
  return "(A profile is read without a workspace, so there are no variables.)";
}

class PropertyBuilder {
public:
  PropertyBuilder(BuildContext& context, const PropertySet& set) : context_(context), set_(set) {}

  void build(const PropertyText& text, const std::string& element) {
    auto definition = make(text, element);
    if (!definition)
      return;
    if (text.externalId)
      definition.setExternalUID(wide(text.externalId->value));
    if (text.dimensions)
      context_.attempt(text.dimensions->place, element, [&] { definition.setDimensions(text.dimensions->value); });
    if (text.units)
      context_.attempt(text.units->place, element, [&] { definition.setUnit(wide(text.units->value)); });
    setBounds(definition, text, element);
    if (text.defaultValue)
      setDefault(definition, *text.defaultValue, element);
  }

private:
  /// A property with its type, which is one of the set, of a profile or an enumeration class.
  PropertyDefinition make(const PropertyText& text, const std::string& element) {
    PropertyDefinition definition;
    auto name = wide(text.name.value);
    if (auto type = set_.valueTypes().find(wide(text.type.value).view())) {
      context_.attempt(text.name.place, element, [&] {
        definition = PropertyDefinition::make(name, set_);
        definition.setType(type);
        definition.object().add(definition.objectClass().property("defaultValue"),
                                property::Value::make(set_.model(), type).get());
      });
    } else if (property::Enumeration::isValidEnumerationName(wide(text.type.value)) ||
               context_.requireType(text.type, {}, element)) {
      // Within its own profile, a type goes by its name alone.
      Reference reference(text.type.value);
      auto typeName = reference.profile == context_.text.name.value ? reference.name : text.type.value;
      context_.attempt(text.name.place, element, [&] { definition = set_.addProperty(name, wide(typeName)); });
    }
    return definition;
  }

  void setBounds(const PropertyDefinition& definition, const PropertyText& text, const std::string& element) {
    kavra::HostArray min, max;
    if (definition.getType().as<property::IntegerType>()) {
      if (auto bound = context_.number<std::int64_t>(text.min, "min", element))
        min = kavra::HostArray::scalar(*bound);
      if (auto bound = context_.number<std::int64_t>(text.max, "max", element))
        max = kavra::HostArray::scalar(*bound);
    } else {
      if (auto bound = context_.number<double>(text.min, "min", element))
        min = kavra::HostArray::scalar(*bound);
      if (auto bound = context_.number<double>(text.max, "max", element))
        max = kavra::HostArray::scalar(*bound);
    }
    if (min && max)
      context_.attempt(text.min->place, element, [&] { definition.setMinAndMax(min, max); });
    else if (min)
      context_.attempt(text.min->place, element, [&] { definition.setMin(min); });
    else if (max)
      context_.attempt(text.max->place, element, [&] { definition.setMax(max); });
  }

  void setDefault(const PropertyDefinition& definition, const At<DefaultText>& text, const std::string& element) {
    auto type = definition.getType();
    bool isEnumeration = static_cast<bool>(type.as<property::Enumeration>());
    bool takesText = isEnumeration || type.as<property::StringType>();
    std::string hint;
    String expression;
    if (!text.value.literal) {
      expression = wide(text.value.expression);
      hint = evaluationHint(expression, takesText);
    } else {
      auto* list = std::get_if<Literal::List>(&text.value.literal->value);
      // An empty list of names is an empty cell, not a matrix without elements.
      bool isEmptyCell = list && list->empty() && type && !type.as<property::RealType>();
      expression = isEmptyCell ? String(u"{}") : String(expressionOf(*text.value.literal));
      if (auto* word = std::get_if<std::string>(&text.value.literal->value); word && isEnumeration)
        hint = memberHint(type.as<property::Enumeration>(), *word);
    }
    if (hint.empty() && text.value.units)
      hint = "(A range is compared with the number as it stands, whatever its units.)";
    bool isSet = expression.empty() || context_.attempt(text.place, element, hint,
                                                        [&] { definition.setDefaultPropertyValue(expression, u"*"); });
    if (isSet && text.value.units)
      context_.attempt(text.value.units->place, element,
                       [&] { definition.defaultValue().setUnits(wide(text.value.units->value)); });
  }

  static std::string memberHint(const property::Enumeration& enumeration, const std::string& word) {
    std::vector<std::string> names;
    for (auto& name : enumeration.getLiteralsAsStrings())
      names.push_back(narrow(name));
    std::string text = "\"" + word + "\" is no member of " + narrow(enumeration.getKavraEnumName());
    return text + suggestion(word, names);
  }

  BuildContext& context_;
  const PropertySet& set_;
};

} // namespace

void buildProperties(BuildContext& context, const PropertySet& set, const std::vector<PropertyText>& properties,
                     const std::string& owner) {
  PropertyBuilder builder(context, set);
  for (auto& property : properties)
    builder.build(property, owner + "." + property.name.value);
}

} // namespace zelkor::text
