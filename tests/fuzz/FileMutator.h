// Changes of model files that leave the XML well-formed: lines, each an element or a tag of one, go, come twice or
// change places, and attributes get the values of others. Bytes changed at random hardly ever get past the parser. For
// the one file of a fuzzer.
#pragma once

#include "tests/fuzz/Fuzz.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t longest);

namespace fuzz {

class FileMutator {
public:
  FileMutator(std::string text, unsigned seed) : text_(std::move(text)), random_(seed) {}

  std::string mutated() {
    switch (random_() % 5) {
    case 0:
      return withoutLine();
    case 1:
      return withLineTwice();
    default:
      return withOtherValue();
    }
  }

private:
  using Piece = std::pair<std::size_t, std::size_t>; ///< where it starts, and its length

  std::vector<Piece> lines() const {
    std::vector<Piece> found;
    for (std::size_t at = 0; at < text_.size();) {
      const std::size_t end = std::min(text_.find('\n', at), text_.size() - 1) + 1;
      // Tags that stand alone belong to others.
      if (const auto line = std::string_view(text_).substr(at, end - at);
          line.ends_with("/>\n") && line.find('<') != line.npos)
        found.emplace_back(at, end - at);
      at = end;
    }
    return found;
  }
  std::vector<Piece> values() const {
    std::vector<Piece> found;
    for (std::size_t at = text_.find('"'); at != text_.npos;) {
      const std::size_t end = text_.find('"', at + 1);
      if (end == text_.npos)
        break;
      found.emplace_back(at + 1, end - at - 1);
      at = text_.find('"', end + 1);
    }
    return found;
  }
  const Piece& oneOf(const std::vector<Piece>& pieces) { return pieces[random_() % pieces.size()]; }
  std::string at(const Piece& piece) const { return text_.substr(piece.first, piece.second); }

  std::string withoutLine() {
    const auto all = lines();
    auto result = text_;
    if (!all.empty()) {
      const auto& line = oneOf(all);
      result.erase(line.first, line.second);
    }
    return result;
  }
  std::string withLineTwice() {
    const auto all = lines();
    auto result = text_;
    if (!all.empty())
      result.insert(oneOf(all).first, at(oneOf(all)));
    return result;
  }
  std::string withOtherValue() {
    const auto all = values();
    auto result = text_;
    if (!all.empty()) {
      const auto& value = oneOf(all);
      result.replace(value.first, value.second, at(oneOf(all)));
    }
    return result;
  }

  std::string text_;
  std::minstd_rand random_;
};

} // namespace fuzz

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t longest,
                                               unsigned seed) {
  if (seed % 4 == 0)
    return LLVMFuzzerMutate(data, size, longest);
  const auto mutated = fuzz::FileMutator(std::string(fuzz::textOf(data, size)), seed).mutated();
  if (mutated.size() > longest || mutated.empty())
    return size;
  std::copy(mutated.begin(), mutated.end(), data);
  return mutated.size();
}
