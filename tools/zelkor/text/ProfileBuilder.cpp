#include "tools/zelkor/text/ProfileBuilder.h"

#include "tools/zelkor/text/BuildContext.h"
#include "tools/zelkor/text/Identities.h"
#include "tools/zelkor/text/Keywords.h"
#include "tools/zelkor/text/PropertyBuilder.h"
#include "tools/zelkor/text/TypeBuilder.h"

#include "kavra/Text.h"
#include "zelkor/profile/DefaultStereotypeMap.h"
#include "zelkor/profile/ProfileCatalog.h"
#include "zelkor/profile/ProfileResolver.h"
#include "zelkor/profile/Tag.h"
#include "zelkor/services/ModelIdentifier.h"

#include <algorithm>
#include <set>

namespace zelkor::text {
namespace {

using profile::Profile;
using profile::ProfileCatalog;
using profile::Prototype;
using tavo::String;

class Builder {
public:
  Builder(const ProfileText& text, const tavo::Model& before, kavra::StandaloneClassRegistry& classes,
          Findings& findings)
      : text_(text), before_(before), classes_(classes), findings_(findings), context_(text, findings) {}

  tavo::Model build() {
    defineEnumerations();
    loadDependencies();
    if (!findings_.empty())
      return {};
    auto model = tavo::Model::create();
    model.setUndoDepth(0);
    context_.profile = Profile::createProfile(model, wide(text_.name.value));
    services::proxy::ModelIdentifier::createModelIdentifier(model, u"profile", context_.profile.getName());
    for (auto& dependency : text_.dependsOn)
      profile::ProfileResolver::createResolver(model, wide(dependency.value));

    nameAndDescribe();
    buildTypes(context_, text_.types);
    makeTagsAndSets();
    makeStereotypes();
    setDefaultStereotypes();
    if (!findings_.empty())
      return {};
    tavo::Model result;
    context_.attempt({}, "[exact]", [&] { result = withIdentities(model, sources(), text_.exact, findings_); });
    return result;
  }

private:
  void defineEnumerations() {
    for (auto& definition : enumerationsOf(text_))
      context_.attempt({}, kavra::toUtf8(definition.name), [&] { classes_.defineEnumeration(definition); });
  }

  void loadDependencies() {
    auto& catalog = ProfileCatalog::instance();
    for (auto& dependency : text_.dependsOn) {
      bool loaded = context_.attempt(dependency.place, dependency.value,
                                     [&] { catalog.loadProfileNamed(wide(dependency.value)); });
      std::set<String> visited;
      if (loaded && leadsBack(wide(dependency.value), visited))
        findings_.add(dependency.place, dependency.value, TextError::Cycle,
                      text_.name.value + " -> " + dependency.value + " -> ... -> " + text_.name.value);
    }
  }

  bool leadsBack(const String& name, std::set<String>& visited) const {
    auto profile = ProfileCatalog::instance().getProfile(name);
    if (!profile || !visited.insert(name).second)
      return false;
    auto names = profile.getDependentProfiles();
    return std::any_of(names.begin(), names.end(),
                       [&](auto& next) { return next == wide(text_.name.value) || leadsBack(next, visited); });
  }

  void nameAndDescribe() {
    context_.profile.setFriendlyName(wide(text_.friendlyName));
    context_.profile.setDescription(wide(text_.description));
    setExternalId(context_.profile, text_);
  }

  static void setExternalId(const internal::NamedElement& element, const NamedText& text) {
    if (text.externalId)
      element.setExternalUID(wide(text.externalId->value));
  }

  //--------------------------------------------------------------------------------------------------------------------
  // Tags, sets and stereotypes

  void makeTagsAndSets() {
    for (auto& text : text_.tags) {
      context_.attempt(text.name.place, text.name.value, [&] {
        auto tag = context_.profile.addTag(wide(text.name.value));
        tag.setDescription(wide(text.description));
        setExternalId(tag, text);
      });
    }
    for (auto& text : text_.sets) {
      context_.attempt(text.name.place, text.name.value, [&] {
        auto set = context_.profile.addPropertySet(wide(text.name.value));
        set.setDescription(wide(text.description));
        setExternalId(set, text);
        buildTypes(context_, text.types, set, text.name.value);
        buildProperties(context_, set, text.properties, text.name.value);
      });
    }
  }

  void makeStereotypes() {
    for (auto& text : text_.stereotypes) {
      context_.attempt(text.name.place, text.name.value, [&] {
        std::vector<String> kinds;
        for (auto& kind : text.appliesTo)
          kinds.push_back(wide(kind.value));
        auto stereotype = context_.profile.addPrototype(wide(text.name.value), {}, kinds);
        describe(stereotype, text);
      });
    }
    for (auto& text : text_.stereotypes) {
      if (text.parent)
        setParent(text);
    }
    for (auto& text : text_.stereotypes) {
      if (auto stereotype = find(text)) {
        buildTypes(context_, text.types, stereotype.getPropertySet(), text.name.value);
        buildProperties(context_, stereotype.getPropertySet(), text.properties, text.name.value);
      }
    }
  }

