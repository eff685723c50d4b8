// Cuts an expression text into tokens, the blanks inside brackets that separate elements among them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <string_view>
#include <vector>

namespace kavra::standalone {

enum class TokenKind : std::uint8_t {
  End,
  NewLine,     // outside of brackets
  Number,      // decimal
  BasedNumber, // 0x2A, 0b101u8
  Name,        // possibly dotted: Colors.Red
  CharText,    // with its quotes
  StringText,  // with its quotes
  OpenParen,
  CloseParen,
  OpenBracket,
  CloseBracket,
  OpenBrace,
  CloseBrace,
  Comma,
  Semicolon, // or a new line inside brackets
  Colon,
  Plus,
  Minus,
  Not,
  Times,
  MatrixTimes,
  Divide,
  MatrixDivide,
  LeftDivide,
  MatrixLeftDivide,
  Power,
  MatrixPower,
  Transpose,
  Less,
  LessEqual,
  Greater,
  GreaterEqual,
  Equal,
  NotEqual,
  And,
  Or,
  AndAnd,
  OrOr,
};

struct Token {
  TokenKind kind = TokenKind::End;
  std::size_t position = 0;
  std::u16string_view text;
};

/// Hands out one token after the other. Fails (EvaluationError) at anything that is no token.
class Tokenizer {
public:
  Tokenizer(std::u16string_view text, std::pmr::memory_resource* memory) : text_(text), openBrackets_(memory) {}

  Token next();

private:
  bool skipBlanks();
  bool skipContinuation();
  void skipToEndOfLine();
  bool startsElement() const;
  Token scan(bool afterBlank);
  Token number();
  Token name();
  Token quoted(TokenKind kind);
  Token newLine();
  Token symbol();
  Token take(TokenKind kind, std::size_t length);
  char16_t at(std::size_t offset) const {
    return position_ + offset < text_.size() ? text_[position_ + offset] : u'\0';
  }
  bool atEnd() const { return position_ == text_.size(); }
  /// True directly inside [] or {}, where blanks separate.
  bool inMatrix() const { return !openBrackets_.empty() && openBrackets_.back() != u'('; }

  std::u16string_view text_;
  std::size_t position_ = 0;
  bool afterOperand_ = false;
  std::pmr::vector<char16_t> openBrackets_;
};

} // namespace kavra::standalone
