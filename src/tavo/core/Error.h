// Errors: one exception type with an identifier, arguments and a cause, raised by one function.
#pragma once

#include "tavo/Export.h"
#include "tavo/core/String.h"

#include <concepts>
#include <exception>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavo {

/// The identifier of an error: a component, a colon and a key, as in "tavo:messages:NoSuchType". Callers and tests
/// compare identifiers and arguments, never message texts. It refers to a text of static storage duration.
class ErrorId {
public:
  constexpr explicit ErrorId(const char* text) : text_(text) {}

  constexpr std::string_view text() const { return text_; }

  friend constexpr bool operator==(ErrorId a, ErrorId b) { return a.text() == b.text(); }
  friend constexpr bool operator==(ErrorId a, std::string_view b) { return a.text() == b; }

private:
  const char* text_;
};

/// The one exception type of the framework and of what is built on it. Copies share what they say and do not throw;
/// what() may be read on any thread, the arguments are Strings and belong to the thread that raised.
class TAVO_EXPORT Error : public std::exception {
public:
  /// `shown` are the arguments as the message has them, where that is not how callers compare them.
  Error(ErrorId id, std::vector<String> arguments, std::shared_ptr<const Error> cause = nullptr,
        const std::vector<String>& shown = {});
  Error(const Error&) noexcept;
  Error& operator=(const Error&) noexcept;
  ~Error() override;

  ErrorId id() const noexcept;
  /// What the error is about, in the order of the placeholders of its message.
  const std::vector<String>& arguments() const noexcept;
  /// The error that led to this one, or null.
  const std::shared_ptr<const Error>& cause() const noexcept;

  /// The text for people, from the message catalog. An identifier without a text gives the identifier and the
  /// arguments.
  const String& message() const noexcept;
  /// The message and below it the messages of the causes, one a line after "  because ", as UTF-8.
  const char* what() const noexcept override;

  /// The error as a cause of another: an exception of a foreign type becomes a ForeignException with what it says.
  static std::shared_ptr<const Error> asCause(const std::exception& cause);

private:
  struct Payload;
  std::shared_ptr<const Payload> payload_;
};

/// A number, and not one of the types that C++ counts among them.
template <class T>
concept ErrorNumber = std::floating_point<T> ||
    (std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> && !std::same_as<T, char16_t>);

/// An argument as text: text as it is, UTF-8 decoded leniently (an error must not fail over its own arguments),
/// integers in decimal, floating-point numbers with six digits after the point.
TAVO_EXPORT String errorArgument(long long number);
TAVO_EXPORT String errorArgument(unsigned long long number);
TAVO_EXPORT String errorArgument(double number);
TAVO_EXPORT String errorArgument(std::string_view utf8);

/// What can be an argument of an error.
template <class T>
concept ErrorArgument = std::convertible_to<const T&, String> || std::convertible_to<const T&, std::string_view> ||
    std::convertible_to<const T&, std::string> || ErrorNumber<T>;

template <ErrorArgument T>
String toErrorArgument(const T& value) {
  if constexpr (std::convertible_to<const T&, String>)
    return value;
  else if constexpr (std::convertible_to<const T&, std::string_view>)
    return errorArgument(std::string_view(value));
  else if constexpr (std::convertible_to<const T&, std::string>)
    return errorArgument(std::string_view(std::string(value)));
  else if constexpr (std::floating_point<T>)
    return errorArgument(static_cast<double>(value));
  else if constexpr (std::unsigned_integral<T>)
    return errorArgument(static_cast<unsigned long long>(value));
  else
    return errorArgument(static_cast<long long>(value));
}

/// The shortest text of a floating-point number that reads back as the same: six digits after the point are too few for
/// people who look at 1e-9, and the largest double has 309 before it.
TAVO_EXPORT String shownArgument(double number);

template <ErrorArgument T>
String toShownArgument(const T& value) {
  if constexpr (std::floating_point<T>)
    return shownArgument(static_cast<double>(value));
  else
    return toErrorArgument(value);
}

[[noreturn]] TAVO_EXPORT void throwError(ErrorId id, std::initializer_list<String> arguments,
                                         const std::exception* cause, std::initializer_list<String> shown);

template <ErrorArgument... Args>
[[noreturn]] void throwErrorWith(ErrorId id, const std::exception* cause, const Args&... args) {
  if constexpr ((std::floating_point<Args> || ...))
    throwError(id, {toErrorArgument(args)...}, cause, {toShownArgument(args)...});
  else
    throwError(id, {toErrorArgument(args)...}, cause, {});
}

/// Throws an Error.
template <ErrorArgument... Args>
[[noreturn]] void raise(ErrorId id, const Args&... args) {
  throwErrorWith(id, nullptr, args...);
}

/// Throws an Error that was caused by another exception.
template <ErrorArgument... Args>
[[noreturn]] void raiseBecause(const std::exception& cause, ErrorId id, const Args&... args) {
  throwErrorWith(id, &cause, args...);
}

} // namespace tavo
