#include "tavo/core/String.h"

#include "tavo/core/Hash.h"
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

} // namespace

std::uint64_t hashText(std::u16string_view text) noexcept {
  return hashBytes(text.data(), text.size() * sizeof(char16_t));
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
