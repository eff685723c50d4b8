#include "zelkor/evolution/ThrushSteps.h"

#include "tavo/core/Errors.h"
#include "tavo/core/Limits.h"

#include <algorithm>
#include <array>

namespace zelkor::property::evolution {
namespace {

/// The references that became sources of proxies.
struct Converted {
  const FeatureRecord *plain, *proxy;
};

std::array<Converted, 4> converted() {
  const auto& r = records();
  return {{{&r.definition.feature("valueType"), &r.definition.feature("typeProxy")},
           {&r.value.feature("valueType"), &r.value.feature("valueTypeProxy")},
           {&r.type.feature("baseType"), &r.type.feature("typeProxy")},
           {&r.stereotype.feature("parent"), &r.stereotype.feature("parentProxy")}}};
}

/// Whether a type stands on another one, or will when all references are plain.
bool standsOn(const Document& document, const Object* type, const Object& other) {
  const auto& r = records();
  for (auto left = tavo::Limits::current().nesting; type && type != &other; --left) {
    if (left == 0)
      return true; // which is as bad
    const auto* source = type->child(r.type.feature("typeProxy"));
    const auto id = source ? tavo::parseUuid(source->text(r.source.feature("targetId"))) : std::nullopt;
    type = id ? document.find(*id) : document.target(type->text(r.type.feature("baseType")));
  }
  return type != nullptr;
}

/// In place of a type of another profile, the one of the same name here, and of the same class as far as that is known;
/// null when there is none, or when it stands on the type that is to stand on it.
const Object* typeLike(const Document& document, const SharedTypes& types, const Object& source) {
  constexpr std::size_t longest = 1000; // no type has a longer name, but a file may
  auto name = source.text(records().source.feature("targetName"));
  name.remove_prefix(name.size() - std::min(name.size(), longest));
  const auto own = name.substr(name.rfind('.') + 1); // empty for enumerations, which need not have one
  const auto* same = own.empty() ? nullptr : types.find(own);
  const auto sort = sortOf(source);
  const bool isOfSort = same && (sort.empty() || sort == same->record->name());
  return isOfSort && !standsOn(document, same, *source.owner) ? same : nullptr;
}

/// Else the built-in one of its sort.
const Object* builtInFor(SharedTypes& types, const Object& source) {
  const auto sort = sortOf(source);
  const auto* builtIn = types.builtIn(sort == "FloatType"     ? "double"
                                      : sort == "IntegerType" ? "int32"
                                      : sort == "BooleanType" ? "boolean"
                                                              : "string");
  return builtIn == source.owner ? nullptr : builtIn;
}

/// What does not come along when a built-in type takes the place of one of which only the name is known.
std::string_view lostWith(const Object& object, const Object& builtIn) {
  const bool isNumber = builtIn.isA(library("property.RealType"));
  if (object.isA(records().definition))
    return isNumber ? ", without its dimensions and bounds" : ", without its dimensions";
  return isNumber ? ", without its bounds" : "";
}

/// A number whose type stays behind in another profile keeps the units of its default, in a type of its own.
const Object* withUnitsOfDefault(Document& document, Object& definition, const Object& type) {
  const auto& r = records();
  const auto& owned = r.definition.feature("ownedType");
  auto* value = definition.child(r.definition.feature("defaultValue"));
  const auto units = value ? value->text(r.value.feature("units")) : std::string_view();
  const auto& unitsOfType = library("property.RealType").feature("units");
  if (units.empty() || !type.isA(library("property.RealType")) || type.text(unitsOfType) == units ||
      definition.child(owned))
    return &type;
  auto& made = document.add(*type.record, &definition, &owned, tavo::nameUuid(definition.uuid, "ownedType"));
  Document::setKept(made, r.name, type.text(r.name));
  document.set(made, r.type.feature("baseType"), document.referenceTo(type));
  document.set(made, unitsOfType, units);
  document.set(*value, r.value.feature("valueType"), document.referenceTo(made));
  if (auto* proxy = value->child(r.value.feature("valueTypeProxy")))
    document.remove(*proxy);
  return &made;
}

} // namespace

void referenceByProxy(Document& document) {
  const auto& source = records().source;
  const auto& id = source.feature("targetId");
  const auto& ofClass = source.feature("targetClassId");
  const auto& name = source.feature("targetName");
  const auto& resolvedBy = source.feature("resolver");
  OwnResolver resolver(document);
  // What references to one object say is the same, and kept once, however many and however long.
  struct Told {
    std::string_view uuid, classId, path;
  };
  boost::unordered_flat_map<const Object*, Told> told;
  const auto tell = [&](const Object& target) -> const Told& {
    const auto [found, isNew] = told.try_emplace(&target);
    if (isNew)
      found->second = {document.referenceTo(target), document.keep(tavo::toText(target.record->id)),
                       document.keep(pathOf(target))};
    return found->second;
  };
  for (const auto& [plain, proxy] : converted())
    document.each(*plain->owner, [&, plain = plain, proxy = proxy](Object& object) {
      const auto* reference = object.find(*plain);
      if (!reference)
        return;
      const auto* target = document.target(*reference);
      if (!target)
        raise(tavo::FrameworkError::DanglingReference, document.placeOf(object), plain->name(), *reference);
      auto& made = document.addPart(source, object, *proxy);
      const auto& [uuid, classId, path] = tell(*target);
      Document::setKept(made, id, uuid);
      Document::setKept(made, ofClass, classId);
      Document::setKept(made, name, path);
      Document::setKept(made, resolvedBy, resolver.reference());
      Document::clear(object, *plain);
    });
}

std::string_view sortOf(const Object& source) {
  const auto id = tavo::parseUuid(source.text(records().source.feature("targetClassId")));
  const auto* record = id ? findClass(*id) : nullptr;
  return record ? record->name() : std::string_view();
}

std::set<const Object*> referencePlainly(Document& document, Account& account) {
  const auto& r = records();
  const auto features = converted();
  const auto& text = r.value.feature("storedExpression");
  SharedTypes types(document);
  std::set<const Object*> changed;
  document.each([&](Object& object) {
    for (const auto& [plain, proxy] : features) {
      auto* made = object.child(*proxy);
      if (!made)
        continue;
      const auto uuid = tavo::parseUuid(made->text(r.source.feature("targetId")));
      const auto* target = uuid ? document.find(*uuid) : nullptr;
      const auto name = made->text(r.source.feature("targetName"));
      if (!target && plain->target == &r.type) {
        target = typeLike(document, types, *made);
        const bool isLike = target;
        if (!isLike)
          target = builtInFor(types, *made);
        if (target && !object.isA(r.value)) {
          account.note(object, withName(object.isA(r.type) ? "the base type" : "the type", name),
                       withName("becomes", target->text(r.name)).append(isLike ? "" : lostWith(object, *target)));
          changed.insert(&object);
        }
        if (target && object.isA(r.definition))
          target = withUnitsOfDefault(document, object, *target);
        if (object.isA(r.value) && sortOf(*made) == "Enumeration" && target && target->record->name() != "Enumeration")
          account.note(object, withName("the default", object.text(text)), "stays, and is no value of a string");
      } else if (!target) {
        account.note(object, withName("the parent", name), "is left out, with what the stereotype inherits from it");
      }
      if (target)
        document.set(object, *plain, document.referenceTo(*target));
      document.remove(*made);
    }
  });
  return changed;
}

} // namespace zelkor::property::evolution
