// The text type of the framework: an immutable UTF-16 value that is cheap to hold, to pass and to compare.
#pragma once

#include "tavo/Export.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

namespace tavo {

class String;

/// Whether two texts have the same code units. The standard library compares these one by one.
inline bool sameText(std::u16string_view a, std::u16string_view b) noexcept {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0);
}

/// What can be compared and joined with a String without making one.
template <class T>
concept TextLike = std::convertible_to<const T&, std::u16string_view>;

/// A 64-bit hash over the code units, the same for a String and for a view of equal text. It does not change while the
/// process runs; it is not meant to be stored.
TAVO_EXPORT std::uint64_t hashText(std::u16string_view text) noexcept;

/// An immutable UTF-16 text of any code units, lone surrogates and NUL included.
///
/// It takes 16 bytes. Up to `inPlaceCapacity` units stand in the object itself; longer text stands in a block that all
/// copies share. Copies therefore neither allocate nor throw. The count of a block is not atomic: copies of one text
/// stay on one thread. A text has at most 2^32 - 1 units; more is std::length_error.
class String {
public:
  static constexpr std::size_t inPlaceCapacity = 7;

  constexpr String() noexcept = default;
  String(std::u16string_view text) {
    if (text.size() > inPlaceCapacity) {
      share(text);
    } else {
      std::char_traits<char16_t>::copy(units_, text.data(), text.size());
      units_[tagIndex] = static_cast<char16_t>(text.size());
    }
  }
  String(const char16_t* text) : String(std::u16string_view(text)) {}
  String(const std::u16string& text) : String(std::u16string_view(text)) {}

  String(const String& other) noexcept { hold(other); }
  String(String&& other) noexcept { swap(other); }
  String& operator=(const String& other) noexcept {
    String(other).swap(*this);
    return *this;
  }
  String& operator=(String&& other) noexcept {
    String(std::move(other)).swap(*this);
    return *this;
  }
  ~String() {
    if (isShared())
      release();
  }

  void swap(String& other) noexcept { std::swap(units_, other.units_); }
  friend void swap(String& a, String& b) noexcept { a.swap(b); }

  /// A text of `size` units that `fill(char16_t*)` writes, all of them, before anybody sees it.
  template <class Fill>
  static String filled(std::size_t size, Fill&& fill) {
    String text;
    std::forward<Fill>(fill)(text.makeRoom(size));
    return text;
  }

  /// Reads strict UTF-8; raises InvalidUtf8 with the position of the first fault.
  TAVO_EXPORT static String fromUtf8(std::string_view text);
  /// Strict UTF-8; raises InvalidUtf16 at a lone surrogate.
  TAVO_EXPORT std::string toUtf8() const;

  /// The text; valid as long as this object lives and is not assigned to.
  std::u16string_view view() const noexcept { return {data(), size()}; }
  operator std::u16string_view() const noexcept { return view(); }
  const char16_t* data() const noexcept { return isShared() ? shared().text : units_; }
  std::size_t size() const noexcept { return isShared() ? shared().size : units_[tagIndex]; }
  bool empty() const noexcept { return units_[tagIndex] == 0; }

  std::uint64_t hash() const noexcept { return hashText(view()); }

  friend bool operator==(const String& a, const String& b) noexcept {
    // Text in place has its unused units zero, and short text is always in place.
    if (std::memcmp(a.units_, b.units_, sizeof a.units_) == 0)
      return true;
    return a.isShared() && b.isShared() && sameText(a.view(), b.view());
  }
  friend std::strong_ordering operator<=>(const String& a, const String& b) noexcept { return a.view() <=> b.view(); }

  template <TextLike T>
  requires(!std::same_as<T, String>) friend bool operator==(const String& a, const T& b) noexcept {
    return sameText(a.view(), b);
  }
  template <TextLike T>
  requires(!std::same_as<T, String>) friend std::strong_ordering operator<=>(const String& a, const T& b) noexcept {
    return a.view() <=> std::u16string_view(b);
  }

private:
  /// What the units hold when the text is shared; `tag` covers the last unit, where text in place has its size.
  struct Shared {
    const char16_t* text;
    std::uint32_t size;
    std::uint16_t unused;
    char16_t tag;
  };
  static constexpr std::size_t tagIndex = inPlaceCapacity;
  static constexpr char16_t sharedTag = 0xFFFF;

  bool isShared() const noexcept { return units_[tagIndex] == sharedTag; }
  Shared shared() const noexcept {
    Shared parts;
    std::memcpy(&parts, units_, sizeof parts);
    return parts;
  }
  void hold(const String& other) noexcept {
    std::memcpy(units_, other.units_, sizeof units_);
    if (isShared())
      retain();
  }

  TAVO_EXPORT void share(std::u16string_view text);
  TAVO_EXPORT char16_t* makeRoom(std::size_t size);
  TAVO_EXPORT void retain() const noexcept;
  TAVO_EXPORT void release() noexcept;

  alignas(8) char16_t units_[inPlaceCapacity + 1] = {};

  static_assert(sizeof(Shared) == sizeof(char16_t) * (inPlaceCapacity + 1));
};

static_assert(sizeof(String) == 16);

TAVO_EXPORT String concatParts(std::initializer_list<std::u16string_view> parts);

/// The parts one after the other, in one allocation at most.
template <TextLike... Parts>
String concat(const Parts&... parts) {
  return concatParts({std::u16string_view(parts)...});
}

template <TextLike A, TextLike B>
requires(std::same_as<A, String> || std::same_as<B, String>) String operator+(const A& a, const B& b) {
  return concat(a, b);
}

/// Prints UTF-8 for people: what cannot be seen stands as \uXXXX.
TAVO_EXPORT std::ostream& operator<<(std::ostream& out, const String& text);

/// Hash and equality of text by value for maps that are searched by view without making a String.
struct TextHash {
  using is_transparent = void;
  using is_avalanching = void;
  std::size_t operator()(std::u16string_view text) const noexcept { return static_cast<std::size_t>(hashText(text)); }
};
struct TextEqual {
  using is_transparent = void;
  bool operator()(std::u16string_view a, std::u16string_view b) const noexcept { return sameText(a, b); }
};

} // namespace tavo

template <>
struct std::hash<tavo::String> {
  std::size_t operator()(const tavo::String& text) const noexcept { return static_cast<std::size_t>(text.hash()); }
};
