// What the builders of a profile's parts share: the text, the findings, and how things are found by name.
#pragma once

#include "tools/zelkor/text/Errors.h"
#include "tools/zelkor/text/Findings.h"
#include "tools/zelkor/text/Texts.h"

#include "kavra/Error.h"
#include "zelkor/profile/Profile.h"
#include "zelkor/profile/Prototype.h"
#include "zelkor/property/PropertySet.h"

#include <type_traits>

namespace zelkor::text {

/// "Other.Name" taken apart; no profile for a plain name.
struct Reference {
  explicit Reference(const std::string& text);
  std::string profile, name;
};

class BuildContext {
public:
  BuildContext(const ProfileText& profileText, Findings& allFindings) : text(profileText), findings(allFindings) {}

  const ProfileText& text;
  Findings& findings;
  profile::Profile profile; ///< the one that is built

  /// Does something with the library; an error becomes a finding at the place.
  template <class Action>
  bool attempt(Place place, const std::string& element, Action&& action) {
    return attempt(place, element, {}, action);
  }
  template <class Action>
  bool attempt(Place place, const std::string& element, const std::string& hint, Action&& action) {
    try {
      action();
      return true;
    } catch (const tavo::Error& error) {
      findings.add(place, element, error, hint);
    } catch (const kavra::Error& error) {
      findings.add({findings.file(), place, element, error.id(), error.what()});
    }
    return false;
  }

  bool isOwn(const Reference& reference) const {
    return reference.profile.empty() || reference.profile == text.name.value;
  }
  /// The type of a name: of the set, if there is one, else of a profile. Empty with a finding when there is none.
  property::ValueType requireType(const Text& name, const property::PropertySet& set, const std::string& element);
  profile::Prototype requireStereotype(const Text& name, const std::string& element);

  /// A bound in the class of number that a type has; nothing with a finding for one of another class.
  template <class Number>
  std::optional<Number> number(const std::optional<At<Literal>>& bound, const char* key, const std::string& element) {
    if (!bound)
      return {};
    auto* integer = std::get_if<std::int64_t>(&bound->value.value);
    auto* real = std::get_if<double>(&bound->value.value);
    if (integer)
      return static_cast<Number>(*integer);
    auto whole = real ? wholeNumber(*real) : std::nullopt;
    if (real && std::is_floating_point_v<Number>)
      return static_cast<Number>(*real);
    if (whole)
      return static_cast<Number>(*whole);
    findings.add(bound->place, element, TextError::WrongKind, key, "a whole number");
    return {};
  }

private:
  /// This profile, or one that it depends on. Empty with a finding for others.
  profile::Profile profileOf(const Reference& reference, const Text& where, const std::string& element);
  static std::optional<std::int64_t> wholeNumber(double value);
};

/// The type of a profile's by its name, or empty.
property::ValueType findType(const profile::Profile& profile, const std::string& name);

} // namespace zelkor::text
