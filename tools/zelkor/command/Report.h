// What the command tells people.
#pragma once

#include "tools/zelkor/text/Findings.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace zelkor::command {

/// Prints one finding a line to the standard error, with the identifier in colour on a terminal (unless NO_COLOR is
/// set).
void print(const std::vector<text::Finding>& findings);

/// A list of findings for a result in JSON.
nlohmann::ordered_json asJson(const std::vector<text::Finding>& findings);
/// Prints findings to the standard output, as JSON.
void printAsJson(const std::vector<text::Finding>& findings);

/// Prints what has been found and returns the exit status. As JSON, findings stand in the place of the result.
int report(const text::Findings& found, bool asJson);

/// Prints to the standard output, indented; what UTF-8 cannot hold becomes U+FFFD.
void printJson(const nlohmann::ordered_json& json);

/// Adds whatever has been thrown, and is being handled, to the findings; with a hint when it is about an expression
/// that means nothing.
void addCurrent(text::Findings& findings, text::Place place = {}, const std::string& element = {},
                const std::string& hintOnExpressions = {});

/// Says on a terminal what long work is at, until this ends. Work that is done soon is not mentioned.
class Progress {
public:
  explicit Progress(const std::string& work);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void at(const std::string& work);

private:
  void show();

  std::string work_;
  bool isOver_ = false;
  std::mutex mutex_; ///< of the above
  std::condition_variable over_;
  std::thread teller_; ///< only on a terminal
};

} // namespace zelkor::command
