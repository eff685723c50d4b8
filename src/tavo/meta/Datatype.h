// Datatypes: what the framework knows of the type of an attribute is a table of operations.
#pragma once

#include "tavo/Export.h"
#include "tavo/core/String.h"
#include "tavo/core/Uuid.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tavo {

struct Datatype;

/// A member of a struct datatype.
struct DatatypeField {
  std::string_view name;
  std::size_t offset;
  const Datatype& (*datatype)();
};

/// A literal of an enumeration.
struct DatatypeLiteral {
  std::string_view name;
  std::int64_t value;
};

/// The operations of one attribute type. Tables are constants of static storage; types are equal when their tables are
/// the same object or, across shared libraries, when their names are equal.
///
/// Every type fits into 32 bytes, is aligned to 8 at most and moves and swaps without raising: undo relies on it.
struct Datatype {
  enum class Kind : std::uint8_t {
    boolean,
    integer,
    real,
    string,
    uuid,
    enumeration,
    structure,
    optional,
    sequence,
    object,
    foreign
  };

  std::string_view name;
  Kind kind;
  bool saved = true;
  std::uint16_t size;

  void (*construct)(void* to) = nullptr;                 ///< the default value, in raw memory
  void (*copy)(void* to, const void* from) = nullptr;    ///< into raw memory; may raise std::bad_alloc
  void (*move)(void* to, void* from) noexcept = nullptr; ///< into raw memory; `from` stays valid
  void (*destroy)(void* value) noexcept = nullptr;
  void (*swap)(void* a, void* b) noexcept = nullptr;
  bool (*equal)(const void* a, const void* b) = nullptr;
  int (*compare)(const void* a, const void* b) = nullptr; ///< negative, zero, positive; a total order
  std::size_t (*hash)(const void* value) = nullptr;
  /// Appends the UTF-8 text of the value; null for strings, structs, objects and types that have no text.
  void (*write)(const void* value, std::string& out) = nullptr;
  /// Reads that text into a constructed value; false (and the value unspecified but valid) when the text is not one.
  bool (*read)(void* value, std::string_view text) = nullptr;

  const Datatype& (*element)() = nullptr;      ///< of an optional or a sequence
  std::span<const DatatypeField> fields{};     ///< of a struct
  std::span<const DatatypeLiteral> literals{}; ///< of an enumeration

  /// For an optional: whether it holds a value, and where; `emplace` makes it hold a default value and returns it.
  const void* (*contained)(const void* value) = nullptr;
  void* (*emplace)(void* value) = nullptr;
  /// For a sequence: its length, an element, and appending a copy of an element.
  std::size_t (*length)(const void* value) = nullptr;
  const void* (*at)(const void* value, std::size_t index) = nullptr;
  void (*append)(void* value, const void* element) = nullptr;

  friend bool operator==(const Datatype& a, const Datatype& b) { return &a == &b || a.name == b.name; }
};

inline constexpr std::size_t maxDatatypeSize = 32;

/// The datatype of a C++ type. Specialised here for the built-in ones, by the generator for enumerations and structs,
/// and by hand for the types of other libraries: `static const Datatype& get();`.
template <class T>
struct DatatypeOf;

template <class T>
const Datatype& datatypeOf() {
  return DatatypeOf<std::remove_cvref_t<T>>::get();
}