  void describe(const Prototype& stereotype, const StereotypeText& text) {
    stereotype.setDescription(wide(text.description));
    setExternalId(stereotype, text);
    stereotype.getPropertySet().setDescription(wide(text.setDescription));
    auto position = [](const std::vector<std::string>& words, const Text& word) {
      return std::find(words.begin(), words.end(), word.value) - words.begin();
    };
    if (text.icon)
      stereotype.setIcon(static_cast<profile::PrototypeIcon>(position(icons(), *text.icon)));
    if (text.customIcon)
      stereotype.setCustomIconPath(wide(text.customIcon->value));
    if (text.lineStyle)
      stereotype.setConnectorLineStyle(static_cast<profile::ConnectorStyle>(position(lineStyles(), *text.lineStyle)));
    auto colour = [](const ColourText& c) { return profile::RGBValueStruct{c.red, c.green, c.blue}; };
    if (text.headerColour)
      stereotype.setComponentHeaderColor(colour(*text.headerColour));
    if (text.lineColour)
      stereotype.setConnectorLineColor(colour(*text.lineColour));
  }

  Prototype find(const StereotypeText& text) const {
    return context_.profile.prototypes().find(wide(text.name.value).view());
  }

  void setParent(const StereotypeText& text) {
    auto stereotype = find(text);
    auto parent = stereotype ? context_.requireStereotype(*text.parent, text.name.value) : Prototype();
    if (parent)
      context_.attempt(text.parent->place, text.name.value, [&] { stereotype.setParent(parent); });
  }

  void setDefaultStereotypes() {
    for (auto& text : text_.stereotypes) {
      auto stereotype = find(text);
      for (auto& [kind, name] : text.defaults) {
        auto chosen = stereotype ? context_.requireStereotype(name, text.name.value) : Prototype();
        if (!chosen)
          continue;
        auto map = stereotype.defaultStereotypeMap();
        context_.attempt(name.place, text.name.value, [&, &kind = kind] {
          if (kind == "component")
            map.setArchitectureDefault(chosen);
          else if (kind == "port")
            map.setPortDefault(chosen);
          else
            map.setConnectorDefault(chosen);
        });
      }
    }
    if (!text_.defaultStereotype)
      return;
    if (auto stereotype = context_.requireStereotype(*text_.defaultStereotype, text_.name.value))
      context_.attempt(text_.defaultStereotype->place, text_.name.value,
                       [&] { context_.profile.setDefaultPrototype(stereotype); });
  }

  //--------------------------------------------------------------------------------------------------------------------
  // Identities

  IdentitySources sources() const {
    IdentitySources sources;
    sources.profileName = text_.was ? text_.was->value : text_.name.value;
    sources.before = before_;
    take(sources, "Profile", text_);
    sources.was.erase("Profile"); // its path does not have the name
    takeAll(sources, "Profile/valueTypes/", text_.types);
    takeAll(sources, "Profile/tags/", text_.tags);
    takeAll(sources, "Profile/propertySets/", text_.sets);
    for (auto& set : text_.sets) {
      auto path = "Profile/propertySets/" + set.name.value;
      takeAll(sources, path + "/valueTypes/", set.types);
      takeAll(sources, path + "/properties/", set.properties);
    }
    takeAll(sources, "Profile/prototypes/", text_.stereotypes);
    for (auto& stereotype : text_.stereotypes) {
      auto path = "Profile/prototypes/" + stereotype.name.value + "/propertySet";
      takeAll(sources, path + "/valueTypes/", stereotype.types);
      takeAll(sources, path + "/properties/", stereotype.properties);
    }
    return sources;
  }

  template <class Thing>
  static void takeAll(IdentitySources& sources, const std::string& owner, const std::vector<Thing>& things) {
    for (auto& thing : things)
      take(sources, owner + thing.name.value, thing);
  }

  static void take(IdentitySources& sources, const std::string& path, const NamedText& text) {
    if (text.id)
      sources.given[path] = *text.id;
    if (text.was)
      sources.was[path] = *text.was;
  }

  const ProfileText& text_;
  const tavo::Model& before_;
  kavra::StandaloneClassRegistry& classes_;
  Findings& findings_;
  BuildContext context_;
};

} // namespace

std::vector<kavra::EnumerationDefinition> enumerationsOf(const ProfileText& text) {
  std::vector<kavra::EnumerationDefinition> definitions;
  for (auto& enumeration : text.enumerations) {
    kavra::EnumerationDefinition definition;
    definition.name = kavra::fromUtf8(enumeration.name.value).value_or(u"");
    std::int64_t next = 0;
    for (auto& member : enumeration.members) {
      auto value = member.value ? member.value->value : next;
      next = value + 1;
      definition.members.push_back(
          {kavra::fromUtf8(member.name.value).value_or(u""), static_cast<std::int32_t>(value)});
      if (enumeration.defaultMember && enumeration.defaultMember->value == member.name.value)
        definition.defaultPosition = static_cast<std::uint32_t>(definition.members.size());
    }
    definitions.push_back(std::move(definition));
  }
  return definitions;
}

tavo::Model buildProfile(const ProfileText& text, const tavo::Model& before, kavra::StandaloneClassRegistry& classes,
                         Findings& findings) {
  return Builder(text, before, classes, findings).build();
}

} // namespace zelkor::text
