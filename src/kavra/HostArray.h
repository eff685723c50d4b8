// The array value of the host: a class, dimensions and elements.
#pragma once

#include "kavra/Export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace kavra {

class EnumerationClass;
class HostObject;

/// The classes of arrays, in the host's order. The ten from Double to Uint64 are the numeric ones.
enum class ArrayClass : std::uint8_t {
  None, ///< a null array
  Double,
  Single,
  Int8,
  Uint8,
  Int16,
  Uint16,
  Int32,
  Uint32,
  Int64,
  Uint64,
  Logical,
  Char,
  Cell,
  String,
  Enumeration,
  Opaque,
};

constexpr bool isNumeric(ArrayClass c) { return c >= ArrayClass::Double && c <= ArrayClass::Uint64; }
constexpr bool isInteger(ArrayClass c) { return c >= ArrayClass::Int8 && c <= ArrayClass::Uint64; }
constexpr bool isFloating(ArrayClass c) { return c == ArrayClass::Double || c == ArrayClass::Single; }

/// "double", "single", "int8" ... "logical", "char", "cell", "string"; empty for the others.
KAVRA_EXPORT std::string_view className(ArrayClass c);
KAVRA_EXPORT std::optional<ArrayClass> classNamed(std::u16string_view name);

/// The element type of a class; only the pairs listed here exist.
template <class T>
inline constexpr ArrayClass classOf = ArrayClass::None;
template <>
inline constexpr ArrayClass classOf<double> = ArrayClass::Double;
template <>
inline constexpr ArrayClass classOf<float> = ArrayClass::Single;
template <>
inline constexpr ArrayClass classOf<std::int8_t> = ArrayClass::Int8;
template <>
inline constexpr ArrayClass classOf<std::uint8_t> = ArrayClass::Uint8;
template <>
inline constexpr ArrayClass classOf<std::int16_t> = ArrayClass::Int16;
template <>
inline constexpr ArrayClass classOf<std::uint16_t> = ArrayClass::Uint16;
template <>
inline constexpr ArrayClass classOf<std::int32_t> = ArrayClass::Int32;
template <>
inline constexpr ArrayClass classOf<std::uint32_t> = ArrayClass::Uint32;
template <>
inline constexpr ArrayClass classOf<std::int64_t> = ArrayClass::Int64;
template <>
inline constexpr ArrayClass classOf<std::uint64_t> = ArrayClass::Uint64;
template <>
inline constexpr ArrayClass classOf<bool> = ArrayClass::Logical;
template <>
inline constexpr ArrayClass classOf<char16_t> = ArrayClass::Char;

template <class T>
concept ArrayElement = classOf<T>
!= ArrayClass::None;

/// A view of extents, as an argument: from a list, a vector or another array's dimensions.
class Extents : public std::span<const std::uint64_t> {
public:
  using std::span<const std::uint64_t>::span;
  Extents(std::span<const std::uint64_t> extents) : span(extents) {}
  Extents(const std::vector<std::uint64_t>& extents) : span(extents) {}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winit-list-lifetime" // an argument lives until the call has ended
#endif
  Extents(std::initializer_list<std::uint64_t> extents) : span(extents.begin(), extents.size()) {}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
};

/// An array of the host, or null (then it tests false). Copies share their elements until one is written to; the counts
/// are not atomic, an array and its copies live on one thread. What fits into eight bytes (every number, a short char
/// row, one or two enumeration members, anything empty) needs no heap. Dimensions are at least two and carry no
/// trailing ones beyond that; elements stand column by column. Views into an array end when it is changed, moved or
/// destroyed.
class KAVRA_EXPORT HostArray {
public:
  /// The most elements that an array may have, those of nested cells included, and the deepest nesting of cells.
  static constexpr std::uint64_t maxElements = std::uint64_t{1} << 27;
  static constexpr std::uint32_t maxCellDepth = 256;

  HostArray() noexcept = default;
  HostArray(const HostArray& other) noexcept { copyFrom(other); }
  HostArray(HostArray&& other) noexcept { swap(*this, other); }
  HostArray& operator=(const HostArray& other) noexcept {
    HostArray copy(other);
    swap(*this, copy);
    return *this;
  }
  HostArray& operator=(HostArray&& other) noexcept {
    HostArray taken(std::move(other));
    swap(*this, taken);
    return *this;
  }
  ~HostArray() {
    if (inHeap_)
      releaseBlock();
  }

