// The names that the model's XML has beside those of the schema: one list for writer and reader.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace tavo::xmlformat {

inline constexpr std::string_view root = "tavo";
inline constexpr std::string_view format = "format";
inline constexpr std::string_view formatVersion = "1";

inline constexpr std::string_view families = "families";
inline constexpr std::string_view family = "family";
inline constexpr std::string_view dictionary = "dictionary";
inline constexpr std::string_view classEntry = "class";
inline constexpr std::string_view feature = "feature";
inline constexpr std::string_view outside = "outside";
inline constexpr std::string_view element = "element";
inline constexpr std::string_view objects = "objects";

inline constexpr std::string_view name = "name";
inline constexpr std::string_view version = "version";
inline constexpr std::string_view uri = "uri";
inline constexpr std::string_view id = "id";

// Attributes of objects
inline constexpr std::string_view uuid = "uuid";            // the identity
inline constexpr std::string_view classAttribute = "class"; // where it is not the class that the feature declares
inline constexpr std::string_view anchor = "as"; // a short name for objects that are referred to more than once

// Values that are elements
inline constexpr std::string_view ref = "ref"; // the target: an identity or an anchor
inline constexpr std::string_view value = "value";
inline constexpr std::string_view item = "item";
inline constexpr std::string_view escaped = "escaped"; // the text holds what XML cannot carry
inline constexpr std::string_view none = "none";       // an optional value that is absent although the default is not

/// So many references of one feature stand in one attribute; more are elements, so that files can be compared.
inline constexpr std::size_t mostInAttribute = 8;

/// Names that a feature cannot have in the body: they get an underscore.
inline constexpr std::array reserved = {uuid, classAttribute, anchor};

} // namespace tavo::xmlformat
