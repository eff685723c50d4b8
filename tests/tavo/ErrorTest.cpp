#include "tavo/core/Error.h"

#include "tavo/core/Errors.h"
#include "tavo/core/MessageCatalog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace tavo {
namespace {

using testing::ElementsAre;

static_assert(std::is_nothrow_copy_constructible_v<Error> && std::is_nothrow_copy_assignable_v<Error>);

template <class Action>
Error errorOf(Action action) {
  try {
    action();
  } catch (const Error& error) {
    return error;
  }
  throw std::logic_error("no error was raised");
}

TEST(ErrorTest, CarriesIdentifierArgumentsAndMessage) {
  const auto error =
      errorOf([] { raise(FrameworkError::CannotRead, std::string("/tmp/gr\u00FC\u00DFe"), u"it is asleep"); });
  EXPECT_EQ(error.id(), "tavo:io:CannotRead");
  EXPECT_EQ(error.id(), FrameworkError::CannotRead);
  EXPECT_THAT(error.arguments(), ElementsAre(u"/tmp/gr\u00FC\u00DFe", u"it is asleep"));
  EXPECT_EQ(error.message(), u"The file \"/tmp/gr\u00FC\u00DFe\" cannot be read: it is asleep.");
  EXPECT_STREQ(error.what(), "The file \"/tmp/gr\u00FC\u00DFe\" cannot be read: it is asleep.");
}

TEST(ErrorTest, TakesArgumentsOfManyKinds) {
  const auto error = errorOf([] {
    raise(ErrorId("test:Kinds"), 42, -7L, 18446744073709551615ull, 0.1, std::filesystem::path("a/b"), "caf\xE9",
          std::u16string_view(u"\xD800"));
  });
  EXPECT_THAT(error.arguments(),
              ElementsAre(u"42", u"-7", u"18446744073709551615", u"0.100000", u"a/b", u"caf\uFFFD", u"\xD800"));
}

TEST(ErrorTest, ShowsNumbersShorterThanItsArguments) {
  const auto error = errorOf([] { raise(ErrorId("test:Bounds"), 1e-9, -1.5, std::numeric_limits<double>::max(), 3); });
  EXPECT_EQ(error.message(), u"test:Bounds: 1e-09, -1.5, 1.7976931348623157e+308, 3");
  EXPECT_EQ(error.arguments()[0], u"0.000000");
  EXPECT_EQ(error.arguments()[2].size(), 316u);
}

TEST(ErrorTest, NamesItsCausesOnePerLine) {
  const auto error = errorOf([] {
    try {
      try {
        throw std::runtime_error("the disk\nis on fire");
      } catch (const std::exception& cause) {
        raiseBecause(cause, FrameworkError::CannotWrite, "model.xml", "see below");
      }
    } catch (const Error& cause) {
      raiseBecause(cause, FrameworkError::NoSuchType, u"Colour");
    }
  });
  EXPECT_STREQ(error.what(), "There is no class \"Colour\" in the metamodel.\n"
                             "  because The file \"model.xml\" cannot be written: see below.\n"
                             "  because the disk\\u000Ais on fire");
  ASSERT_TRUE(error.cause());
  EXPECT_EQ(error.cause()->id(), FrameworkError::CannotWrite);
  EXPECT_EQ(error.cause()->cause()->id(), FrameworkError::ForeignException);
  EXPECT_FALSE(error.cause()->cause()->cause());
}

TEST(ErrorTest, MessageShowsWhatHasNoText) {
  static constexpr Message messages[] = {{"test:Braces", "{1}{0}{2} {} {x} {0"}};
  const MessageCatalog::Registration registration{messages};
  EXPECT_EQ(Error(ErrorId("test:Braces"), {u"{1}", u"b"}).message(), u"b{1}{2} {} {x} {0");
  EXPECT_EQ(Error(ErrorId("test:NoText"), {u"a", u"b"}).message(), u"test:NoText: a, b");
}

TEST(ErrorTest, TextsLeaveTheCatalogWithTheirLibrary) {
  {
    static constexpr Message messages[] = {{"test:Passing", "here"}};
    const MessageCatalog::Registration registration{messages};
    EXPECT_TRUE(MessageCatalog::find("test:Passing"));
  }
  EXPECT_FALSE(MessageCatalog::find("test:Passing"));
}

TEST(ErrorTest, EveryIdentifierHasOneText) {
  // That each identifier has a text with the right placeholders is checked when the texts are compiled; here they must
  // be found, all of them, in the process.
  const auto all = MessageCatalog::all();
  EXPECT_GT(all.size(), 30u);
  for (const auto& message : all)
    EXPECT_EQ(MessageCatalog::find(message.id), message.text) << message.id << " has two texts";
}

} // namespace
} // namespace tavo
