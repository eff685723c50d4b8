// The tree of an expression. Nodes live in the memory of one evaluation and need no destruction.
#pragma once

#include "kavra/Literals.h"
#include "kavra/standalone/Tokenizer.h"

#include <span>

namespace kavra::standalone {

enum class NodeKind : std::uint8_t {
  Number,      ///< `number`
  BasedNumber, ///< `text`
  CharText,    ///< `text`, with quotes
  StringText,  ///< `text`, with quotes
  Name,        ///< `text`
  Call,        ///< `text` applied to the children: an element of a variable, or a function
  CellContent, ///< child 0 with the other children in braces
  AllOf,       ///< a lone colon as subscript
  Range,       ///< two or three children
  Unary,       ///< `op` of child 0, put before it
  Transpose,   ///< of child 0
  Binary,      ///< child 0 `op` child 1
  Matrix,      ///< children are rows
  Cell,        ///< children are rows
  Row,
};

struct Node {
  NodeKind kind;
  TokenKind op = TokenKind::End;
  std::size_t position = 0;
  double number = 0;
  std::u16string_view text = {};
  std::span<const Node* const> children = {};

  const Node& child(std::size_t i) const { return *children[i]; }
};

/// The integer that a literal was written as, with up to one sign before it; nothing for anything else.
std::optional<IntegerLiteral> integerLiteral(const Node& node);

} // namespace kavra::standalone
