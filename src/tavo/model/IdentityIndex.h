// The identity index of a model: from UUIDs to objects, mostly by a look at one cache line.
#pragma once

#include "tavo/core/Pages.h"
#include "tavo/model/ModelElement.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>

namespace tavo {

/// Internal. Holds every object of the model, dead ones too: undo and redo then have nothing to do here.
///
/// Among a million objects it is cache lines that cost, not what is done with them. So a hash leads to a line, which
/// has room for eight objects and a tag of sixteen bits of the hash of each: a search compares these at once, then
/// three more bits, and touches hardly any object but the one it is for. What finds no room in its line goes on to the
/// next one that has some. Three quarters of all places may be taken, and the table grows by halves.
///
/// Lines are in the order of hashes, and the tag is what a line leaves open of one. So while the table grows, the
/// hashes are known without a look at the objects, and what is read and written is one line after the other. Only when
/// the number of lines has become several times as large, hashes are needed more precisely than tags say.
class IdentityIndex {
public:
  bool hasRoomFor(std::size_t count) const { return count < lineCount_ * mostInLine; }
  /// Room for `count` objects; may raise std::bad_alloc. `forEachObject(insert)` lists all objects that are in the
  /// index, in the order of memory.
  template <class ForEachObject>
  void reserve(std::size_t count, const ForEachObject& forEachObject) {
    if (hasRoomFor(count))
      return;
    const std::size_t lineCount = std::max(count / mostInLine + 1, lineCount_ + lineCount_ / 2);
    IdentityIndex grown;
    grown.lines_ = std::make_unique_for_overwrite<Line[]>(lineCount);
    providePages(grown.lines_.get(), lineCount * sizeof(Line));
    std::fill_n(grown.lines_.get(), lineCount, Line{});
    grown.lineCount_ = lineCount;
    grown.precision_ = precisionFor(lineCount);
    if (grown.precision_ == precision_ && !hasStrayed_)
      grown.takeOver(*this);
    else
      grown.fill(forEachObject);
    grown.probes = probes;
    *this = std::move(grown);
  }

  void insert(ModelElement::Impl& object) noexcept { insert(codeOf(object.uuid()), &object); }

  class Spot;
  /// Where an object of that identity would come in, for which there has to be room. It holds until something changes.
  Spot spotFor(const Uuid& uuid) const noexcept;
  void insertAt(const Spot& spot, ModelElement::Impl& object) noexcept;
  /// Unless a live object has the identity.
  bool insertIfNew(ModelElement::Impl& object) noexcept;
  /// The same for all objects that `forEachObject(insert)` lists. Answers one that has not been inserted, or null.
  template <class ForEachObject>
  const ModelElement::Impl* insertAllNew(const ForEachObject& forEachObject) noexcept {
    const ModelElement::Impl* known = nullptr;
    forEachForeseen(forEachObject, [&](ModelElement::Impl& object) {
      if (!insertIfNew(object))
        known = &object;
    });
    return known;
  }

  void erase(const ModelElement::Impl& object) noexcept {
    const Code code = codeOf(object.uuid());
    std::size_t hole = home(code);
    std::size_t place = 0;
    for (;; hole = next(hole)) {
      ++probes;
      if ((place = lines_[hole].placeOf(tagOf(code), &object)) < placesInLine)
        break;
    }
    --count_;
    // What had to go on because a line was full comes back.
    bool wasFull = lines_[hole].isFull();
    lines_[hole].clear(place);
    for (std::size_t at = next(hole); wasFull; at = next(at)) {
      wasFull = lines_[at].isFull();
      for (std::size_t i = 0; i < placesInLine; ++i) {
        ModelElement::Impl* moving = lines_[at].object(i);
        if (!moving || distance(home(codeOf(moving->uuid())), at) < distance(hole, at))
          continue;
        lines_[hole].put(place, lines_[at].tag(i), lines_[at].rest(i), moving);
        lines_[at].clear(i);
        hole = at;
        place = i;
        break;
      }
    }
  }

  /// The live object of that identity, or null.
  ModelElement::Impl* find(const Uuid& uuid) const noexcept {
    if (!lines_)
      return nullptr;
    const Code code = codeOf(uuid);
    for (std::size_t at = home(code);; at = next(at)) {
      ++probes;
      if (ModelElement::Impl* object = findIn(lines_[at], code, uuid))
        return object;
      if (!lines_[at].isFull())
        return nullptr;
    }
  }

  /// Lets the processor fetch the place of an identity that is going to be looked for: among a million objects that
  /// takes longer than making one.
  void foresee(const Uuid& uuid) const noexcept {
    if (!lines_)
      return;
    const Line* line = &lines_[home(codeOf(uuid))];
    asm volatile("" : : "r"(line)); // else the compiler takes this for a function without effect, and drops its calls
    __builtin_prefetch(line, 1);
  }

  mutable std::uint64_t probes = 0; ///< lines that searches looked at, for the benchmarks

