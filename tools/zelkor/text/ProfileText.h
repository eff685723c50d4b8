// What the text of a profile says, piece by piece and with the place of each piece. It knows neither TOML nor models:
// the reader and the writer turn it into text and back, the builder and the describer into a profile and back.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace zelkor::text {

/// A place in a text, counted from one; line 0 is the text as a whole.
struct Place {
  std::uint32_t line = 0;
  std::uint32_t column = 0;

  // clang-tidy 14 takes the zero in a defaulted comparison for a null pointer. NOLINTNEXTLINE(modernize-use-nullptr)
  friend auto operator<=>(const Place&, const Place&) = default;
};

/// A piece of the text and where it stands.
template <class T>
struct At {
  T value{};
  Place place{};

  /// Where a piece stands does not change what it says.
  friend bool operator==(const At& a, const At& b) { return a.value == b.value; }
};

using Text = At<std::string>;

/// A value as the text form writes it: a flag, a number, a text or a list of these.
struct Literal {
  using List = std::vector<Literal>;
  std::variant<bool, std::int64_t, double, std::string, List> value;

  /// Compares numbers bit by bit, so that NaN equals itself and -0 differs from 0.
  friend bool operator==(const Literal& a, const Literal& b);
};

/// A default value: a literal, or an expression of the host's language; units where they are not the property's.
struct DefaultText {
  std::optional<Literal> literal;
  std::string expression; ///< when there is no literal
  std::optional<Text> units;

  friend bool operator==(const DefaultText&, const DefaultText&) = default;
};

/// What everything that has a name can say about its identity.
struct NamedText {
  Text name;
  std::optional<Text> id;
  std::optional<Text> was; ///< the name that the same thing had in the output before
  std::optional<Text> externalId;

  friend bool operator==(const NamedText&, const NamedText&) = default;
};

/// What a type, or a property that narrows its type, says about values.
struct ShapeText {
  std::optional<Text> units;
  std::optional<At<std::vector<std::uint64_t>>> dimensions;
  std::optional<At<Literal>> min;
  std::optional<At<Literal>> max;

  friend bool operator==(const ShapeText&, const ShapeText&) = default;
};

/// One of three says what kind of values a type has.
struct TypeText : NamedText, ShapeText {
  std::optional<Text> base;        ///< another type
  std::optional<Text> enumeration; ///< the class, for a type without base
  std::optional<Text> kind;        ///< one of the kinds of values, for another type without base

  friend bool operator==(const TypeText&, const TypeText&) = default;
};

struct PropertyText : NamedText, ShapeText {
  Text type;
  std::optional<At<DefaultText>> defaultValue;

  friend bool operator==(const PropertyText&, const PropertyText&) = default;
};

struct SetText : NamedText {
  std::string description;
  std::vector<TypeText> types; ///< which only the properties of the set can have
  std::vector<PropertyText> properties;

  friend bool operator==(const SetText&, const SetText&) = default;
};

struct ColourText {
  std::uint32_t red = 0, green = 0, blue = 0;

  friend bool operator==(const ColourText&, const ColourText&) = default;
};

struct StereotypeText : NamedText {
  std::string description;
  std::optional<Text> parent;
  std::vector<Text> appliesTo;
  std::optional<Text> icon;       ///< one of the badges, in lower case
  std::optional<Text> customIcon; ///< a file
  std::optional<ColourText> headerColour;
  std::optional<ColourText> lineColour;
  std::optional<Text> lineStyle;
  std::map<std::string, Text> defaults; ///< stereotypes by kind of element
  std::string setDescription;
  std::vector<TypeText> types; ///< of its set
  std::vector<PropertyText> properties;

  friend bool operator==(const StereotypeText&, const StereotypeText&) = default;
};

struct TagText : NamedText {
  std::string description;

  friend bool operator==(const TagText&, const TagText&) = default;
};

struct EnumerationText {
  struct Member {
    Text name;
    std::optional<At<std::int64_t>> value;

    friend bool operator==(const Member&, const Member&) = default;
  };

  Text name;
  std::vector<Member> members;
  std::optional<Text> defaultMember;

  friend bool operator==(const EnumerationText&, const EnumerationText&) = default;
};

/// A fact about one file, by the path of an object or of one of its features: an identity, a value or the path of
/// another object; several of these, or the order of the things in a feature; or that there is nothing.
struct Absent {
  friend bool operator==(Absent, Absent) = default;
};
using Fact = std::variant<Absent, std::string, std::vector<std::string>>;
using ExactFacts = std::map<std::string, At<Fact>>;

struct ProfileText : NamedText {
  std::string file; ///< for messages

  std::string friendlyName;
  std::string description;
  std::optional<Text> defaultStereotype;
  std::vector<Text> dependsOn;
  std::vector<EnumerationText> enumerations;
  std::vector<TypeText> types;
  std::vector<SetText> sets;
  std::vector<StereotypeText> stereotypes;
  std::vector<TagText> tags;
  /// What does not follow from all of the above.
  ExactFacts exact;

  friend bool operator==(const ProfileText&, const ProfileText&) = default;
};

} // namespace zelkor::text