  friend void swap(HostArray& a, HostArray& b) noexcept {
    std::swap(a.word_, b.word_);
    std::swap(a.tag_, b.tag_);
    std::swap(a.class_, b.class_);
    std::swap(a.inHeap_, b.inHeap_);
    std::swap(a.rows_, b.rows_);
    std::swap(a.columns_, b.columns_);
  }

  // Making one. All raise "kavra:messages:ArrayTooLarge" beyond maxElements and "kavra:messages:WrongElementCount" when
  // the elements given are not as many as the dimensions ask for.

  template <ArrayElement T>
  static HostArray scalar(T value) noexcept {
    HostArray result;
    result.class_ = classOf<T>;
    result.rows_ = result.columns_ = 1;
    std::memcpy(result.word_.bytes, &value, sizeof value);
    return result;
  }
  /// Zeros, falses, NULs, empty texts, 0-by-0 doubles in cells: any class but enumerations and opaque ones.
  static HostArray zeros(ArrayClass arrayClass, Extents extents);
  template <ArrayElement T>
  static HostArray of(Extents extents, std::span<const T> elements) {
    auto result = zeros(classOf<T>, extents);
    result.copyIn(elements.size(), elements.data());
    return result;
  }
  template <ArrayElement T>
  static HostArray of(Extents extents, std::initializer_list<T> elements) {
    return of(extents, std::span<const T>(elements.begin(), elements.size()));
  }
  template <ArrayElement T>
  static HostArray filled(Extents extents, T value) {
    auto result = zeros(classOf<T>, extents);
    for (auto& element : result.template mutableData<T>())
      element = value;
    return result;
  }
  /// A char row; 0-by-0 when the text is empty, as the literal '' is.
  static HostArray chars(std::u16string_view text);
  /// One string object.
  static HostArray string(std::u16string_view text);
  static HostArray strings(Extents extents, std::vector<std::u16string> texts);
  /// Raises "kavra:messages:ArrayTooDeep" beyond maxCellDepth.
  static HostArray cell(Extents extents, std::vector<HostArray> elements);
  /// Members by their index, counted from zero; an index without a member raises "kavra:messages:NoSuchMember".
  static HostArray enumeration(const EnumerationClass& enumeration, std::uint32_t index);
  static HostArray enumeration(const EnumerationClass& enumeration, Extents extents,
                               std::span<const std::uint32_t> indices);
  /// Something that only the host understands; `object` may be null.
  static HostArray opaque(std::u16string_view className, Extents extents, std::shared_ptr<HostObject> object = {});

  // Looking.

  explicit operator bool() const noexcept { return class_ != ArrayClass::None; }
  ArrayClass arrayClass() const noexcept { return class_; }
  std::span<const std::uint64_t> dimensions() const noexcept;
  std::uint64_t count() const noexcept { return inHeap_ ? word_.block->count : std::uint64_t{rows_} * columns_; }
  /// The elements including those of nested cells.
  std::uint64_t totalCount() const noexcept;
  bool isEmpty() const noexcept { return count() == 0; }
  bool isScalar() const noexcept { return count() == 1 && dimensions().size() == 2; }
  bool isVector() const noexcept;

  /// The elements; raises "kavra:messages:WrongArrayClass" when they are of another class.
  template <ArrayElement T>
  std::span<const T> data() const {
    requireClass(classOf<T>);
    return {static_cast<const T*>(elements()), static_cast<std::size_t>(count())};
  }
  template <ArrayElement T>
  std::span<T> mutableData() {
    requireClass(classOf<T>);
    makeUnique();
    return {static_cast<T*>(elements()), static_cast<std::size_t>(count())};
  }
  std::span<const HostArray> cells() const;
  std::span<const std::u16string> strings() const;
  const EnumerationClass& enumerationClass() const;
  std::span<const std::uint32_t> memberIndices() const;
  const std::u16string& opaqueClassName() const;
  const std::shared_ptr<HostObject>& object() const;