namespace detail {

template <class T>
int compareValues(const T& a, const T& b) {
  return a < b ? -1 : b < a ? 1 : 0;
}

/// The operations that follow from the C++ type alone.
template <class T>
constexpr Datatype basicDatatype(std::string_view name, Datatype::Kind kind) {
  static_assert(sizeof(T) <= maxDatatypeSize && alignof(T) <= 8,
                "an attribute type fits into a record of the undo log");
  static_assert(std::is_nothrow_move_constructible_v<T> && std::is_nothrow_swappable_v<T>, "undo must not raise");
  Datatype type{};
  type.name = name;
  type.kind = kind;
  type.size = sizeof(T);
  type.construct = [](void* to) { ::new (to) T(); };
  type.copy = [](void* to, const void* from) { ::new (to) T(*static_cast<const T*>(from)); };
  type.move = [](void* to, void* from) noexcept { ::new (to) T(std::move(*static_cast<T*>(from))); };
  type.destroy = [](void* value) noexcept { static_cast<T*>(value)->~T(); };
  type.swap = [](void* a, void* b) noexcept {
    using std::swap;
    swap(*static_cast<T*>(a), *static_cast<T*>(b));
  };
  return type;
}

template <class T>
constexpr Datatype comparableDatatype(std::string_view name, Datatype::Kind kind) {
  Datatype type = basicDatatype<T>(name, kind);
  type.equal = [](const void* a, const void* b) { return *static_cast<const T*>(a) == *static_cast<const T*>(b); };
  type.compare = [](const void* a, const void* b) {
    return compareValues(*static_cast<const T*>(a), *static_cast<const T*>(b));
  };
  type.hash = [](const void* value) { return std::hash<T>{}(*static_cast<const T*>(value)); };
  return type;
}

/// Text of an enumeration's value: the name of its literal, or the number of a value that has none, so that nothing is
/// lost in a file.
TAVO_EXPORT void writeLiteral(std::span<const DatatypeLiteral> literals, std::int64_t value, std::string& out);
TAVO_EXPORT std::optional<std::int64_t> readLiteral(std::span<const DatatypeLiteral> literals, std::string_view text);

} // namespace detail

/// The datatype of an enumeration, for its specialisation of DatatypeOf.
template <class E>
Datatype makeEnumerationDatatype(std::string_view name, std::span<const DatatypeLiteral> literals) {
  static_assert(sizeof(E) == 4, "enumerations are 32-bit");
  Datatype type = detail::basicDatatype<E>(name, Datatype::Kind::enumeration);
  type.equal = [](const void* a, const void* b) { return *static_cast<const E*>(a) == *static_cast<const E*>(b); };
  type.compare = [](const void* a, const void* b) {
    return detail::compareValues(*static_cast<const E*>(a), *static_cast<const E*>(b));
  };
  type.hash = [](const void* value) {
    return std::hash<std::int64_t>{}(static_cast<std::int64_t>(*static_cast<const E*>(value)));
  };
  type.literals = literals;
  type.write = [](const void* value, std::string& out) {
    detail::writeLiteral(DatatypeOf<E>::get().literals, static_cast<std::int64_t>(*static_cast<const E*>(value)), out);
  };
  type.read = [](void* value, std::string_view text) {
    const auto read = detail::readLiteral(DatatypeOf<E>::get().literals, text);
    if (read)
      *static_cast<E*>(value) = static_cast<E>(*read);
    return read.has_value();
  };
  return type;
}

/// The datatype of a plain structure with ==, < and a specialisation of std::hash, for its specialisation of
/// DatatypeOf.
template <class S>
Datatype makeStructDatatype(std::string_view name, std::span<const DatatypeField> fields) {
  Datatype type = detail::comparableDatatype<S>(name, Datatype::Kind::structure);
  type.fields = fields;
  return type;
}

/// The datatype of a foreign type that is compared for sameness only and never saved.
template <class T>
Datatype makeForeignDatatype(std::string_view name) {
  Datatype type = detail::basicDatatype<T>(name, Datatype::Kind::foreign);
  type.saved = false;
  type.equal = [](const void* a, const void* b) { return *static_cast<const T*>(a) == *static_cast<const T*>(b); };
  return type;
}

#define TAVO_DECLARE_DATATYPE(TYPE)                                                                                    \
  template <>                                                                                                          \
  struct TAVO_EXPORT DatatypeOf<TYPE> {                                                                                \
    static const Datatype& get();                                                                                      \
  }
