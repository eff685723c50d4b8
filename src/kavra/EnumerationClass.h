// Enumeration classes of the host: a name and an ordered list of members with integer values.
#pragma once

#include "kavra/Export.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kavra {

/// What an enumeration class is made of.
struct EnumerationDefinition {
  struct Member {
    std::u16string name;
    std::int32_t value = 0;

    friend bool operator==(const Member&, const Member&) = default;
  };

  std::u16string name; ///< possibly dotted
  std::vector<Member> members;
  std::uint32_t defaultPosition = 1; ///< counted from one

  friend bool operator==(const EnumerationDefinition&, const EnumerationDefinition&) = default;
};

/// One definition, immutable and alive as long as the process: arrays of members refer to it and so can always say what
/// they hold, even after the class was redefined. Equal definitions are one object.
class KAVRA_EXPORT EnumerationClass {
public:
  /// Raises "kavra:messages:InvalidEnumeration" for a bad or repeated name, or a default position without a member.
  static const EnumerationClass& define(EnumerationDefinition definition);

  const EnumerationDefinition& definition() const { return definition_; }
  const std::u16string& name() const { return definition_.name; }
  const std::vector<EnumerationDefinition::Member>& members() const { return definition_.members; }
  std::uint32_t defaultPosition() const { return definition_.defaultPosition; }

  /// The index, counted from zero, of the member of that name, or of the first with that value.
  std::optional<std::uint32_t> indexOfName(std::u16string_view name) const;
  std::optional<std::uint32_t> indexOfValue(std::int64_t value) const;

  EnumerationClass(const EnumerationClass&) = delete;
  EnumerationClass& operator=(const EnumerationClass&) = delete;

private:
  friend class HostArray;
  friend struct EnumerationTable;

  EnumerationClass(EnumerationDefinition definition, std::uint32_t id);
  static const EnumerationClass& withId(std::uint32_t id);

  EnumerationDefinition definition_;
  std::uint32_t id_; // small enough to stand inside an array handle
};

/// True for valid names joined by dots ("Colors", "paint.Colors").
KAVRA_EXPORT bool isValidClassName(std::u16string_view name);

} // namespace kavra