  /// One element of a numeric, logical or char array as a double; the index counts from zero.
  double numberAt(std::uint64_t index) const;
  /// The only element as a double; nothing for any other array.
  std::optional<double> asNumber() const;
  /// The text of a char row, an empty char array or one string object; nothing for any other array.
  std::optional<std::u16string_view> asText() const;
  /// One element as an array of its own: of a cell, what is in it.
  HostArray at(std::uint64_t index) const;
  /// The same elements in another shape of as many.
  HostArray reshaped(Extents extents) const;

  /// The elements at these indices, counted from zero, as an array of these extents.
  HostArray select(Extents extents, std::span<const std::uint64_t> indices) const;
  /// The elements of all pieces, one piece after the other; they are of one class (and one enumeration).
  static HostArray joined(Extents extents, std::span<const HostArray> pieces);

  /// Same class, dimensions and elements, bit by bit: 0 is not -0, but one NaN is as good as another. Members of
  /// redefined classes compare by class and member name, opaque arrays by object.
  bool identical(const HostArray& other) const;
  friend bool operator==(const HostArray& a, const HostArray& b) { return a.identical(b); }

private:
  /// Elements on the heap: this head, then the extents, then the elements.
  struct Block {
    std::uint32_t references;
    std::uint32_t dimensionCount;
    std::uint64_t count;
    std::uint64_t totalCount;
    std::uint32_t cellDepth;

    std::uint64_t* extents() { return reinterpret_cast<std::uint64_t*>(this + 1); }
    void* elements() { return extents() + dimensionCount; }
  };
  struct OpaqueContent;

  void copyFrom(const HostArray& other) noexcept {
    word_ = other.word_;
    tag_ = other.tag_;
    class_ = other.class_;
    inHeap_ = other.inHeap_;
    rows_ = other.rows_;
    columns_ = other.columns_;
    if (inHeap_)
      ++word_.block->references;
  }
  void allocate(ArrayClass arrayClass, Extents extents);
  void settleCells();
  void releaseBlock() noexcept;
  void makeUnique();
  void requireClass(ArrayClass arrayClass) const {
    if (class_ != arrayClass)
      raiseWrongClass(arrayClass);
  }
  [[noreturn]] void raiseWrongClass(ArrayClass wanted) const;
  void requireCount(std::uint64_t found) const;
  void copyIn(std::uint64_t count, const void* elements);
  std::uint32_t cellDepth() const noexcept { return inHeap_ ? word_.block->cellDepth : 0; }
  void* elements() noexcept { return inHeap_ ? word_.block->elements() : word_.bytes; }
  const void* elements() const noexcept { return const_cast<HostArray*>(this)->elements(); }

  union Word {
    std::uint64_t bits;
    unsigned char bytes[8];
    Block* block;
  };

  Word word_{};
  std::uint32_t tag_ = 0; // the enumeration class
  ArrayClass class_ = ArrayClass::None;
  bool inHeap_ = false;
  std::uint8_t rows_ = 0; // the dimensions, when the elements are in place
  std::uint8_t columns_ = 0;
};
static_assert(sizeof(HostArray) == 16, "stored values by the million hold one each");

/// The product of extents, or nothing when it is beyond `limit`. Zero extents make zero whatever the others are.
KAVRA_EXPORT std::optional<std::uint64_t> checkedProduct(std::span<const std::uint64_t> extents,
                                                         std::uint64_t limit = HostArray::maxElements);

/// The bytes of one element of a class that is stored as plain numbers, else of the object that holds it.
KAVRA_EXPORT std::size_t elementSize(ArrayClass c);

/// Calls `function` with a value of the element type of a numeric, logical or char class.
template <class Function>
decltype(auto) withElementType(ArrayClass c, Function&& function) {
  switch (c) {
  case ArrayClass::Single:
    return function(float{});
  case ArrayClass::Int8:
    return function(std::int8_t{});
  case ArrayClass::Uint8:
    return function(std::uint8_t{});
  case ArrayClass::Int16:
    return function(std::int16_t{});
  case ArrayClass::Uint16:
    return function(std::uint16_t{});
  case ArrayClass::Int32:
    return function(std::int32_t{});
  case ArrayClass::Uint32:
    return function(std::uint32_t{});
  case ArrayClass::Int64:
    return function(std::int64_t{});
  case ArrayClass::Uint64:
    return function(std::uint64_t{});
  case ArrayClass::Logical:
    return function(bool{});
  case ArrayClass::Char:
    return function(char16_t{});
  default:
    return function(double{});
  }
}

} // namespace kavra
