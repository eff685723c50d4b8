// What is wrong with a text or a profile, collected so that one run tells all of it.
#pragma once

#include "tools/zelkor/text/ProfileText.h"

#include "tavo/core/Error.h"

#include <string>
#include <vector>

namespace zelkor::text {

struct Finding {
  std::string file;
  Place place;         ///< in the text; line 0 for a finding in a model
  std::string element; ///< what it is about: "Computer.mass"
  std::string id;
  std::string message;

  /// "file:12:3: identifier: message", or the element in place of line and column.
  std::string line() const;

  // clang-tidy 14 takes the zero in a defaulted comparison for a null pointer. NOLINTNEXTLINE(modernize-use-nullptr)
  friend auto operator<=>(const Finding&, const Finding&) = default;
};

/// What an error says, with its causes, on one line.
std::string inOneLine(const tavo::Error& error);

class Findings {
public:
  explicit Findings(std::string file) : file_(std::move(file)) {}

  template <tavo::ErrorArgument... Args>
  void add(Place place, const std::string& element, tavo::ErrorId id, const Args&... args) {
    add(place, element, tavo::Error(id, {tavo::toErrorArgument(args)...}));
  }
  /// An error of the library; `hint` is added to its message.
  void add(Place place, const std::string& element, const tavo::Error& error, const std::string& hint = {});
  void add(Finding finding) { findings_.push_back(std::move(finding)); }

  bool empty() const { return findings_.empty(); }
  const std::string& file() const { return file_; }
  /// All of them, in the order of files and places, each once.
  std::vector<Finding> sorted() const;

private:
  std::string file_;
  std::vector<Finding> findings_;
};

} // namespace zelkor::text