  std::size_t size() const { return count_; }
  void clear() noexcept { *this = IdentityIndex(); }

private:
  using Tag = std::uint16_t;
  static constexpr unsigned tagBits = 16;
  static constexpr unsigned restBits = 3; ///< that the address of an object has no need of
  /// What is looked at of a hash: what leads to a line and ends with the tag, and some bits behind that.
  struct Code {
    std::uint64_t main;
    unsigned rest;
  };
  static constexpr std::size_t placesInLine = 8;
  static constexpr std::size_t mostInLine = 6; ///< on average

  /// Some places of a line: bit 16 of a word for the second one, bit 4 for the fifth.
  class Places {
  public:
    /// Takes the highest bit of each four places.
    Places(std::uint64_t first, std::uint64_t second) : bits_(first >> 15 | second >> 11) {}
    bool empty() const { return bits_ == 0; }
    std::size_t first() const {
      const auto bit = static_cast<std::size_t>(std::countr_zero(bits_));
      return bit / tagBits + bit % tagBits;
    }
    void dropFirst() { bits_ &= bits_ - 1; }

  private:
    std::uint64_t bits_;
  };

  /// Addresses in two parts: those of user space have 47 bits on the platforms that this library is built for, so the
  /// highest one can say that a place is taken; and those of objects are multiples of eight. Four places are looked at
  /// at once.
  class alignas(64) Line {
  public:
    Places places(Tag tag) const { return {same(tag, 0) & word(high_, 0), same(tag, 1) & word(high_, 1)}; }
    Places freePlaces() const { return {~word(high_, 0) & highest, ~word(high_, 1) & highest}; }
    Places takenPlaces() const { return {word(high_, 0) & highest, word(high_, 1) & highest}; }
    bool isFull() const { return (word(high_, 0) & word(high_, 1) & highest) == highest; }
    Tag tag(std::size_t place) const { return tags_[place]; }
    /// Null in a free place.
    ModelElement::Impl* object(std::size_t place) const {
      return reinterpret_cast<ModelElement::Impl*>(std::uint64_t{high_[place] & (taken - 1u)} << 32 |
                                                   (low_[place] & ~restMask));
    }
    unsigned rest(std::size_t place) const { return low_[place] & restMask; }
    std::size_t placeOf(Tag tag, const ModelElement::Impl* wanted) const {
      for (Places some = places(tag); !some.empty(); some.dropFirst())
        if (object(some.first()) == wanted)
          return some.first();
      return placesInLine;
    }
    void put(std::size_t place, Tag tag, unsigned rest, const ModelElement::Impl* object) {
      const auto address = reinterpret_cast<std::uint64_t>(object) | rest;
      tags_[place] = tag;
      high_[place] = static_cast<std::uint16_t>(address >> 32 | taken);
      low_[place] = static_cast<std::uint32_t>(address);
    }
    void clear(std::size_t place) {
      tags_[place] = high_[place] = 0;
      low_[place] = 0;
    }

  private:
    static constexpr std::uint32_t restMask = (1u << restBits) - 1;
    static constexpr std::uint16_t taken = 0x8000;
    static constexpr std::uint64_t each = 0x0001000100010001, highest = each * taken, others = ~highest;
    using Numbers = std::uint16_t[placesInLine];

    static std::uint64_t word(const Numbers& numbers, std::size_t which) {
      std::uint64_t four = 0;
      std::memcpy(&four, numbers + 4 * which, sizeof four);
      return four;
    }
    /// The highest bit of each of four places that have the tag.
    std::uint64_t same(Tag tag, std::size_t which) const {
      const std::uint64_t different = word(tags_, which) ^ tag * each;
      return ~(((different & others) + others) | different) & highest;
    }

    Numbers tags_, high_;
    std::uint32_t low_[placesInLine];
  };
  static_assert(sizeof(Line) == 64 && sizeof(void*) == 8 && std::endian::native == std::endian::little);
  static_assert(alignof(ModelElement::Impl) >= 1u << restBits);

  /// How many bits of a hash are looked at: some more than choose a line, the lowest sixteen of which are the tag.
  static unsigned precisionFor(std::size_t lineCount) {
    const unsigned bits = (static_cast<unsigned>(std::bit_width(lineCount)) + 2) / 3 * 3;
    return std::max(bits + 6, tagBits);
  }
  Code codeOf(const Uuid& uuid) const {
    const std::uint64_t bits = hashUuid(uuid) >> (64 - restBits - precision_);
    return {bits >> restBits, static_cast<unsigned>(bits) % (1u << restBits)};
  }
  static Tag tagOf(const Code& code) { return static_cast<Tag>(code.main); }
  std::size_t home(const Code& code) const {
    return static_cast<std::size_t>(static_cast<Wide>(code.main) * lineCount_ >> precision_);
  }
  std::size_t next(std::size_t at) const { return at + 1 == lineCount_ ? 0 : at + 1; }
  /// From one line on to another.
  std::size_t distance(std::size_t from, std::size_t to) const {
    return to >= from ? to - from : to + lineCount_ - from;
  }

