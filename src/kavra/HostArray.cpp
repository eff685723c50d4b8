#include "kavra/HostArray.h"

#include "kavra/EnumerationClass.h"
#include "kavra/Error.h"
#include "kavra/HostObject.h"
#include "kavra/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <new>

namespace kavra {

HostObject::~HostObject() = default;

struct HostArray::OpaqueContent {
  std::u16string className;
  std::shared_ptr<HostObject> object;
};

namespace {

constexpr std::uint64_t largestInPlace = 8; // extents of arrays without a block

/// The dimensions of every array that needs no block, so that all arrays can hand out a view.
struct SmallDimensions {
  std::uint64_t pairs[largestInPlace + 1][largestInPlace + 1][2];
  constexpr SmallDimensions() : pairs() {
    for (std::uint64_t r = 0; r <= largestInPlace; ++r) {
      for (std::uint64_t c = 0; c <= largestInPlace; ++c) {
        pairs[r][c][0] = r;
        pairs[r][c][1] = c;
      }
    }
  }
};
constexpr SmallDimensions smallDimensions;

constexpr std::string_view classNames[] = {"",       "double", "single", "int8",    "uint8", "int16", "uint16", "int32",
                                           "uint32", "int64",  "uint64", "logical", "char",  "cell",  "string"};

template <class T>
void constructAll(void* elements, std::uint64_t count, const T& value) {
  std::uninitialized_fill_n(static_cast<T*>(elements), count, value);
}

template <class T>
void destroyAll(void* elements, std::uint64_t count) noexcept {
  std::destroy_n(static_cast<T*>(elements), count);
}

/// Which bits a NaN has depends on the processor, so they do not count.
template <class T>
bool sameNumbers(std::span<const T> a, std::span<const T> b) {
  return std::equal(a.begin(), a.end(), b.begin(),
                    [](T x, T y) { return std::memcmp(&x, &y, sizeof x) == 0 || (std::isnan(x) && std::isnan(y)); });
}

bool isPlain(ArrayClass c) { return c <= ArrayClass::Char || c == ArrayClass::Enumeration; }

std::string dimensionsText(std::span<const std::uint64_t> extents) {
  std::string text;
  for (auto extent : extents)
    text += (text.empty() ? "" : "-by-") + std::to_string(extent);
  return text;
}

} // namespace

std::string_view className(ArrayClass c) {
  auto index = static_cast<std::size_t>(c);
  return index < std::size(classNames) ? classNames[index] : std::string_view();
}

std::optional<ArrayClass> classNamed(std::u16string_view name) {
  for (std::size_t i = 1; i < std::size(classNames); ++i) {
    if (std::equal(name.begin(), name.end(), classNames[i].begin(), classNames[i].end()))
      return static_cast<ArrayClass>(i);
  }
  return {};
}

std::optional<std::uint64_t> checkedProduct(std::span<const std::uint64_t> extents, std::uint64_t limit) {
  if (std::find(extents.begin(), extents.end(), 0) != extents.end())
    return 0;
  std::uint64_t product = 1;
  for (auto extent : extents) {
    if (extent > limit / product)
      return {};
    product *= extent;
  }
  return product;
}

std::size_t elementSize(ArrayClass c) {
  switch (c) {
  case ArrayClass::Cell:
    return sizeof(HostArray);
  case ArrayClass::String:
    return sizeof(std::u16string);
  case ArrayClass::Enumeration:
    return sizeof(std::uint32_t);
  case ArrayClass::None:
  case ArrayClass::Opaque:
    return 0;
  default:
    return withElementType(c, [](auto zero) { return sizeof zero; });
  }
}

//----------------------------------------------------------------------------------------------------------------------
// Memory

void HostArray::allocate(ArrayClass arrayClass, Extents given) {
  static constexpr std::uint64_t one = 1;
  std::span<const std::uint64_t> extents = given;
  while (extents.size() > 2 && extents.back() == 1)
    extents = extents.first(extents.size() - 1);
  std::uint64_t padded[2];
  if (extents.size() < 2) {
    padded[0] = extents.empty() ? one : extents[0];
    padded[1] = one;
    extents = padded;
  }
  auto count = checkedProduct(extents);
  if (!count || extents.size() > 64)
    throw Error("kavra:messages:ArrayTooLarge", "An array of {0} has too many elements.",
                {fromAscii(dimensionsText(extents))});

  auto bytes = static_cast<std::size_t>(*count) * elementSize(arrayClass);
  bool small = extents.size() == 2 && extents[0] <= largestInPlace && extents[1] <= largestInPlace;
  if (small && arrayClass != ArrayClass::Opaque && (*count == 0 || (isPlain(arrayClass) && bytes <= sizeof word_))) {
    class_ = arrayClass;
    rows_ = static_cast<std::uint8_t>(extents[0]);
    columns_ = static_cast<std::uint8_t>(extents[1]);
    return;
  }

  if (arrayClass == ArrayClass::Opaque)
    bytes = sizeof(OpaqueContent);
  auto head = sizeof(Block) + extents.size_bytes();
  auto* block = static_cast<Block*>(std::calloc(1, head + bytes)); // large zero arrays cost no memory until written
  if (!block)
    throw std::bad_alloc();
  block->references = 1;
  block->dimensionCount = static_cast<std::uint32_t>(extents.size());
  block->count = block->totalCount = *count;
  std::copy(extents.begin(), extents.end(), block->extents());
  if (arrayClass == ArrayClass::Cell)
    constructAll(block->elements(), *count, zeros(ArrayClass::Double, {0, 0}));
  else if (arrayClass == ArrayClass::String)
    constructAll(block->elements(), *count, std::u16string());
  else if (arrayClass == ArrayClass::Opaque)
    constructAll(block->elements(), 1, OpaqueContent());
  block->cellDepth = arrayClass == ArrayClass::Cell ? 1 : 0;
  word_.block = block;
  inHeap_ = true;
  class_ = arrayClass;
}

void HostArray::releaseBlock() noexcept {
  auto* block = word_.block;
  if (--block->references > 0)
    return;
  // Cells in cells recurse here, at most maxCellDepth deep.
  if (class_ == ArrayClass::Cell)
    destroyAll<HostArray>(block->elements(), block->count);
  else if (class_ == ArrayClass::String)
    destroyAll<std::u16string>(block->elements(), block->count);
  else if (class_ == ArrayClass::Opaque)
    destroyAll<OpaqueContent>(block->elements(), 1);
  std::free(block);
}

void HostArray::makeUnique() {
  if (!inHeap_ || word_.block->references == 1)
    return;
  HostArray copy;
  copy.allocate(class_, dimensions());
  std::memcpy(copy.elements(), elements(), static_cast<std::size_t>(count()) * elementSize(class_));
  swap(*this, copy);
}

void HostArray::requireCount(std::uint64_t found) const {
  if (count() != found)
    throw Error("kavra:messages:WrongElementCount", "An array of {0} cannot take {1} elements.",
                {fromAscii(dimensionsText(dimensions())), fromAscii(std::to_string(found))});
}

void HostArray::copyIn(std::uint64_t count, const void* from) {
  requireCount(count);
  if (count > 0)
    std::memcpy(elements(), from, static_cast<std::size_t>(count) * elementSize(class_));
}

void HostArray::raiseWrongClass(ArrayClass wanted) const {
  throw Error("kavra:messages:WrongArrayClass", "An array of class \"{1}\" was used as one of class \"{0}\".",
              {fromAscii(className(wanted)), fromAscii(className(class_))});
}

//----------------------------------------------------------------------------------------------------------------------
// Making

HostArray HostArray::zeros(ArrayClass arrayClass, Extents extents) {
  HostArray result;
  if (arrayClass == ArrayClass::None || arrayClass >= ArrayClass::Enumeration)
    result.raiseWrongClass(arrayClass);
  result.allocate(arrayClass, extents);
  return result;
}

HostArray HostArray::chars(std::u16string_view text) {
  return of(text.empty() ? Extents{0, 0} : Extents{1, text.size()}, std::span<const char16_t>(text));
}

HostArray HostArray::string(std::u16string_view text) { return strings({1, 1}, {std::u16string(text)}); }

HostArray HostArray::strings(Extents extents, std::vector<std::u16string> texts) {
  auto result = zeros(ArrayClass::String, extents);
  result.requireCount(texts.size());
  std::move(texts.begin(), texts.end(), static_cast<std::u16string*>(result.elements()));
  return result;
}

HostArray HostArray::cell(Extents extents, std::vector<HostArray> elements) {
  auto result = zeros(ArrayClass::Cell, extents);
  result.requireCount(elements.size());
  if (elements.empty())
    return result;

  std::transform(elements.begin(), elements.end(), static_cast<HostArray*>(result.elements()), [](HostArray& element) {
    return element ? std::move(element) : zeros(ArrayClass::Double, {0, 0});
  });
  result.settleCells();
  return result;
}

/// Notes how deep and how large the cells of a new array are. The bounds make every walk over nested cells safe.
void HostArray::settleCells() {
  if (isEmpty())
    return;
  std::uint32_t depth = 0;
  std::uint64_t total = count();
  for (auto& element : cells()) {
    depth = std::max(depth, element.cellDepth());
    total += element.totalCount();
    if (total > maxElements)
      throw Error("kavra:messages:ArrayTooLarge", "A cell array holds too many elements in all.", {u"cell"});
  }
  if (depth >= maxCellDepth)
    throw Error("kavra:messages:ArrayTooDeep", "Cell arrays are nested too deeply.");
  word_.block->cellDepth = depth + 1;
  word_.block->totalCount = total;
}

HostArray HostArray::enumeration(const EnumerationClass& enumeration, std::uint32_t index) {
  return HostArray::enumeration(enumeration, {1, 1}, std::span(&index, 1));
}

HostArray HostArray::enumeration(const EnumerationClass& enumeration, Extents extents,
                                 std::span<const std::uint32_t> indices) {
  HostArray result;
  result.allocate(ArrayClass::Enumeration, extents);
  result.requireCount(indices.size());
  for (auto index : indices) {
    if (index >= enumeration.members().size())
      throw Error("kavra:messages:NoSuchMember", "The enumeration class {0} has no member {1}.",
                  {enumeration.name(), fromAscii(std::to_string(index))});
  }
  std::copy(indices.begin(), indices.end(), static_cast<std::uint32_t*>(result.elements()));
  result.tag_ = enumeration.id_;
  return result;
}

HostArray HostArray::opaque(std::u16string_view className, Extents extents, std::shared_ptr<HostObject> object) {
  HostArray result;
  result.allocate(ArrayClass::Opaque, extents);
  *static_cast<OpaqueContent*>(result.elements()) = {std::u16string(className), std::move(object)};
  return result;
}

//----------------------------------------------------------------------------------------------------------------------
// Looking

std::span<const std::uint64_t> HostArray::dimensions() const noexcept {
  if (inHeap_)
    return {word_.block->extents(), word_.block->dimensionCount};
  return smallDimensions.pairs[rows_][columns_];
}

std::uint64_t HostArray::totalCount() const noexcept { return inHeap_ ? word_.block->totalCount : count(); }

bool HostArray::isVector() const noexcept {
  auto extents = dimensions();
  return extents.size() == 2 && (extents[0] == 1 || extents[1] == 1);
}

std::span<const HostArray> HostArray::cells() const {
  requireClass(ArrayClass::Cell);
  return {static_cast<const HostArray*>(elements()), static_cast<std::size_t>(count())};
}

std::span<const std::u16string> HostArray::strings() const {
  requireClass(ArrayClass::String);
  return {static_cast<const std::u16string*>(elements()), static_cast<std::size_t>(count())};
}

const EnumerationClass& HostArray::enumerationClass() const {
  requireClass(ArrayClass::Enumeration);
  return EnumerationClass::withId(tag_);
}

std::span<const std::uint32_t> HostArray::memberIndices() const {
  requireClass(ArrayClass::Enumeration);
  return {static_cast<const std::uint32_t*>(elements()), static_cast<std::size_t>(count())};
}

const std::u16string& HostArray::opaqueClassName() const {
  requireClass(ArrayClass::Opaque);
  return static_cast<const OpaqueContent*>(elements())->className;
}

const std::shared_ptr<HostObject>& HostArray::object() const {
  requireClass(ArrayClass::Opaque);
  return static_cast<const OpaqueContent*>(elements())->object;
}

double HostArray::numberAt(std::uint64_t index) const {
  if (class_ == ArrayClass::None || class_ > ArrayClass::Char)
    raiseWrongClass(ArrayClass::Double);
  return withElementType(class_, [&](auto zero) -> double {
    return static_cast<double>(data<decltype(zero)>()[static_cast<std::size_t>(index)]);
  });
}

std::optional<double> HostArray::asNumber() const {
  if (class_ == ArrayClass::None || class_ > ArrayClass::Char || count() != 1)
    return {};
  return numberAt(0);
}

std::optional<std::u16string_view> HostArray::asText() const {
  if (class_ == ArrayClass::String && count() == 1)
    return strings()[0];
  bool isRow = dimensions().size() == 2 && (dimensions()[0] == 1 || count() == 0);
  if (class_ != ArrayClass::Char || !isRow)
    return {};
  auto units = data<char16_t>();
  return std::u16string_view(units.data(), units.size());
}

HostArray HostArray::at(std::uint64_t index) const {
  auto i = static_cast<std::size_t>(index);
  switch (class_) {
  case ArrayClass::Cell:
    return cells()[i];
  case ArrayClass::String:
    return string(strings()[i]);
  case ArrayClass::Enumeration:
    return enumeration(enumerationClass(), memberIndices()[i]);
  case ArrayClass::None:
  case ArrayClass::Opaque:
    return *this;
  default:
    return withElementType(class_, [&](auto zero) { return scalar(data<decltype(zero)>()[i]); });
  }
}

HostArray HostArray::reshaped(Extents extents) const {
  if (class_ == ArrayClass::Opaque)
    return opaque(opaqueClassName(), extents, object());
  return joined(extents, std::span(this, 1));
}

HostArray HostArray::select(Extents extents, std::span<const std::uint64_t> indices) const {
  HostArray result;
  result.allocate(class_, extents);
  result.requireCount(indices.size());
  result.tag_ = tag_;
  auto copyObjects = [&]<class T>(std::span<const T> from) {
    auto* to = static_cast<T*>(result.elements());
    for (auto index : indices)
      *to++ = from[static_cast<std::size_t>(index)];
  };
  auto copyBytes = [&](auto size) {
    auto* from = static_cast<const unsigned char*>(elements());
    auto* to = static_cast<unsigned char*>(result.elements());
    for (auto index : indices) {
      std::memcpy(to, from + index * size(), size());
      to += size();
    }
  };
  switch (elementSize(class_)) {
  case 1:
    copyBytes(std::integral_constant<std::size_t, 1>());
    break;
  case 2:
    copyBytes(std::integral_constant<std::size_t, 2>());
    break;
  case 4:
    copyBytes(std::integral_constant<std::size_t, 4>());
    break;
  case 8:
    copyBytes(std::integral_constant<std::size_t, 8>());
    break;
  default:
    if (class_ == ArrayClass::Cell) {
      copyObjects(cells());
      result.settleCells();
    } else if (class_ == ArrayClass::String) {
      copyObjects(strings());
    }
  }
  return result;
}

HostArray HostArray::joined(Extents extents, std::span<const HostArray> pieces) {
  HostArray result;
  std::uint64_t total = 0;
  for (auto& piece : pieces) {
    piece.requireClass(pieces[0].class_);
    total += piece.count();
  }
  result.allocate(pieces[0].class_, extents);
  result.requireCount(total);
  result.tag_ = pieces[0].tag_;
  auto append = [to = result.elements()]<class T>(std::span<const T> from) mutable {
    to = std::copy(from.begin(), from.end(), static_cast<T*>(to));
  };
  for (auto& piece : pieces) {
    if (piece.class_ == ArrayClass::Cell)
      append(piece.cells());
    else if (piece.class_ == ArrayClass::String)
      append(piece.strings());
    else
      append(std::span(static_cast<const unsigned char*>(piece.elements()),
                       static_cast<std::size_t>(piece.count()) * elementSize(piece.class_)));
  }
  if (result.class_ == ArrayClass::Cell)
    result.settleCells();
  return result;
}

bool HostArray::identical(const HostArray& other) const {
  if (class_ != other.class_)
    return false;
  auto mine = dimensions(), theirs = other.dimensions();
  if (!std::equal(mine.begin(), mine.end(), theirs.begin(), theirs.end()))
    return false;
  if (inHeap_ && other.inHeap_ && word_.block == other.word_.block && tag_ == other.tag_)
    return true;

  switch (class_) {
  case ArrayClass::None:
    return true;
  case ArrayClass::Cell:
    return std::equal(cells().begin(), cells().end(), other.cells().begin());
  case ArrayClass::String:
    return std::equal(strings().begin(), strings().end(), other.strings().begin());
  case ArrayClass::Opaque:
    return opaqueClassName() == other.opaqueClassName() && object() == other.object();
  case ArrayClass::Enumeration: {
    auto &a = enumerationClass(), &b = other.enumerationClass();
    auto sameMember = [&](std::uint32_t i, std::uint32_t j) { return a.members()[i].name == b.members()[j].name; };
    return a.name() == b.name() &&
           std::equal(memberIndices().begin(), memberIndices().end(), other.memberIndices().begin(), sameMember);
  }
  case ArrayClass::Double:
    return sameNumbers(data<double>(), other.data<double>());
  case ArrayClass::Single:
    return sameNumbers(data<float>(), other.data<float>());
  default:
    return std::memcmp(elements(), other.elements(), static_cast<std::size_t>(count()) * elementSize(class_)) == 0;
  }
}

} // namespace kavra
