#include "kavra/standalone/Tokenizer.h"

#include "kavra/standalone/Budget.h"
#include "kavra/standalone/NumberText.h"

namespace kavra::standalone {
namespace {

bool isBlank(char16_t c) { return c == u' ' || c == u'\t'; }
bool isLineEnd(char16_t c) { return c == u'\n' || c == u'\r'; }
bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool isLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
bool isNamePart(char16_t c) { return isLetter(c) || isDigit(c) || c == u'_'; }

/// True when the token can be the last one of an operand, so that a quote after it transposes.
bool endsOperand(TokenKind kind) {
  switch (kind) {
  case TokenKind::Number:
  case TokenKind::BasedNumber:
  case TokenKind::Name:
  case TokenKind::CharText:
  case TokenKind::StringText:
  case TokenKind::CloseParen:
  case TokenKind::CloseBracket:
  case TokenKind::CloseBrace:
  case TokenKind::Transpose:
    return true;
  default:
    return false;
  }
}

struct Symbol {
  std::u16string_view text;
  TokenKind kind;
};

/// Longer ones before those that they start with.
constexpr Symbol symbols[] = {
    {u".*", TokenKind::Times},      {u"./", TokenKind::Divide},      {u".\\", TokenKind::LeftDivide},
    {u".^", TokenKind::Power},      {u".'", TokenKind::Transpose},   {u"==", TokenKind::Equal},
    {u"~=", TokenKind::NotEqual},   {u"<=", TokenKind::LessEqual},   {u">=", TokenKind::GreaterEqual},
    {u"&&", TokenKind::AndAnd},     {u"||", TokenKind::OrOr},        {u"<", TokenKind::Less},
    {u">", TokenKind::Greater},     {u"&", TokenKind::And},          {u"|", TokenKind::Or},
    {u"+", TokenKind::Plus},        {u"-", TokenKind::Minus},        {u"~", TokenKind::Not},
    {u"*", TokenKind::MatrixTimes}, {u"/", TokenKind::MatrixDivide}, {u"\\", TokenKind::MatrixLeftDivide},
    {u"^", TokenKind::MatrixPower}, {u":", TokenKind::Colon},        {u",", TokenKind::Comma},
    {u";", TokenKind::Semicolon},   {u"(", TokenKind::OpenParen},    {u")", TokenKind::CloseParen},
    {u"[", TokenKind::OpenBracket}, {u"]", TokenKind::CloseBracket}, {u"{", TokenKind::OpenBrace},
    {u"}", TokenKind::CloseBrace},
};

} // namespace

Token Tokenizer::next() {
  bool afterBlank = skipBlanks();
  Token token = afterBlank && afterOperand_ && inMatrix() && startsElement() ? Token{TokenKind::Comma, position_, {}}
                                                                             : scan(afterBlank);
  afterOperand_ = endsOperand(token.kind);
  return token;
}

/// Skips blanks, comments and continued lines; true when there were any.
bool Tokenizer::skipBlanks() {
  auto start = position_;
  for (;;) {
    if (isBlank(at(0)))
      ++position_;
    else if (at(0) == u'%')
      skipToEndOfLine();
    else if (!skipContinuation())
      return position_ > start;
  }
}

bool Tokenizer::skipContinuation() {
  if (text_.substr(position_, 3) != u"...")
    return false;
  skipToEndOfLine();
  if (at(0) == u'\r')
    ++position_;
  if (at(0) == u'\n')
    ++position_;
  return true;
}

void Tokenizer::skipToEndOfLine() {
  while (!atEnd() && !isLineEnd(at(0)))
    ++position_;
}

/// Whether what follows a blank inside brackets is an element of its own: [1 -2] has two, [1 - 2] and [1 ~= 2] one.
bool Tokenizer::startsElement() const {
  char16_t c = at(0);
  if (isNamePart(c) || c == u'\'' || c == u'"' || c == u'(' || c == u'[' || c == u'{')
    return true;
  if (c == u'.')
    return isDigit(at(1));
  if (c == u'~')
    return at(1) != u'=';
  if (c == u'+' || c == u'-')
    return !isBlank(at(1)) && !isLineEnd(at(1)) && text_.substr(position_ + 1, 3) != u"...";
  return false;
}

Token Tokenizer::scan(bool afterBlank) {
  if (atEnd())
    return {TokenKind::End, position_, {}};
  char16_t c = at(0);
  if (isDigit(c) || (c == u'.' && isDigit(at(1))))
    return number();
  if (isLetter(c))
    return name();
  if (c == u'"')
    return quoted(TokenKind::StringText);
  if (c == u'\'') {
    bool transposes = afterOperand_ && !(afterBlank && inMatrix());
    return transposes ? take(TokenKind::Transpose, 1) : quoted(TokenKind::CharText);
  }
  if (isLineEnd(c))
    return newLine();
  return symbol();
}

Token Tokenizer::number() {
  auto token = take(TokenKind::Number, scanDecimal(text_.substr(position_)));
  bool based = token.text == u"0" && (at(0) == u'x' || at(0) == u'X' || at(0) == u'b' || at(0) == u'B');
  if (based) {
    token.kind = TokenKind::BasedNumber;
    while (isNamePart(at(0)))
      ++position_;
    token.text = text_.substr(token.position, position_ - token.position);
  }
  if (isNamePart(at(0)) || (at(0) == u'.' && isDigit(at(1))))
    fail("this is not a number", token.position);
  return token;
}

Token Tokenizer::name() {
  std::size_t length = 0;
  for (;;) {
    while (isNamePart(at(length)))
      ++length;
    if (at(length) != u'.' || !isLetter(at(length + 1)))
      return take(TokenKind::Name, length);
    ++length;
  }
}

/// A text up to its closing quote; a doubled quote inside stands for one.
Token Tokenizer::quoted(TokenKind kind) {
  char16_t quote = at(0);
  for (std::size_t i = 1; position_ + i < text_.size() && !isLineEnd(at(i)); ++i) {
    if (at(i) != quote)
      continue;
    if (at(i + 1) != quote)
      return take(kind, i + 1);
    ++i;
  }
  fail("a text has no closing quote", position_);
}

Token Tokenizer::newLine() {
  std::size_t length = at(0) == u'\r' && at(1) == u'\n' ? 2 : 1;
  return take(inMatrix() ? TokenKind::Semicolon : TokenKind::NewLine, length);
}

Token Tokenizer::symbol() {
  auto rest = text_.substr(position_, 2);
  for (auto& symbol : symbols) {
    if (symbol.text[0] != at(0) || !rest.starts_with(symbol.text))
      continue;
    if (symbol.kind == TokenKind::OpenParen || symbol.kind == TokenKind::OpenBracket ||
        symbol.kind == TokenKind::OpenBrace)
      openBrackets_.push_back(rest.front());
    bool closes = symbol.kind == TokenKind::CloseParen || symbol.kind == TokenKind::CloseBracket ||
                  symbol.kind == TokenKind::CloseBrace;
    if (closes && !openBrackets_.empty())
      openBrackets_.pop_back(); // whether it is the right one, the parser sees
    return take(symbol.kind, symbol.text.size());
  }
  fail("this character means nothing here", position_);
}

Token Tokenizer::take(TokenKind kind, std::size_t length) {
  Token token{kind, position_, text_.substr(position_, length)};
  position_ += length;
  return token;
}

} // namespace kavra::standalone