  /// The live object of that identity in a line, or null.
  static ModelElement::Impl* findIn(const Line& line, const Code& code, const Uuid& uuid) noexcept {
    for (Places same = line.places(tagOf(code)); !same.empty(); same.dropFirst())
      if (line.rest(same.first()) == code.rest)
        if (ModelElement::Impl* object = line.object(same.first()); object->uuid() == uuid && object->isAlive())
          return object;
    return nullptr;
  }

  void insert(const Code& code, const ModelElement::Impl* object) noexcept {
    const std::size_t from = home(code);
    std::size_t at = from;
    for (; lines_[at].isFull(); ++probes)
      at = next(at);
    ++probes;
    put(code, object, from, at);
  }
  /// Into a line that has room, the first one from where the code leads to.
  void put(const Code& code, const ModelElement::Impl* object, std::size_t from, std::size_t at) noexcept {
    lines_[at].put(lines_[at].freePlaces().first(), tagOf(code), code.rest, object);
    hasStrayed_ = hasStrayed_ || distance(from, at) > farthest;
    ++count_;
  }

  /// All entries of a table that has fewer lines, of the same precision. What is counted beside the lines need not be
  /// read from them again right after it was written, for which the processor has to wait.
  void takeOver(const IdentityIndex& other) {
    const auto taken = std::make_unique<std::uint8_t[]>(lineCount_);
    const std::uint64_t codes = std::uint64_t{1} << precision_;
    const std::uint64_t step = codes / other.lineCount_, stepRest = codes % other.lineCount_;
    std::uint64_t last = codes - 1; // ... of those that lead to a line, which is (at + 1) * codes - 1 over the lines
    std::uint64_t lastRest = last % other.lineCount_;
    last /= other.lineCount_;
    for (std::size_t at = 0; at < other.lineCount_; ++at) {
      const Line& line = other.lines_[at];
      for (Places some = line.takenPlaces(); !some.empty(); some.dropFirst()) {
        // The last code with this tag that leads here, or to a line before.
        const std::size_t place = some.first();
        const Code code{(last - static_cast<Tag>(last - line.tag(place))) & (codes - 1), line.rest(place)};
        const std::size_t from = home(code);
        std::size_t to = from;
        while (taken[to] == placesInLine)
          to = next(to);
        lines_[to].put(taken[to]++, tagOf(code), code.rest, line.object(place));
        hasStrayed_ = hasStrayed_ || distance(from, to) > farthest;
      }
      last += step;
      lastRest += stepRest;
      if (lastRest >= other.lineCount_) {
        lastRest -= other.lineCount_;
        ++last;
      }
    }
    count_ = other.count_;
  }

  template <class ForEachObject>
  void fill(const ForEachObject& forEachObject) {
    forEachForeseen(forEachObject, [this](ModelElement::Impl& object) { insert(object); });
  }

  /// Each place in the table is somewhere else in memory; they are fetched some objects ahead.
  template <class ForEachObject, class Visit>
  void forEachForeseen(const ForEachObject& forEachObject, const Visit& visit) const {
    constexpr std::size_t objectsAhead = 16;
    ModelElement::Impl* waiting[objectsAhead] = {};
    std::size_t next = 0;
    forEachObject([&](ModelElement::Impl& object) {
      foresee(object.uuid());
      if (ModelElement::Impl* due = std::exchange(waiting[next++ % objectsAhead], &object))
        visit(*due);
    });
    for (ModelElement::Impl* object : waiting)
      if (object)
        visit(*object);
  }

  __extension__ using Wide = unsigned __int128;
  /// Tags tell codes apart that lead to any of 128 lines; hardly ever does an object have to go that far.
  static constexpr std::size_t farthest = 120;

  std::unique_ptr<Line[]> lines_;
  std::size_t lineCount_ = 0;
  std::size_t count_ = 0;
  unsigned precision_ = 0;
  bool hasStrayed_ = false; ///< an object is farther away than its tag tells
};

/// What was found out about an identity on the way to its place.
class IdentityIndex::Spot {
public:
  ModelElement::Impl* known = nullptr; ///< the live object that has it

private:
  friend class IdentityIndex;
  Code code_;
  std::size_t from_, at_;
};

inline IdentityIndex::Spot IdentityIndex::spotFor(const Uuid& uuid) const noexcept {
  Spot spot;
  spot.code_ = codeOf(uuid);
  spot.from_ = spot.at_ = home(spot.code_);
  for (;; spot.at_ = next(spot.at_)) {
    ++probes;
    const Line& line = lines_[spot.at_];
    if (!spot.known)
      spot.known = findIn(line, spot.code_, uuid);
    if (!line.isFull())
      return spot;
  }
}

inline void IdentityIndex::insertAt(const Spot& spot, ModelElement::Impl& object) noexcept {
  put(spot.code_, &object, spot.from_, spot.at_);
}

inline bool IdentityIndex::insertIfNew(ModelElement::Impl& object) noexcept {
  const Spot spot = spotFor(object.uuid());
  if (!spot.known)
    insertAt(spot, object);
  return !spot.known;
}

} // namespace tavo
