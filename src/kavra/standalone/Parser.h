// Reads the tree of an expression from its text.
#pragma once

#include "kavra/standalone/Syntax.h"

#include <initializer_list>

namespace kavra::standalone {

/// Recursive descent with binding powers for the binary operators. From loose to tight: || && | & comparisons : + *
/// unary ^ and transpose; all binary operators associate to the left.
class Parser {
public:
  /// Brackets, calls and unary operators may nest `depth` deep.
  Parser(std::u16string_view text, std::uint32_t depth, std::pmr::memory_resource* memory);

  /// The tree of the whole text. Fails (EvaluationError) when the text is not one expression.
  const Node& parse();

private:
  using Nodes = std::pmr::vector<const Node*>;
  class Nesting;

  const Node* expression(int loosestPower = 0);
  const Node* range(const Node* first);
  const Node* unary();
  const Node* powers();
  const Node* exponent();
  const Node* primary();
  const Node* parenthesised();
  const Node* nameOrCall();
  const Node* call(const Token& name);
  const Node* cellContents(const Node* base);
  const Node* matrix(NodeKind kind, TokenKind close);
  const Node* row(TokenKind close);
  std::span<const Node* const> arguments(Nodes nodes, TokenKind close);
  const Node* argument(TokenKind close);

  const Node* make(Node node);
  const Node* make(NodeKind kind, const Token& at, std::initializer_list<const Node*> children);
  std::span<const Node* const> keep(std::span<const Node* const> nodes);

  Token take();
  bool takeIf(TokenKind kind);
  void expect(TokenKind kind, const char* what);
  void skipNewLines();
  [[noreturn]] void unexpected() const;

  Tokenizer tokenizer_;
  Token token_;
  std::uint32_t depth_ = 0;
  std::uint32_t deepest_;
  std::pmr::memory_resource* memory_;
};

} // namespace kavra::standalone
