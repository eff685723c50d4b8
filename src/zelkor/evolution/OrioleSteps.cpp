// 2.6 brought colours for components and for lines, defaults for new elements, lists of names.
#include "zelkor/evolution/PropertyRecords.h"

#include <algorithm>

namespace zelkor::property::evolution {
namespace {

void splitColors(Document& document) {
  const auto& r = records();
  const auto& color = r.stereotype.feature("color");
  document.each(r.stereotype, [&](Object& stereotype) {
    const auto kinds = itemsOf(stereotype, r.stereotype.feature("appliesTo"));
    const auto lines = std::ranges::count(kinds, "Connector");
    if (lines == 0 || lines < std::ssize(kinds))
      copyValue(document, stereotype, color, stereotype, r.stereotype.feature("componentHeaderColor"));
    if (lines != 0 || kinds.empty())
      copyValue(document, stereotype, color, stereotype, r.stereotype.feature("connectorLineColor"));
    Document::clear(stereotype, color);
  });
}

void joinColors(Document& document, Account& account) {
  const auto& r = records();
  const auto& color = r.stereotype.feature("color");
  const auto& header = r.stereotype.feature("componentHeaderColor");
  const auto& line = r.stereotype.feature("connectorLineColor");
  const auto fieldsOf = [](const Object& object, const FeatureRecord& feature) {
    return std::ranges::find(object.values, &feature, &ValueElement::feature)->own.fields;
  };
  document.each(r.stereotype, [&](Object& stereotype) {
    const bool both = hasValue(stereotype, header) && hasValue(stereotype, line);
    if (both && fieldsOf(stereotype, header) != fieldsOf(stereotype, line))
      account.note(stereotype, "the colour of connectors", "is left out");
    copyValue(document, stereotype, hasValue(stereotype, header) ? header : line, stereotype, color);
    Document::clear(stereotype, header);
    Document::clear(stereotype, line);
  });
}

void leaveOutEmptyDefaults(Document& document) {
  const auto& map = library("profile.DefaultStereotypeMap");
  document.each(map, [&](Object& object) {
    if (object.children.empty())
      document.remove(object);
  });
}

/// Lists of names become texts, which may be lists of texts.
void useTextsForLists(Document& document, Account& account) {
  const auto& r = records();
  const auto& list = library("property.StringArrayType");
  const auto& id = r.source.feature("targetId");
  const auto* text = SharedTypes(document).builtIn("string");
  const auto textId = text ? document.referenceTo(*text) : std::string_view();
  const auto textPath = text ? document.keep(pathOf(*text)) : std::string_view();
  std::vector<Object*> lists;
  document.each(list, [&](Object& type) { lists.push_back(&type); });
  OwnResolver own(document); // the list may be one of another profile
  const auto& resolver = library("services.proxy.CurrentModelResolver");
  const bool hasOwnResolvers = resolver.life.holds(document.versionOf(*resolver.family));
  document.each(r.source, [&](Object& source) {
    if (source.text(r.source.feature("targetClassId")) != tavo::toText(list.id))
      return;
    if (source.owner && source.owner->isA(r.definition))
      account.note(*source.owner, "the type stringArray", "becomes string");
    if (!text)
      return;
    Document::setKept(source, id, textId);
    document.set(source, r.source.feature("targetClassId"), tavo::toText(text->record->id));
    Document::setKept(source, r.source.feature("targetName"), textPath);
    if (hasOwnResolvers)
      Document::setKept(source, r.source.feature("resolver"), own.reference());
  });
  for (auto* type : lists)
    document.remove(*type);
}

void importDependencies(Document& document, Account& account) {
  const auto& r = records();
  const auto& dependent = r.profiles.feature("p_DependentProfileProxy");
  document.each(r.profiles, [&](Object& profiles) {
    for (const auto* source : profiles.childrenIn(dependent))
      account.note(profiles, withName("the profile", source->text(r.source.feature("targetName"))),
                   "becomes an import of its own");
    Document::rename(profiles, dependent, r.profiles.feature("ProfileProxy"));
  });
}

void withoutLooks(Document& document, Account& account) {
  joinColors(document, account);
  leaveOutEmptyDefaults(document);
  useTextsForLists(document, account);
  importDependencies(document, account);
}

constexpr Step step{.to = "2.6", .up = &splitColors, .down = &withoutLooks};
[[maybe_unused]] const bool registered = registerSteps("zelkor_property", {&step, 1});

} // namespace
} // namespace zelkor::property::evolution
