#include "tools/zelkor/text/Findings.h"

#include "kavra/Text.h"
#include "tavo/core/MessageCatalog.h"

#include <algorithm>

namespace zelkor::text {
namespace {

/// What would break a line, or steer a terminal.
bool isControl(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }

} // namespace

std::string Finding::line() const {
  std::string where = file;
  if (place.line > 0)
    where += ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
  else if (!element.empty())
    where += ": " + element;
  std::ranges::replace_if(where, isControl, ' ');
  return where + ": " + id + ": " + message;
}

std::string inOneLine(const tavo::Error& error) {
  // An error of the host's has its text in its cause.
  std::string message;
  auto say = [&](const tavo::Error& each) {
    if (tavo::MessageCatalog::find(each.id().text()) || !each.cause())
      message += (message.empty() ? "" : " Because: ") + kavra::toUtf8(each.message());
  };
  say(error);
  for (auto cause = error.cause(); cause; cause = cause->cause())
    say(*cause);
  std::ranges::replace_if(message, isControl, ' ');
  return message;
}

void Findings::add(Place place, const std::string& element, const tavo::Error& error, const std::string& hint) {
  auto message = inOneLine(error);
  if (!hint.empty())
    message += " " + hint;
  add(Finding{file_, place, element, std::string(error.id().text()), std::move(message)});
}

std::vector<Finding> Findings::sorted() const {
  auto result = findings_;
  std::sort(result.begin(), result.end());
  result.erase(std::unique(result.begin(), result.end()), result.end());
  return result;
}

} // namespace zelkor::text
