#include "kavra/Rendering.h"

#include "kavra/EnumerationClass.h"
#include "kavra/Literals.h"
#include "kavra/Text.h"

#include <algorithm>

namespace kavra {
namespace {

std::u16string extentsText(const HostArray& array, std::u16string_view separator) {
  std::u16string text;
  for (auto extent : array.dimensions()) {
    if (!text.empty())
      text += separator;
    text += fromAscii(std::to_string(extent));
  }
  return text;
}

bool isReadable(std::u16string_view text) {
  return std::all_of(text.begin(), text.end(), [](char16_t c) { return c >= 0x20 && c != 0x7f; });
}

std::u16string quoted(std::u16string_view text, char16_t quote) {
  std::u16string result(1, quote);
  for (char16_t c : text) {
    result += c;
    if (c == quote)
      result += c;
  }
  return result + quote;
}

/// A text in quotes; units that cannot stand there go through their numbers.
std::u16string textExpression(std::u16string_view text, char16_t quote) {
  if (isReadable(text))
    return quoted(text, quote);
  std::u16string result = quote == u'"' ? u"string(char([" : u"char([";
  for (std::size_t i = 0; i < text.size(); ++i)
    result += (i == 0 ? u"" : u" ") + fromAscii(std::to_string(static_cast<unsigned>(text[i])));
  return result + (quote == u'"' ? u"]))" : u"])");
}

std::u16string memberName(const HostArray& array, std::size_t index) {
  return array.enumerationClass().members()[array.memberIndices()[index]].name;
}

std::u16string integerText(const HostArray& array, std::size_t index) {
  return withElementType(array.arrayClass(), [&](auto zero) -> std::u16string {
    using T = decltype(zero);
    auto value = array.data<T>()[index];
    if constexpr (std::is_same_v<T, std::uint64_t>)
      return fromAscii(std::to_string(value));
    else
      return fromAscii(std::to_string(static_cast<std::int64_t>(value)));
  });
}

/// One number, or one code unit as its number.
std::u16string elementText(const HostArray& array, std::size_t index) {
  if (array.arrayClass() == ArrayClass::Logical)
    return array.data<bool>()[index] ? u"true" : u"false";
  if (isFloating(array.arrayClass()))
    return fromAscii(shortestLiteral(array.numberAt(index)));
  return integerText(array, index);
}

/// Elements in rows and columns between brackets, each as `element(index)` gives it.
template <class Element>
std::u16string bracketed(const HostArray& array, char16_t open, char16_t close, std::u16string_view separator,
                         Element element) {
  auto rows = static_cast<std::size_t>(array.dimensions()[0]),
       columns = static_cast<std::size_t>(array.dimensions()[1]);
  std::u16string text(1, open);
  for (std::size_t r = 0; r < rows; ++r) {
    if (r > 0)
      text += u"; ";
    for (std::size_t c = 0; c < columns; ++c) {
      if (c > 0)
        text += separator;
      text += element(c * rows + r);
    }
  }
  return text + close;
}

//----------------------------------------------------------------------------------------------------------------------
// Expressions

std::u16string numberMatrix(const HostArray& array) {
  auto element = [&](std::size_t i) { return elementText(array, i); };
  auto text = array.isScalar() ? element(0) : bracketed(array, u'[', u']', u" ", element);
  auto c = array.arrayClass();
  if (c == ArrayClass::Double || c == ArrayClass::Logical)
    return text;
  return fromAscii(className(c)) + u"(" + text + u")";
}

std::u16string emptyExpression(const HostArray& array) {
  auto extents = array.dimensions();
  bool isNothing = extents.size() == 2 && extents[0] == 0 && extents[1] == 0;
  switch (array.arrayClass()) {
  case ArrayClass::Double:
    return isNothing ? u"[]" : u"zeros(" + extentsText(array, u",") + u")";
  case ArrayClass::Char:
    return isNothing ? u"''" : u"char.empty(" + extentsText(array, u",") + u")";
  case ArrayClass::Cell:
    return isNothing ? u"{}" : u"cell(" + extentsText(array, u",") + u")";
  case ArrayClass::Enumeration:
    return array.enumerationClass().name() + u".empty(" + extentsText(array, u",") + u")";
  default:
    return fromAscii(className(array.arrayClass())) + u".empty(" + extentsText(array, u",") + u")";
  }
}

std::optional<std::u16string> cellExpression(const HostArray& array) {
  bool complete = true;
  auto text = bracketed(array, u'{', u'}', u", ", [&](std::size_t i) {
    auto element = complete ? expressionText(array.cells()[i]) : std::nullopt;
    complete = element.has_value();
    return element.value_or(u"");
  });
  return complete ? std::optional(text) : std::nullopt;
}

std::optional<std::u16string> matrixExpression(const HostArray& array) {
  switch (array.arrayClass()) {
  case ArrayClass::Char:
    if (array.dimensions()[0] == 1)
      return textExpression(*array.asText(), u'\'');
    return numberMatrix(array);
  case ArrayClass::String: {
    auto element = [&](std::size_t i) { return textExpression(array.strings()[i], u'"'); };
    return array.isScalar() ? element(0) : bracketed(array, u'[', u']', u" ", element);
  }
  case ArrayClass::Enumeration: {
    auto element = [&](std::size_t i) { return array.enumerationClass().name() + u"." + memberName(array, i); };
    return array.isScalar() ? element(0) : bracketed(array, u'[', u']', u" ", element);
  }
  case ArrayClass::Cell:
    return cellExpression(array);
  default:
    return numberMatrix(array);
  }
}

//----------------------------------------------------------------------------------------------------------------------
// For people

std::u16string summary(const HostArray& array) {
  auto name = array.arrayClass() == ArrayClass::Enumeration ? array.enumerationClass().name()
              : array.arrayClass() == ArrayClass::Opaque    ? array.opaqueClassName()
                                                            : fromAscii(className(array.arrayClass()));
  return extentsText(array, u"-by-") + u" " + name;
}

std::u16string elementDisplay(const HostArray& array, std::size_t i, std::size_t longest) {
  switch (array.arrayClass()) {
  case ArrayClass::String:
    return quoted(array.strings()[i], u'"');
  case ArrayClass::Enumeration:
    return memberName(array, i);
  case ArrayClass::Cell: {
    auto& inner = array.cells()[i];
    auto text = inner.arrayClass() == ArrayClass::Char ? inner.asText() : std::nullopt;
    return text && text->size() <= longest ? quoted(*text, u'\'') : displayText(inner, longest);
  }
  default:
    return elementText(array, i);
  }
}

} // namespace

std::optional<std::u16string> expressionText(const HostArray& array) {
  if (!array || array.arrayClass() == ArrayClass::Opaque)
    return {};
  if (array.isEmpty())
    return emptyExpression(array);
  if (array.dimensions().size() == 2)
    return matrixExpression(array);
  auto row = matrixExpression(array.reshaped({1, array.count()}));
  return row ? std::optional(u"reshape(" + *row + u", [" + extentsText(array, u" ") + u"])") : std::nullopt;
}

std::u16string displayText(const HostArray& array, std::size_t longest) {
  if (!array)
    return {};
  if (auto text = array.asText(); text && text->size() <= longest)
    return std::u16string(*text);
  auto c = array.arrayClass();
  bool tooMuch = array.totalCount() * 2 > longest || array.dimensions().size() > 2;
  if (c == ArrayClass::Opaque || c == ArrayClass::Char || array.isEmpty() || tooMuch)
    return c == ArrayClass::Double && array.isEmpty() && array.dimensions()[0] == 0 ? u"[]" : summary(array);

  auto element = [&](std::size_t i) { return elementDisplay(array, i, longest); };
  std::u16string text;
  if (array.isScalar() && c != ArrayClass::Cell)
    text = element(0);
  else if (c == ArrayClass::Cell)
    text = bracketed(array, u'{', u'}', u", ", element);
  else
    text = bracketed(array, u'[', u']', u" ", element);
  bool namesItsClass = !array.isScalar() && (isInteger(c) || c == ArrayClass::Single);
  if (namesItsClass)
    text = fromAscii(className(c)) + u" " + text;
  return text.size() <= longest ? text : summary(array);
}

} // namespace kavra
