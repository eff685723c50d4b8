#include "kavra/Error.h"

#include "kavra/Text.h"

namespace kavra {

struct Error::State {
  std::string id;
  std::vector<std::u16string> arguments;
  std::string what;
};

namespace {

std::string fillIn(std::string_view text, const std::vector<std::u16string>& arguments) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    bool placeholder = text[i] == '{' && i + 2 < text.size() && text[i + 2] == '}' && text[i + 1] >= '0' &&
                       static_cast<std::size_t>(text[i + 1] - '0') < arguments.size();
    if (!placeholder) {
      result += text[i];
      continue;
    }
    result += toUtf8(arguments[static_cast<std::size_t>(text[i + 1] - '0')]);
    i += 2;
  }
  return result;
}

} // namespace

Error::Error(std::string_view id, std::string_view text, std::vector<std::u16string> arguments) {
  auto what = fillIn(text, arguments);
  state_ = std::make_shared<const State>(State{std::string(id), std::move(arguments), std::move(what)});
}

const std::string& Error::id() const noexcept { return state_->id; }
const std::vector<std::u16string>& Error::arguments() const noexcept { return state_->arguments; }
const char* Error::what() const noexcept { return state_->what.c_str(); }

} // namespace kavra
