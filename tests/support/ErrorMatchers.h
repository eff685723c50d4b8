// EXPECT_ERROR(expression, identifier, arguments...): the expression raises that error; given arguments must agree,
// none given means any. EXPECT_ERROR_BECAUSE(cause, ...): and its cause has that identifier.
// EXPECT_ERROR_UNCHANGED(model, ...): and the model is to the letter what it was.
#pragma once

#include "tavo/core/Error.h"
#include "tavo/xml/ModelXml.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace testsupport {

template <class Action>
testing::AssertionResult raises(Action&& action, std::string_view id, const std::vector<tavo::String>& arguments,
                                std::string_view cause = {}) {
  try {
    action();
  } catch (const tavo::Error& error) {
    if (error.id().text() != id)
      return testing::AssertionFailure() << "raised " << error.id().text() << " instead of " << id << ": "
                                         << error.what();
    if (!arguments.empty() && error.arguments() != arguments) {
      auto failure = testing::AssertionFailure() << id << " has the arguments";
      for (const auto& argument : error.arguments())
        failure << " '" << argument.toUtf8() << "'";
      return failure;
    }
    if (!cause.empty() && (!error.cause() || error.cause()->id().text() != cause))
      return testing::AssertionFailure() << id << " is not because of " << cause << ": " << error.what();
    return testing::AssertionSuccess();
  } catch (const std::exception& error) {
    return testing::AssertionFailure() << "raised a foreign exception instead of " << id << ": " << error.what();
  }
  return testing::AssertionFailure() << "nothing was raised instead of " << id;
}

template <class... Args>
std::vector<tavo::String> errorArguments(const Args&... arguments) {
  return {tavo::toErrorArgument(arguments)...};
}

/// All that files hold of a model, and how many objects it has.
inline std::string stateOf(const tavo::Model& model) {
  std::string state = std::to_string(model.objectCount());
  for (const auto& element : model.topLevel())
    state += "\n" + tavo::treeText(element).toUtf8();
  return state;
}

} // namespace testsupport

#define EXPECT_ERROR(EXPRESSION, ID, ...)                                                                              \
  EXPECT_TRUE(testsupport::raises([&] { (void)(EXPRESSION); }, ID, testsupport::errorArguments(__VA_ARGS__)))

#define EXPECT_ERROR_BECAUSE(CAUSE, EXPRESSION, ID, ...)                                                               \
  EXPECT_TRUE(testsupport::raises([&] { (void)(EXPRESSION); }, ID, testsupport::errorArguments(__VA_ARGS__), CAUSE))

#define EXPECT_ERROR_UNCHANGED(MODEL, EXPRESSION, ...)                                                                 \
  do {                                                                                                                 \
    const auto stateBefore = testsupport::stateOf(MODEL);                                                              \
    EXPECT_ERROR(EXPRESSION, __VA_ARGS__);                                                                             \
    EXPECT_EQ(testsupport::stateOf(MODEL), stateBefore);                                                               \
  } while (false)
