#include "tavo/core/Error.h"

#include "tavo/core/Errors.h"
#include "tavo/core/MessageCatalog.h"
#include "tavo/core/Utf.h"

#include <array>
#include <charconv>
#include <optional>

namespace tavo {
namespace {

/// The number of a placeholder "{12}" that starts at `at`, and the position behind it.
struct Placeholder {
  std::size_t index;
  std::size_t end;
};

std::optional<Placeholder> placeholderAt(std::u16string_view text, std::size_t at) {
  std::size_t index = 0;
  std::size_t end = at + 1;
  for (; end < text.size() && text[end] >= u'0' && text[end] <= u'9' && end - at < 4; ++end)
    index = index * 10 + static_cast<std::size_t>(text[end] - u'0');
  if (end == at + 1 || end == text.size() || text[end] != u'}')
    return std::nullopt;
  return Placeholder{index, end + 1};
}

/// Puts the arguments in; a placeholder without an argument stays visible.
String fillIn(std::u16string_view text, const std::vector<String>& arguments) {
  std::u16string out;
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == u'{') {
      if (const auto placeholder = placeholderAt(text, at); placeholder && placeholder->index < arguments.size()) {
        out += arguments[placeholder->index].view();
        at = placeholder->end;
        continue;
      }
    }
    out += text[at++];
  }
  return out;
}

String makeMessage(ErrorId id, const std::vector<String>& arguments) {
  if (const auto text = MessageCatalog::find(id.text()))
    return fillIn(toUtf16Lenient(*text), arguments);
  std::u16string out = toUtf16Lenient(id.text());
  for (std::size_t i = 0; i < arguments.size(); ++i)
    out.append(i == 0 ? u": " : u", ").append(arguments[i].view());
  return out;
}

template <class Number, class... Format>
String numberText(Number number, Format... format) {
  std::array<char, 400> digits; // the largest double has 309 digits before the point
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, format...).ptr;
  return errorArgument(std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data())));
}

} // namespace

struct Error::Payload {
  ErrorId id;
  std::vector<String> arguments;
  std::shared_ptr<const Error> cause;
  String message;
  std::string what;
};

Error::Error(ErrorId id, std::vector<String> arguments, std::shared_ptr<const Error> cause,
             const std::vector<String>& shown) {
  auto payload = std::make_shared<Payload>(Payload{id, std::move(arguments), std::move(cause), {}, {}});
  payload->message = makeMessage(id, shown.empty() ? payload->arguments : shown);
  payload->what = toPrintable(payload->message);
  if (payload->cause)
    payload->what.append("\n  because ").append(payload->cause->what());
  payload_ = std::move(payload);
}

// Written out so that there is no move: what has been moved from would have nothing to say.
Error::Error(const Error&) noexcept = default;
Error& Error::operator=(const Error&) noexcept = default;
Error::~Error() = default;

ErrorId Error::id() const noexcept { return payload_->id; }
const std::vector<String>& Error::arguments() const noexcept { return payload_->arguments; }
const std::shared_ptr<const Error>& Error::cause() const noexcept { return payload_->cause; }
const String& Error::message() const noexcept { return payload_->message; }
const char* Error::what() const noexcept { return payload_->what.c_str(); }

std::shared_ptr<const Error> Error::asCause(const std::exception& cause) {
  if (const auto* error = dynamic_cast<const Error*>(&cause))
    return std::make_shared<const Error>(*error);
  return std::make_shared<const Error>(FrameworkError::ForeignException,
                                       std::vector<String>{errorArgument(std::string_view(cause.what()))});
}

void throwError(ErrorId id, std::initializer_list<String> arguments, const std::exception* cause,
                std::initializer_list<String> shown) {
  throw Error(id, arguments, cause ? Error::asCause(*cause) : nullptr, shown);
}

String errorArgument(long long number) { return numberText(number); }
String errorArgument(unsigned long long number) { return numberText(number); }
String errorArgument(double number) { return numberText(number, std::chars_format::fixed, 6); }
String errorArgument(std::string_view utf8) { return toUtf16Lenient(utf8); }
String shownArgument(double number) { return numberText(number); }

} // namespace tavo
