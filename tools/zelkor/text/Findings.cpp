#include "tools/zelkor/text/Findings.h"

#include "kavra/Text.h"
#include "tavo/core/MessageCatalog.h"

#include <algorithm>

namespace zelkor::text {

std::string Finding::line() const {
  std::string where = file;
  if (place.line > 0)
    where += ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
  else if (!element.empty())
    where += ": " + element;
  return where + ": " + id + ": " + message;
}

void Findings::add(Place place, const std::string& element, const tavo::Error& error, const std::string& hint) {
  // One finding is one line: the causes follow on it. An error of the host's has its text in its cause.
  std::string message;
  auto say = [&](const tavo::Error& each) {
    if (tavo::MessageCatalog::find(each.id().text()) || !each.cause())
      message += (message.empty() ? "" : " Because: ") + kavra::toUtf8(each.message());
  };
  say(error);
  for (auto cause = error.cause(); cause; cause = cause->cause())
    say(*cause);
  if (!hint.empty())
    message += " " + hint;
  std::replace(message.begin(), message.end(), '\n', ' ');
  add(Finding{file_, place, element, std::string(error.id().text()), std::move(message)});
}

std::vector<Finding> Findings::sorted() const {
  auto result = findings_;
  std::sort(result.begin(), result.end());
  result.erase(std::unique(result.begin(), result.end()), result.end());
  return result;
}

} // namespace zelkor::text
