#include "tavo/meta/Datatype.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace tavo {
namespace {

template <class T>
void writeNumber(const void* value, std::string& out) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, *static_cast<const T*>(value)).ptr;
  out.append(text, end);
}

template <class T>
bool readNumber(void* value, std::string_view text) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *static_cast<T*>(value));
  return error == std::errc() && end == text.data() + text.size();
}

template <class T>
Datatype numberDatatype(std::string_view name, Datatype::Kind kind) {
  Datatype type = detail::comparableDatatype<T>(name, kind);
  type.write = &writeNumber<T>;
  type.read = &readNumber<T>;
  return type;
}

/// Numbers in order, then NaN; attributes that hold NaN compare as equal, so that setting NaN again is no change.
int compareDoubles(const void* a, const void* b) {
  const double left = *static_cast<const double*>(a);
  const double right = *static_cast<const double*>(b);
  if (std::isnan(left) || std::isnan(right))
    return static_cast<int>(std::isnan(left)) - static_cast<int>(std::isnan(right));
  if (left == right) // the two zeros are different values: both must come back from a file
    return static_cast<int>(std::signbit(right)) - static_cast<int>(std::signbit(left));
  return left < right ? -1 : 1;
}

Datatype doubleDatatype() {
  Datatype type = numberDatatype<double>("double", Datatype::Kind::real);
  type.compare = &compareDoubles;
  type.equal = [](const void* a, const void* b) { return compareDoubles(a, b) == 0; };
  type.hash = [](const void* value) {
    const double number = *static_cast<const double*>(value);
    return std::isnan(number) ? std::size_t{1} : std::hash<double>{}(number); // all NaNs are equal
  };
  return type;
}

Datatype boolDatatype() {
  Datatype type = detail::comparableDatatype<bool>("bool", Datatype::Kind::boolean);
  type.write = [](const void* value, std::string& out) { out += *static_cast<const bool*>(value) ? "true" : "false"; };
  type.read = [](void* value, std::string_view text) {
    *static_cast<bool*>(value) = text == "true";
    return text == "true" || text == "false";
  };
  return type;
}

Datatype uuidDatatype() {
  Datatype type = detail::basicDatatype<Uuid>("uuid", Datatype::Kind::uuid);
  type.construct = [](void* to) { ::new (to) Uuid{}; };
  type.equal = [](const void* a, const void* b) {
    return *static_cast<const Uuid*>(a) == *static_cast<const Uuid*>(b);
  };
  type.compare = [](const void* a, const void* b) { return std::memcmp(a, b, sizeof(Uuid)); };
  type.hash = [](const void* value) { return hashUuid(*static_cast<const Uuid*>(value)); };
  type.write = [](const void* value, std::string& out) { out += toText(*static_cast<const Uuid*>(value)); };
  type.read = [](void* value, std::string_view text) {
    const auto read = parseUuid(text);
    if (read)
      *static_cast<Uuid*>(value) = *read;
    return read.has_value();
  };
  return type;
}

Datatype stringDatatype() {
  Datatype type = detail::comparableDatatype<String>("string", Datatype::Kind::string);
  type.hash = [](const void* value) { return hashText(*static_cast<const String*>(value)); };
  return type;
}

} // namespace

namespace detail {

void writeLiteral(std::span<const DatatypeLiteral> literals, std::int64_t value, std::string& out) {
  for (const auto& literal : literals)
    if (literal.value == value) {
      out += literal.name;
      return;
    }
  out += std::to_string(value);
}

std::optional<std::int64_t> readLiteral(std::span<const DatatypeLiteral> literals, std::string_view text) {
  for (const auto& literal : literals)
    if (literal.name == text)
      return literal.value;
  // A value without a literal was written as its number.
  std::int32_t number = 0;
  if (!readNumber<std::int32_t>(&number, text))
    return std::nullopt;
  for (const auto& literal : literals)
    if (literal.value == number)
      return std::nullopt;
  return number;
}

} // namespace detail

#define TAVO_DEFINE_DATATYPE(TYPE, MADE)                                                                               \
  const Datatype& DatatypeOf<TYPE>::get() {                                                                            \
    static const Datatype type = MADE;                                                                                 \
    return type;                                                                                                       \
  }
TAVO_DEFINE_DATATYPE(bool, boolDatatype())
TAVO_DEFINE_DATATYPE(std::int32_t, numberDatatype<std::int32_t>("int32", Datatype::Kind::integer))
TAVO_DEFINE_DATATYPE(std::uint32_t, numberDatatype<std::uint32_t>("uint32", Datatype::Kind::integer))
TAVO_DEFINE_DATATYPE(std::int64_t, numberDatatype<std::int64_t>("int64", Datatype::Kind::integer))
TAVO_DEFINE_DATATYPE(std::uint64_t, numberDatatype<std::uint64_t>("uint64", Datatype::Kind::integer))
TAVO_DEFINE_DATATYPE(double, doubleDatatype())
TAVO_DEFINE_DATATYPE(String, stringDatatype())
TAVO_DEFINE_DATATYPE(Uuid, uuidDatatype())
#undef TAVO_DEFINE_DATATYPE

} // namespace tavo
