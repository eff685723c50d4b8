// A value of any attribute type: the currency of reflection.
#pragma once

#include "tavo/meta/Datatype.h"

namespace tavo {

namespace detail {
[[noreturn]] TAVO_EXPORT void raiseWrongType(std::string_view wanted, std::string_view found);
} // namespace detail

/// A copy of a value of any datatype, or empty. Owns what it holds.
class TAVO_EXPORT Value {
public:
  Value() noexcept = default;
  Value(const Value& other);
  Value(Value&& other) noexcept;
  Value& operator=(Value other) noexcept;
  ~Value();

  /// A value of T's datatype.
  template <class T>
  static Value of(T value) {
    Value made(datatypeOf<T>());
    *static_cast<T*>(made.data()) = std::move(value);
    return made;
  }

  /// The default value of a datatype.
  explicit Value(const Datatype& type);
  /// A copy of the value of that datatype at `from`.
  static Value copyOf(const Datatype& type, const void* from);

  bool isEmpty() const noexcept { return type_ == nullptr; }
  /// Null when empty.
  const Datatype* type() const noexcept { return type_; }

  template <class T>
  bool holds() const {
    return type_ && *type_ == datatypeOf<T>();
  }
  /// The value as a T; raises InvalidValue when it is of another type.
  template <class T>
  const T& as() const {
    if (!holds<T>())
      detail::raiseWrongType(datatypeOf<T>().name, type_ ? type_->name : std::string_view("nothing"));
    return *static_cast<const T*>(data());
  }

  void* data() noexcept { return buffer_; }
  const void* data() const noexcept { return buffer_; }

  /// The value as UTF-8 text for people and tools; structs and sequences in braces and brackets. A text that is not
  /// valid UTF-16 is shown with escapes.
  std::string toText() const;

  std::size_t hash() const;
  friend bool operator==(const Value& a, const Value& b) { return compare(a, b) == 0; }
  friend bool operator<(const Value& a, const Value& b) { return compare(a, b) < 0; }

private:
  TAVO_EXPORT friend int compare(const Value& a, const Value& b);

  const Datatype* type_ = nullptr;
  alignas(8) std::byte buffer_[maxDatatypeSize];
};

/// A total order: empty first, then by type name, then by value.
TAVO_EXPORT int compare(const Value& a, const Value& b);

/// The text that Value::toText gives, for the value of `type` at `value`.
TAVO_EXPORT std::string valueText(const Datatype& type, const void* value);

} // namespace tavo
