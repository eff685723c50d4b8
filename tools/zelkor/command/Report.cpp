#include "tools/zelkor/command/Report.h"

#include "tools/zelkor/command/Commands.h"

#include "kavra/Error.h"
#include "zelkor/framework/Errors.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <unistd.h>

namespace zelkor::command {

void print(const std::vector<text::Finding>& findings) {
  auto* noColor = std::getenv("NO_COLOR");
  bool inColour = isatty(STDERR_FILENO) && !(noColor && *noColor);
  for (auto& finding : findings) {
    auto line = finding.line();
    if (auto at = line.find(": " + finding.id); inColour && at != line.npos)
      line = line.substr(0, at + 2) + "\033[31m" + finding.id + "\033[0m" + line.substr(at + 2 + finding.id.size());
    std::fprintf(stderr, "%s\n", line.c_str());
  }
}

nlohmann::ordered_json asJson(const std::vector<text::Finding>& findings) {
  auto list = nlohmann::ordered_json::array();
  for (const auto& finding : findings) {
    list.push_back(
        {{"file", finding.file}, {"element", finding.element}, {"id", finding.id}, {"message", finding.message}});
    if (finding.place.line > 0) {
      list.back()["line"] = finding.place.line;
      list.back()["column"] = finding.place.column;
    }
  }
  return list;
}

void printAsJson(const std::vector<text::Finding>& findings) { printJson({{"findings", asJson(findings)}}); }

int report(const text::Findings& found, bool asJson) {
  if (found.empty())
    return success;
  if (asJson)
    printAsJson(found.sorted());
  else
    print(found.sorted());
  return findings;
}

void printJson(const nlohmann::ordered_json& json) {
  std::cout << json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << '\n';
}

void addCurrent(text::Findings& findings, text::Place place, const std::string& element,
                const std::string& hintOnExpressions) {
  try {
    throw;
  } catch (const tavo::Error& error) {
    const auto* cause = error.cause().get();
    const bool isOnExpression = cause && cause->id() == PropertyError::CannotEvalExpression;
    findings.add(place, element, error, isOnExpression ? hintOnExpressions : "");
  } catch (const kavra::Error& error) {
    findings.add({findings.file(), place, element, error.id(), error.what()});
  } catch (const std::exception& error) {
    findings.add(place, element,
                 tavo::Error(tavo::ErrorId("tavo:messages:ForeignException"), {tavo::errorArgument(error.what())}));
  }
}

Progress::Progress(const std::string& work) : work_(work) {
  if (isatty(STDERR_FILENO))
    teller_ = std::thread([this] { show(); });
}

Progress::~Progress() {
  {
    std::lock_guard lock(mutex_);
    isOver_ = true;
  }
  over_.notify_all();
  if (teller_.joinable())
    teller_.join();
}

void Progress::at(const std::string& work) {
  std::lock_guard lock(mutex_);
  work_ = work;
}

void Progress::show() {
  constexpr auto pause = std::chrono::milliseconds(500);
  auto start = std::chrono::steady_clock::now();
  std::unique_lock lock(mutex_);
  bool hasSaid = false;
  while (!over_.wait_for(lock, pause, [&] { return isOver_; })) {
    auto seconds = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start).count();
    std::cerr << "\r\033[K" << work_ << " ... " << seconds << " s" << std::flush;
    hasSaid = true;
  }
  if (hasSaid)
    std::cerr << "\r\033[K" << std::flush;
}

} // namespace zelkor::command
