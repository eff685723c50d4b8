// 2.6 brought colours for components and for lines, defaults for new elements, lists of names.
#include "zelkor/evolution/PropertyRecords.h"

#include "tavo/core/Limits.h"

#include <algorithm>

namespace zelkor::property::evolution {
namespace {

/// The built-in type that is new.
constexpr std::string_view listName = "stringArray";

/// What the one colour of a stereotype was for.
struct Colored {
  bool components, connectors;
};

/// What stereotypes inherit from other profiles is not known here.
Colored coloredBy(const Document& document, const Object& stereotype) {
  const auto& r = records();
  std::size_t all = 0, lines = 0;
  auto left = tavo::Limits::current().nesting; // a file may lead in circles
  for (const auto* at = &stereotype; at && at->isA(r.stereotype) && left > 0; --left) {
    const auto kinds = itemsOf(*at, r.stereotype.feature("appliesTo"));
    all += kinds.size();
    lines += static_cast<std::size_t>(std::ranges::count(kinds, "Connector"));
    const auto* source = at->child(r.stereotype.feature("parentProxy"));
    const auto parent = source ? tavo::parseUuid(source->text(r.source.feature("targetId"))) : std::nullopt;
    at = parent ? document.find(*parent) : nullptr;
  }
  return {lines == 0 || lines < all, lines != 0 || all == 0};
}

void splitColors(Document& document) {
  const auto& r = records();
  const auto& color = r.stereotype.feature("color");
  document.each(r.stereotype, [&](Object& stereotype) {
    if (!hasValue(stereotype, color))
      return;
    const auto colored = coloredBy(document, stereotype);
    if (colored.components)
      copyValue(document, stereotype, color, stereotype, r.stereotype.feature("componentHeaderColor"));
    if (colored.connectors)
      copyValue(document, stereotype, color, stereotype, r.stereotype.feature("connectorLineColor"));
    Document::clear(stereotype, color);
  });
}

void joinColors(Document& document, Account& account) {
  const auto& r = records();
  struct Color {
    const FeatureRecord& feature;
    std::string_view what, takenOver;
    bool Colored::*isFor;
  };
  const Color both[] = {{r.stereotype.feature("componentHeaderColor"), "the colour of components",
                         "becomes that of connectors, too", &Colored::components},
                        {r.stereotype.feature("connectorLineColor"), "the colour of connectors",
                         "becomes that of components, too", &Colored::connectors}};
  const auto fieldsOf = [](const Object& object, const FeatureRecord& feature) {
    return std::ranges::find(object.values, &feature, &ValueElement::feature)->own.fields;
  };
  document.each(r.stereotype, [&](Object& stereotype) {
    const auto colored = coloredBy(document, stereotype);
    const auto has = [&](const Color& each) { return hasValue(stereotype, each.feature); };
    const auto kept = std::ranges::find_if(both, [&](const Color& each) { return has(each) && colored.*each.isFor; });
    for (const Color& each : both)
      if (kept != std::end(both) && !has(each) && colored.*each.isFor)
        account.note(stereotype, kept->what, kept->takenOver);
      else if (has(each) && (kept == std::end(both) || !(colored.*each.isFor) ||
                             fieldsOf(stereotype, each.feature) != fieldsOf(stereotype, kept->feature)))
        account.note(stereotype, each.what, "is left out");
    if (kept != std::end(both))
      copyValue(document, stereotype, kept->feature, stereotype, r.stereotype.feature("color"));
    for (const Color& each : both)
      Document::clear(stereotype, each.feature);
  });
}

void leaveOutEmptyDefaults(Document& document) {
  const auto& map = library("profile.DefaultStereotypeMap");
  document.each(map, [&](Object& object) {
    if (object.children.empty())
      document.remove(object);
  });
}

/// What leads elsewhere, without the names that it is in.
std::string_view lastNameOf(const Object& source) {
  const auto path = source.text(records().source.feature("targetName"));
  return path.substr(path.rfind('.') + 1);
}

/// Lists of names become texts, which may be lists of texts.
void useTextsForLists(Document& document, Account& account) {
  const auto& r = records();
  const auto& list = library("property.StringArrayType");
  const auto& id = r.source.feature("targetId");
  const auto* text = SharedTypes(document).builtIn("string");
  const auto textId = text ? document.referenceTo(*text) : std::string_view();
  const auto textPath = text ? document.keep(pathOf(*text)) : std::string_view();
  const auto& base = r.type.feature("typeProxy");
  std::vector<Object*> builtIn;
  document.each(list, [&](Object& type) {
    if (!type.child(base)) {
      if (type.text(r.name) != listName)
        account.note(type, withName("the type", type.text(r.name)), "is left out");
      return builtIn.push_back(&type);
    }
    document.become(type, library("property.StringType"));
    account.note(type, withName("the type", type.text(r.name)), "becomes one of texts");
  });
  OwnResolver own(document); // the list may be one of another profile
  const auto& resolver = library("services.proxy.CurrentModelResolver");
  const bool hasOwnResolvers = resolver.life.holds(document.versionOf(*resolver.family));
  document.each(r.source, [&](Object& source) {
    const auto& classId = r.source.feature("targetClassId");
    if (source.text(classId) != tavo::toText(list.id))
      return;
    const auto uuid = tavo::parseUuid(source.text(id));
    const auto* here = uuid ? document.find(*uuid) : nullptr;
    if (here ? !here->isA(list) : lastNameOf(source) != listName)
      return document.set(source, classId, tavo::toText(library("property.StringType").id));
    const auto& user = source.owner ? *source.owner : source;
    if (user.isA(r.definition))
      account.note(user, withName("the type", lastNameOf(source)), "becomes string");
    if (!text) {
      account.note(user, withName("the type", lastNameOf(source)), "leads nowhere in that release");
      return;
    }
    Document::setKept(source, id, textId);
    document.set(source, classId, tavo::toText(text->record->id));
    Document::setKept(source, r.source.feature("targetName"), textPath);
    if (hasOwnResolvers)
      Document::setKept(source, r.source.feature("resolver"), own.reference());
  });
  for (auto* type : builtIn)
    document.remove(*type);
}

/// Models keep the built-in types, each with its description.
void addListToCatalogs(Document& document) {
  const auto& name = records().name;
  const auto& record = library("property.TypeCatalog");
  const auto& descriptor = library("property.ValueTypeDescriptor");
  document.each(record, [&](Object& catalog) {
    const auto add = [&](const ClassRecord& of, const char* in) -> Object& {
      auto& made = document.add(of, &catalog, &record.feature(in),
                                tavo::nameUuid(catalog.uuid, std::string(of.name()) + " " + std::string(listName)));
      document.set(made, name, listName);
      return made;
    };
    add(library("property.StringArrayType"), "p_valueType");
    const auto descriptors = catalog.childrenIn(record.feature("p_BuiltInValueTypes"));
    if (std::ranges::any_of(descriptors, [&](const Object* each) { return each->text(name) == listName; }))
      return;
    auto& described = add(descriptor, "p_BuiltInValueTypes");
    document.set(described, descriptor.feature("p_DataType"), listName);
    document.set(described, descriptor.feature("p_Dimensions"), "[1]");
    document.set(described, descriptor.feature("p_Description"), "a list of names");
  });
}

void leaveListOutOfCatalogs(Document& document) {
  document.each(library("property.ValueTypeDescriptor"), [&](Object& descriptor) {
    if (descriptor.text(records().name) == listName)
      document.remove(descriptor);
  });
}

void importDependencies(Document& document, Account& account) {
  const auto& r = records();
  const auto& dependent = r.profiles.feature("p_DependentProfileProxy");
  document.each(r.profiles, [&](Object& profiles) {
    for (const auto* source : profiles.childrenIn(dependent))
      account.note(profiles, withName("the profile", lastNameOf(*source)), "becomes an import of its own");
    Document::rename(profiles, dependent, r.profiles.feature("ProfileProxy"));
  });
}

void withLooks(Document& document) {
  splitColors(document);
  addListToCatalogs(document);
}

void withoutLooks(Document& document, Account& account) {
  joinColors(document, account);
  leaveOutEmptyDefaults(document);
  useTextsForLists(document, account);
  leaveListOutOfCatalogs(document);
  importDependencies(document, account);
}

constexpr Step step{.to = "2.6", .up = &withLooks, .down = &withoutLooks};
[[maybe_unused]] const bool registered = registerSteps("zelkor_property", {&step, 1});

} // namespace
} // namespace zelkor::property::evolution
