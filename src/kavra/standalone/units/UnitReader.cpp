#include "kavra/standalone/units/UnitReader.h"

#include "kavra/Text.h"
#include "kavra/standalone/units/UnitErrors.h"

#include <algorithm>

namespace kavra::standalone {
namespace {

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool isLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
bool isTimes(char16_t c) { return c == u'*' || c == u'.' || c == u'·' || c == u'⋅'; }

constexpr std::u16string_view superscriptDigits = u"⁰¹²³⁴⁵⁶⁷⁸⁹";
constexpr char16_t superscriptMinus = u'⁻';

bool isSuperscript(char16_t c) { return c == superscriptMinus || superscriptDigits.find(c) != superscriptDigits.npos; }

/// Signs outside ASCII are taken for parts of words, so that an unknown one is reported with its whole word.
bool isWordStart(char16_t c) {
  return isLetter(c) || c == u'_' || c == u'%' || c == u'$' || (c > 0xa0 && !isTimes(c) && !isSuperscript(c));
}
bool isWordPart(char16_t c) { return isWordStart(c) || isDigit(c); }

std::u16string decimal(std::size_t number) { return fromAscii(std::to_string(number)); }

/// How a message shows one character: itself, or its number where nobody could see it.
std::string shown(char16_t c) {
  if ((c > 0x20 && c < 0x7f) || isTimes(c) || isSuperscript(c))
    return toUtf8(std::u16string{u'\'', c, u'\''});
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string code = "character U+";
  for (int shift = 12; shift >= 0; shift -= 4)
    code += digits[static_cast<std::size_t>(c >> shift) & 0xf];
  return c == u' ' ? "blank" : code;
}

} // namespace

Unit UnitReader::read() {
  if (text_.size() > maxUnitLength) {
    position_ = maxUnitLength;
    raise(UnitError::TooLarge,
          {u"the text has more than " + decimal(maxUnitLength) + u" characters", decimal(maxUnitLength + 1)});
  }
  if (text_.empty())
    return {};
  skipBlanks();
  auto unit = readProduct();
  if (peek() == u')')
    failHere("')' without '('");
  if (!atEnd())
    failUnexpected("an operator or the end");
  return unit;
}

Unit UnitReader::readProduct() {
  auto unit = readPower();
  bool divided = false;
  for (;;) {
    auto end = position_;
    skipBlanks();
    if (isTimes(peek()) || peek() == u'/') {
      requireNoOwnZero(unit);
      bool division = peek() == u'/';
      ++position_;
      skipBlanks();
      auto start = position_;
      multiply(unit, readPower(), division ? -1 : 1, start);
      divided = divided || division;
    } else if (atFactor()) {
      if (position_ == end)
        failHere("an operator is missing");
      if (divided)
        failHere("a blank after '/' can be read in two ways; use '*' or parentheses");
      requireNoOwnZero(unit);
      auto start = position_;
      multiply(unit, readPower(), 1, start);
    } else {
      return unit;
    }
  }
}

Unit UnitReader::readPower() {
  auto start = position_;
  auto factor = readFactor();
  auto exponent = readExponent();
  if (!exponent)
    return factor;
  requireNoOwnZero(factor);
  Unit unit;
  multiply(unit, factor, *exponent, start);
  return unit;
}

Unit UnitReader::readFactor() {
  if (take(u'(')) {
    if (++nesting_ > maxUnitNesting)
      raise(UnitError::TooLarge, {u"parentheses are nested too deeply", decimal(position_)});
    auto opened = position_;
    skipBlanks();
    auto unit = readProduct();
    if (!take(u')')) {
      if (!atEnd())
        failUnexpected("an operator or ')'");
      raise(UnitError::SyntaxError, {u"'(' is never closed", decimal(opened)});
    }
    --nesting_;
    return unit;
  }
  if (isDigit(peek())) {
    auto start = position_;
    while (isDigit(peek()) || (peek() == u'.' && position_ + 1 < text_.size() && isDigit(text_[position_ + 1])))
      ++position_;
    if (text_.substr(start, position_ - start) == u"1")
      return {};
    position_ = start;
    failHere("the only number that is a unit is 1; numbers belong in the value, and powers are written with '^'");
  }
  if (!isWordStart(peek()))
    failUnexpected("a unit");
  return readWord();
}

Unit UnitReader::readWord() {
  auto start = position_;
  while (isWordPart(peek()))
    ++position_;
  auto word = text_.substr(start, position_ - start);
  auto match = table_.find(word);
  if (!match)
    failUnknown(word, start);
  if (match.entry->unit.hasOwnZero()) {
    ownZeroPosition_ = start;
    ownZeroWord_ = word;
  }
  auto unit = match.entry->unit;
  if (match.prefix && !unit.factor.multiply(ExactFactor(match.prefix->factor), 1))
    raise(UnitError::TooLarge, {u"the unit becomes too large", decimal(start + 1)});
  return unit;
}

std::optional<Exponent> UnitReader::readExponent() {
  if (isSuperscript(peek()))
    return readSuperscripts();
  if (!take(u'^'))
    return {};
  auto start = position_;
  bool grouped = take(u'(');
  bool negative = take(u'-');
  auto above = readInteger();
  std::int64_t below = 1;
  if (grouped && take(u'/')) {
    below = readInteger();
    if (below == 0) {
      --position_;
      failHere("an exponent is divided by zero");
    }
  }
  if (grouped && !take(u')'))
    failUnexpected("')' after an exponent");
  if (!grouped && peek() == u'.' && position_ + 1 < text_.size() && isDigit(text_[position_ + 1]))
    failHere("exponents are integers or fractions such as (1/2), not decimals");
  if (peek() == u'^' || isSuperscript(peek()))
    failHere("a power of a power needs parentheses");
  Exponent exponent(negative ? -above : above, below);
  if (!isWithinLimits(exponent))
    raise(UnitError::TooLarge, {u"the exponent is too large", decimal(start + 1)});
  return exponent;
}

std::int64_t UnitReader::readInteger() {
  if (!isDigit(peek()))
    failUnexpected("digits");
  std::int64_t number = 0;
  for (; isDigit(peek()); ++position_)
    number = std::min<std::int64_t>(number * 10 + (peek() - u'0'), 1000000); // beyond every limit, far from overflow
  return number;
}

Exponent UnitReader::readSuperscripts() {
  auto start = position_;
  bool negative = take(superscriptMinus);
  std::int64_t number = 0;
  auto first = position_;
  for (; isSuperscript(peek()) && peek() != superscriptMinus; ++position_)
    number = std::min<std::int64_t>(number * 10 + static_cast<std::int64_t>(superscriptDigits.find(peek())), 1000000);
  if (position_ == first || peek() == superscriptMinus)
    failUnexpected("superscript digits");
  if (peek() == u'^')
    failHere("a power of a power needs parentheses");
  Exponent exponent(negative ? -number : number);
  if (!isWithinLimits(exponent))
    raise(UnitError::TooLarge, {u"the exponent is too large", decimal(start + 1)});
  return exponent;
}

void UnitReader::multiply(Unit& unit, const Unit& other, const Exponent& exponent, std::size_t position) const {
  requireNoOwnZero(other);
  if (!unit.multiply(other, exponent))
    raise(UnitError::TooLarge, {u"the unit becomes too large", decimal(position + 1)});
}

void UnitReader::requireNoOwnZero(const Unit& unit) const {
  if (unit.hasOwnZero())
    raise(UnitError::StandsAlone, {std::u16string(ownZeroWord_), decimal(ownZeroPosition_ + 1),
                                   table_.find(ownZeroWord_).entry->differenceUnit});
}

bool UnitReader::take(char16_t c) {
  if (atEnd() || text_[position_] != c)
    return false;
  ++position_;
  return true;
}

void UnitReader::skipBlanks() {
  while (peek() == u' ')
    ++position_;
}

bool UnitReader::atFactor() const { return isWordStart(peek()) || isDigit(peek()) || peek() == u'('; }

void UnitReader::failHere(std::string_view what) const {
  raise(UnitError::SyntaxError, {*fromUtf8(what), decimal(position_ + 1)});
}

void UnitReader::failUnexpected(std::string_view expected) const {
  auto found = atEnd() ? std::string("the text ends") : shown(peek()) + " is found";
  failHere(found + " where " + std::string(expected) + " should stand");
}

void UnitReader::failUnknown(std::u16string_view word, std::size_t position) const {
  auto similar = table_.spelledLike(word, 1);
  if (similar.empty())
    raise(UnitError::UnknownUnit, {std::u16string(word), decimal(position + 1)});
  raise(UnitError::UnknownUnitSimilar, {std::u16string(word), decimal(position + 1), similar.front()});
}

} // namespace kavra::standalone
