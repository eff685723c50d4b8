#include "tavo/core/Utf.h"

#include "tavo/core/Error.h"
#include "tavo/core/Errors.h"
#include "tavo/core/String.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <unicode/ustring.h>

#include <optional>

namespace tavo {
namespace {

/// The reference: nothing for text that is not strict.
std::optional<std::u16string> referenceToUtf16(std::string_view text) {
  std::u16string out(text.size() + 1, u'\0');
  int32_t size = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8(out.data(), static_cast<int32_t>(out.size()), &size, text.data(), static_cast<int32_t>(text.size()),
                &status);
  if (U_FAILURE(status))
    return std::nullopt;
  out.resize(static_cast<std::size_t>(size));
  return out;
}

std::optional<std::string> referenceToUtf8(std::u16string_view text) {
  std::string out(3 * text.size() + 1, '\0');
  int32_t size = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &size, text.data(), static_cast<int32_t>(text.size()),
              &status);
  if (U_FAILURE(status))
    return std::nullopt;
  out.resize(static_cast<std::size_t>(size));
  return out;
}

template <class Convert>
auto converted(Convert convert, ErrorId expected) -> std::optional<decltype(convert())> {
  try {
    return convert();
  } catch (const Error& error) {
    EXPECT_EQ(error.id().text(), expected.text());
    return std::nullopt;
  }
}

void expectSameAsReference(std::string_view text) {
  const auto expected = referenceToUtf16(text);
  EXPECT_EQ(converted([&] { return toUtf16(text); }, FrameworkError::InvalidUtf8), expected);
  const auto string = converted([&] { return String::fromUtf8(text); }, FrameworkError::InvalidUtf8);
  ASSERT_EQ(string.has_value(), expected.has_value());
  if (expected) {
    EXPECT_EQ(*string, *expected);
    EXPECT_EQ(toUtf16Lenient(text), *expected);
  }
}

/// Bytes that are mostly nearly valid: whole characters of every length, with a byte changed now and then.
rc::Gen<std::string> nearlyUtf8() {
  const auto piece = rc::gen::oneOf(
      rc::gen::string<std::string>(),
      rc::gen::element<std::string>("ascii text of some length", "\u00E9", "\u20AC", "\U0001F600", "\uD7FF"),
      rc::gen::element<std::string>("\x80", "\xC0\x80", "\xC3", "\xE2\x82", "\xE0\x80\x80", "\xED\xA0\x80",
                                    "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF",
                                    std::string(1, '\0')));
  return rc::gen::map(rc::gen::container<std::vector<std::string>>(piece), [](const std::vector<std::string>& pieces) {
    std::string all;
    for (const auto& each : pieces)
      all += each;
    return all;
  });
}

RC_GTEST_PROP(UtfTest, ReadsUtf8AsTheReferenceDoes, ()) { expectSameAsReference(*nearlyUtf8()); }

RC_GTEST_PROP(UtfTest, NamesTheFirstByteThatDoesNotBelong, ()) {
  const auto text = *nearlyUtf8();
  try {
    toUtf16(text);
  } catch (const Error& error) {
    const auto position = std::stoul(error.arguments().at(0).toUtf8());
    RC_ASSERT(referenceToUtf16(text.substr(0, position)));
    // Nothing that could still follow makes the character at the position whole.
    for (std::size_t size = 1; size <= 4 && position + size <= text.size(); ++size)
      RC_ASSERT(!referenceToUtf16(text.substr(position, size)));
  }
}

RC_GTEST_PROP(UtfTest, WritesUtf8AsTheReferenceDoes, ()) {
  const auto unit = rc::gen::oneOf(rc::gen::inRange<int>(0, 0x80), rc::gen::inRange<int>(0, 0x10000),
                                   rc::gen::inRange<int>(0xD700, 0xE100));
  std::u16string text;
  for (const int each : *rc::gen::container<std::vector<int>>(unit))
    text += static_cast<char16_t>(each);
  const auto expected = referenceToUtf8(text);
  const auto got = converted([&] { return toUtf8(text); }, FrameworkError::InvalidUtf16);
  RC_ASSERT(got == expected);
  if (got)
    RC_ASSERT(toUtf16(*got) == text);
  RC_ASSERT(referenceToUtf16(toPrintable(text))); // always valid
}

TEST(UtfTest, EverySequenceOfTwoBytesAndEveryCodePointReadsAsTheReferenceReadsIt) {
  for (int first = 0; first < 256; ++first)
    for (int second = 0; second < 256; ++second)
      expectSameAsReference(std::string{static_cast<char>(first), static_cast<char>(second)});
  for (char32_t point = 0; point <= 0x10FFFF; ++point) {
    std::u16string text;
    if (point >= 0x10000)
      text = {static_cast<char16_t>(0xD7C0 + (point >> 10)), static_cast<char16_t>(0xDC00 + (point & 0x3FF))};
    else
      text = {static_cast<char16_t>(point)};
    if (point >= 0xD800 && point <= 0xDFFF) {
      EXPECT_THROW(toUtf8(text), Error);
    } else {
      ASSERT_EQ(toUtf16(toUtf8(text)), text) << static_cast<unsigned long>(point);
    }
  }
}

TEST(UtfTest, BeginningsEndBetweenCharacters) {
  const std::string text = "a\u00E9\u20AC\U0001F600"; // 1, 2, 3 and 4 bytes
  const std::size_t ends[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 10};
  for (std::size_t longest = 0; longest < std::size(ends); ++longest)
    EXPECT_EQ(beginningOf(text, longest), text.substr(0, ends[longest])) << longest;
}

TEST(UtfTest, AppendingLeavesTheTextAsItWasWhenItFails) {
  std::string out = "before";
  EXPECT_THROW(appendUtf8(out, u"after\xDC00"), Error);
  EXPECT_EQ(out, "before");
}

} // namespace
} // namespace tavo