TAVO_DECLARE_DATATYPE(bool);
TAVO_DECLARE_DATATYPE(std::int32_t);
TAVO_DECLARE_DATATYPE(std::uint32_t);
TAVO_DECLARE_DATATYPE(std::int64_t);
TAVO_DECLARE_DATATYPE(std::uint64_t);
TAVO_DECLARE_DATATYPE(double);
TAVO_DECLARE_DATATYPE(String);
TAVO_DECLARE_DATATYPE(Uuid);
#undef TAVO_DECLARE_DATATYPE

template <class T>
struct DatatypeOf<std::optional<T>> {
  static const Datatype& get() {
    static const std::string name = std::string(datatypeOf<T>().name) + "?";
    static const Datatype type = make(name);
    return type;
  }

private:
  using Optional = std::optional<T>;
  static const Optional& read(const void* value) { return *static_cast<const Optional*>(value); }

  static Datatype make(std::string_view name) {
    Datatype made = detail::basicDatatype<Optional>(name, Datatype::Kind::optional);
    made.element = &datatypeOf<T>;
    made.saved = datatypeOf<T>().saved;
    made.equal = [](const void* a, const void* b) {
      return read(a).has_value() == read(b).has_value() && (!read(a) || datatypeOf<T>().equal(&*read(a), &*read(b)));
    };
    if (datatypeOf<T>().compare)
      made.compare = [](const void* a, const void* b) {
        if (!read(a) || !read(b))
          return static_cast<int>(read(a).has_value()) - static_cast<int>(read(b).has_value());
        return datatypeOf<T>().compare(&*read(a), &*read(b));
      };
    if (datatypeOf<T>().hash)
      made.hash = [](const void* value) { return read(value) ? datatypeOf<T>().hash(&*read(value)) + 1 : 0; };
    made.contained = [](const void* value) -> const void* { return read(value) ? &*read(value) : nullptr; };
    made.emplace = [](void* value) -> void* { return &static_cast<Optional*>(value)->emplace(); };
    return made;
  }
};

template <class T>
struct DatatypeOf<std::vector<T>> {
  static const Datatype& get() {
    static const std::string name = std::string(datatypeOf<T>().name) + "[]";
    static const Datatype type = make(name);
    return type;
  }

private:
  using Vector = std::vector<T>;
  static const Vector& read(const void* value) { return *static_cast<const Vector*>(value); }

  static Datatype make(std::string_view name) {
    Datatype made = detail::basicDatatype<Vector>(name, Datatype::Kind::sequence);
    made.element = &datatypeOf<T>;
    made.saved = datatypeOf<T>().saved;
    made.equal = [](const void* a, const void* b) {
      return std::equal(read(a).begin(), read(a).end(), read(b).begin(), read(b).end(),
                        [](const T& left, const T& right) { return datatypeOf<T>().equal(&left, &right); });
    };
    if (datatypeOf<T>().compare)
      made.compare = &compareElements;
    if (datatypeOf<T>().hash)
      made.hash = [](const void* value) {
        std::size_t sum = read(value).size();
        for (const auto& element : read(value))
          sum = sum * 0x9e3779b97f4a7c15ull + datatypeOf<T>().hash(&element);
        return sum;
      };
    made.length = [](const void* value) { return read(value).size(); };
    made.at = [](const void* value, std::size_t index) -> const void* { return &read(value)[index]; };
    made.append = [](void* value, const void* element) {
      static_cast<Vector*>(value)->push_back(*static_cast<const T*>(element));
    };
    return made;
  }

  static int compareElements(const void* a, const void* b) {
    const auto& left = read(a);
    const auto& right = read(b);
    for (std::size_t i = 0; i < left.size() && i < right.size(); ++i)
      if (const int order = datatypeOf<T>().compare(&left[i], &right[i]))
        return order;
    return detail::compareValues(left.size(), right.size());
  }
};

} // namespace tavo
