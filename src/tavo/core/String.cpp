#include "tavo/core/String.h"

#include "tavo/core/Utf.h"

#include <cstddef>
#include <limits>
#include <new>
#include <ostream>
#include <stdexcept>

namespace tavo {
namespace {

/// Stands in front of the units of a shared text.
struct BlockHead {
  std::size_t count;
};

BlockHead* headOf(const char16_t* text) {
  return reinterpret_cast<BlockHead*>(reinterpret_cast<std::byte*>(const_cast<char16_t*>(text)) - sizeof(BlockHead));
}

constexpr std::size_t unitsPerWord = sizeof(std::uint64_t) / sizeof(char16_t);

std::uint64_t wordAt(const char16_t* units) {
  std::uint64_t word;
  std::memcpy(&word, units, sizeof word);
  return word;
}

/// Folds the 128-bit product of two words; every bit of either reaches every bit of the result.
std::uint64_t mix(std::uint64_t a, std::uint64_t b) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

} // namespace

std::uint64_t hashText(std::u16string_view text) noexcept {
  constexpr std::uint64_t keys[] = {0xa0761d6478bd642full, 0xe7037ed1a0b428dbull, 0x8ebc6af09c88c6e3ull};
  const char16_t* at = text.data();
  std::size_t left = text.size();
  std::uint64_t hash = keys[0];
  for (; left > 2 * unitsPerWord; at += 2 * unitsPerWord, left -= 2 * unitsPerWord)
    hash = mix(wordAt(at) ^ keys[1], wordAt(at + unitsPerWord) ^ hash);

  // The rest is taken at once: the two words may overlap, and so may the three units. The size tells them apart.
  std::uint64_t first = 0, last = 0;
  if (left >= unitsPerWord) {
    first = wordAt(at);
    last = wordAt(at + left - unitsPerWord);
  } else if (left > 0) {
    first = std::uint64_t{at[0]} << 32 | std::uint64_t{at[left / 2]} << 16 | at[left - 1];
  }
  return mix(keys[2] ^ text.size(), mix(first ^ keys[1], last ^ hash));
}

void String::share(std::u16string_view text) {
  std::char_traits<char16_t>::copy(makeRoom(text.size()), text.data(), text.size());
}

char16_t* String::makeRoom(std::size_t size) {
  if (size <= inPlaceCapacity) {
    units_[tagIndex] = static_cast<char16_t>(size);
    return units_;
  }
  if (size > std::numeric_limits<std::uint32_t>::max())
    throw std::length_error("tavo::String");
  auto* block = static_cast<std::byte*>(::operator new(sizeof(BlockHead) + size * sizeof(char16_t)));
  new (block) BlockHead{1};
  auto* text = reinterpret_cast<char16_t*>(block + sizeof(BlockHead));
  const Shared parts{text, static_cast<std::uint32_t>(size), 0, sharedTag};
  std::memcpy(units_, &parts, sizeof parts);
  return text;
}

void String::retain() const noexcept { ++headOf(shared().text)->count; }

void String::release() noexcept {
  BlockHead* head = headOf(shared().text);
  if (--head->count == 0)
    ::operator delete(head);
}

String concatParts(std::initializer_list<std::u16string_view> parts) {
  std::size_t size = 0;
  for (auto part : parts)
    size += part.size();
  return String::filled(size, [&](char16_t* to) {
    for (auto part : parts)
      to += part.copy(to, part.size());
  });
}

std::ostream& operator<<(std::ostream& out, const String& text) { return out << toPrintable(text); }

} // namespace tavo
