#include "tavo/core/Uuid.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <sys/wait.h>
#include <unistd.h>
#include <unordered_set>

namespace tavo {
namespace {

TEST(UuidTest, RandomOnesAreOfVersionFourAndDiffer) {
  std::unordered_set<Uuid, UuidHash> seen;
  for (int i = 0; i < 10000; ++i) {
    const Uuid uuid = randomUuid();
    EXPECT_EQ(uuid.version(), Uuid::version_random_number_based);
    EXPECT_EQ(uuid.variant(), Uuid::variant_rfc_4122);
    EXPECT_TRUE(seen.insert(uuid).second);
    EXPECT_EQ(toText(uuid), to_string(uuid));
    EXPECT_EQ(parseUuid(toText(uuid)), uuid);
  }
}

TEST(UuidTest, NobodyCanForeseeWhichHaveOneHash) {
  std::unordered_set<std::size_t> hashes;
  for (std::uint8_t i = 0; i < 200; ++i) { // half of each is a constant that multiplication has been known by
    Uuid uuid = *parseUuid("157c4a7f-b979-379e-0000-000000000000");
    uuid.data[15] = i;
    hashes.insert(hashUuid(uuid));
  }
  EXPECT_EQ(hashes.size(), 200u);
}

TEST(UuidTest, NameBasedOnesAreThoseOfTheStandard) {
  const Uuid dns = *parseUuid("6ba7b810-9dad-11d1-80b4-00c04fd430c8");
  EXPECT_EQ(toText(nameUuid(dns, "www.example.com")), "5df41881-3aed-3515-88a7-2f4a814cf09e");
}

/// Nothing unless it is the canonical form; the reference also takes braces and a text without dashes.
std::optional<Uuid> referenceParse(const std::string& text) {
  if (text.size() != 36)
    return std::nullopt;
  try {
    return boost::uuids::string_generator()(text);
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
}

RC_GTEST_PROP(UuidTest, ReadsTextAsTheReferenceDoes, ()) {
  std::string text = toText(randomUuid());
  const auto changes = *rc::gen::inRange(0, 3);
  for (int i = 0; i < changes; ++i)
    text[*rc::gen::inRange<std::size_t>(0, text.size())] =
        *rc::gen::element('0', 'f', 'F', 'g', '-', '{', ' ', '\0', '\xC3');
  RC_ASSERT(parseUuid(text) == referenceParse(text));
}

TEST(UuidTest, ReadsNothingButTheCanonicalForm) {
  EXPECT_TRUE(parseUuid("0e38a211-8b7c-3eae-b4c0-d1d620eda026"));
  for (const std::string other :
       {"", "0e38a211-8b7c-3eae-b4c0-d1d620eda0260", "e38a211-8b7c-3eae-b4c0-d1d620eda026",
        "{0e38a211-8b7c-3eae-b4c0-d1d620eda026}", "urn:uuid:0e38a211-8b7c-3eae-b4c0-d1d620eda026",
        "0e38a2118b7c3eaeb4c0d1d620eda026", " e38a211-8b7c-3eae-b4c0-d1d620eda026"})
    EXPECT_FALSE(parseUuid(other)) << other;
}

TEST(UuidTest, ForkedChildDoesNotRepeatItsParent) {
  randomUuid(); // the block is read
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const Uuid uuid = randomUuid();
    ::_exit(::write(pipe[1], uuid.data, sizeof uuid.data) == sizeof uuid.data ? 0 : 1);
  }
  Uuid fromChild{};
  ASSERT_EQ(::read(pipe[0], fromChild.data, sizeof fromChild.data), static_cast<ssize_t>(sizeof fromChild.data));
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_NE(fromChild, randomUuid());
  ::close(pipe[0]), ::close(pipe[1]);
}

} // namespace
} // namespace tavo
