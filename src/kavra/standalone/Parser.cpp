#include "kavra/standalone/Parser.h"

#include "kavra/standalone/Budget.h"
#include "kavra/standalone/NumberText.h"

#include <algorithm>

namespace kavra::standalone {
namespace {

constexpr int rangePower = 6;

/// How tightly a binary operator binds; zero for what is none. Powers and transposes are read with their operands.
int bindingPower(TokenKind kind) {
  switch (kind) {
  case TokenKind::OrOr:
    return 1;
  case TokenKind::AndAnd:
    return 2;
  case TokenKind::Or:
    return 3;
  case TokenKind::And:
    return 4;
  case TokenKind::Less:
  case TokenKind::LessEqual:
  case TokenKind::Greater:
  case TokenKind::GreaterEqual:
  case TokenKind::Equal:
  case TokenKind::NotEqual:
    return 5;
  case TokenKind::Colon:
    return rangePower;
  case TokenKind::Plus:
  case TokenKind::Minus:
    return 7;
  case TokenKind::Times:
  case TokenKind::MatrixTimes:
  case TokenKind::Divide:
  case TokenKind::MatrixDivide:
  case TokenKind::LeftDivide:
  case TokenKind::MatrixLeftDivide:
    return 8;
  default:
    return 0;
  }
}

bool isPrefix(TokenKind kind) { return kind == TokenKind::Plus || kind == TokenKind::Minus || kind == TokenKind::Not; }

} // namespace

std::optional<IntegerLiteral> integerLiteral(const Node& node) {
  if (node.kind == NodeKind::Number)
    return parseIntegerLiteral(node.text);
  bool isSigned = node.kind == NodeKind::Unary && node.op != TokenKind::Not && node.child(0).kind == NodeKind::Number;
  if (!isSigned)
    return {};
  auto literal = parseIntegerLiteral(node.child(0).text);
  if (literal)
    literal->negative = node.op == TokenKind::Minus;
  return literal;
}

/// One level of brackets or prefixes, for as long as it lives.
class Parser::Nesting {
public:
  explicit Nesting(Parser& parser) : parser_(parser) {
    if (++parser_.depth_ > parser_.deepest_)
      fail("the expression is nested too deeply", parser_.token_.position);
  }
  ~Nesting() { --parser_.depth_; }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;

private:
  Parser& parser_;
};

Parser::Parser(std::u16string_view text, std::uint32_t depth, std::pmr::memory_resource* memory)
    : tokenizer_(text, memory), deepest_(depth), memory_(memory) {}

const Node& Parser::parse() {
  token_ = tokenizer_.next();
  skipNewLines();
  auto* root = expression();
  skipNewLines();
  if (token_.kind != TokenKind::End)
    unexpected();
  return *root;
}

const Node* Parser::expression(int loosestPower) {
  auto* left = unary();
  for (;;) {
    int power = bindingPower(token_.kind);
    if (power == 0 || power < loosestPower)
      return left;
    if (power == rangePower) {
      left = range(left);
      continue;
    }
    auto op = take();
    auto* right = expression(power + 1);
    left = make(NodeKind::Binary, op, {left, right});
  }
}

/// first:last or first:step:last; more colons would mean ranges of ranges, which nobody writes on purpose.
const Node* Parser::range(const Node* first) {
  auto colon = take();
  auto* second = expression(rangePower + 1);
  if (token_.kind != TokenKind::Colon)
    return make(NodeKind::Range, colon, {first, second});
  take();
  auto* third = expression(rangePower + 1);
  if (token_.kind == TokenKind::Colon)
    unexpected();
  return make(NodeKind::Range, colon, {first, second, third});
}

const Node* Parser::unary() {
  if (!isPrefix(token_.kind))
    return powers();
  Nesting nesting(*this);
  auto op = take();
  auto* operand = unary();
  return make(NodeKind::Unary, op, {operand});
}

/// Powers and transposes bind alike and from the left: 2^3' is (2^3)'.
const Node* Parser::powers() {
  auto* left = primary();
  for (;;) {
    if (token_.kind == TokenKind::Transpose) {
      auto op = take();
      left = make(NodeKind::Transpose, op, {left});
    } else if (token_.kind == TokenKind::Power || token_.kind == TokenKind::MatrixPower) {
      auto op = take();
      auto* right = exponent();
      left = make(NodeKind::Binary, op, {left, right});
    } else {
      return left;
    }
  }
}

/// An exponent may carry signs of its own (2^-1), which bind tighter there.
const Node* Parser::exponent() {
  if (!isPrefix(token_.kind))
    return primary();
  Nesting nesting(*this);
  auto op = take();
  auto* operand = exponent();
  return make(NodeKind::Unary, op, {operand});
}

const Node* Parser::primary() {
  switch (token_.kind) {
  case TokenKind::Number: {
    auto token = take();
    return make(
        {.kind = NodeKind::Number, .position = token.position, .number = decimalValue(token.text), .text = token.text});
  }
  case TokenKind::BasedNumber:
    return make(NodeKind::BasedNumber, take(), {});
  case TokenKind::CharText:
    return make(NodeKind::CharText, take(), {});
  case TokenKind::StringText:
    return make(NodeKind::StringText, take(), {});
  case TokenKind::Name:
    return nameOrCall();
  case TokenKind::OpenParen:
    return parenthesised();
  case TokenKind::OpenBracket:
    return matrix(NodeKind::Matrix, TokenKind::CloseBracket);
  case TokenKind::OpenBrace:
    return matrix(NodeKind::Cell, TokenKind::CloseBrace);
  default:
    unexpected();
  }
}

const Node* Parser::parenthesised() {
  Nesting nesting(*this);
  take();
  auto* inner = expression();
  expect(TokenKind::CloseParen, "a closing parenthesis is missing");
  return inner;
}

/// A name, then any number of contents in braces, then at most one pair of parentheses: c{2}{1}(3).
const Node* Parser::nameOrCall() {
  auto name = take();
  const Node* node = make(NodeKind::Name, name, {});
  if (token_.kind == TokenKind::OpenParen)
    return call(name);
  auto depth = depth_;
  while (token_.kind == TokenKind::OpenBrace) {
    if (++depth > deepest_)
      fail("the expression is nested too deeply", token_.position);
    node = cellContents(node);
  }
  if (token_.kind == TokenKind::OpenParen && node->kind == NodeKind::CellContent) {
    Nesting nesting(*this);
    auto open = take();
    auto children = arguments(Nodes({node}, memory_), TokenKind::CloseParen);
    node = make({.kind = NodeKind::Call, .position = open.position, .children = children});
  }
  return node;
}

const Node* Parser::call(const Token& name) {
  Nesting nesting(*this);
  take();
  auto children = arguments(Nodes(memory_), TokenKind::CloseParen);
  return make({.kind = NodeKind::Call, .position = name.position, .text = name.text, .children = children});
}

const Node* Parser::cellContents(const Node* base) {
  Nesting nesting(*this);
  auto open = take();
  auto children = arguments(Nodes({base}, memory_), TokenKind::CloseBrace);
  return make({.kind = NodeKind::CellContent, .position = open.position, .children = children});
}

std::span<const Node* const> Parser::arguments(Nodes nodes, TokenKind close) {
  if (!takeIf(close)) {
    do
      nodes.push_back(argument(close));
    while (takeIf(TokenKind::Comma));
    expect(close, "a closing bracket is missing");
  }
  return keep(nodes);
}

const Node* Parser::argument(TokenKind close) {
  if (token_.kind != TokenKind::Colon)
    return expression();
  auto colon = take();
  if (token_.kind != TokenKind::Comma && token_.kind != close)
    unexpected();
  return make(NodeKind::AllOf, colon, {});
}

const Node* Parser::matrix(NodeKind kind, TokenKind close) {
  Nesting nesting(*this);
  auto open = take();
  Nodes rows(memory_);
  while (!takeIf(close)) {
    if (!takeIf(TokenKind::Semicolon))
      rows.push_back(row(close));
  }
  return make({.kind = kind, .position = open.position, .children = keep(rows)});
}

/// Elements up to the end of the row; a comma may follow the last one.
const Node* Parser::row(TokenKind close) {
  auto start = token_;
  Nodes elements(memory_);
  do
    elements.push_back(expression());
  while (takeIf(TokenKind::Comma) && token_.kind != close && token_.kind != TokenKind::Semicolon);
  if (token_.kind != close && token_.kind != TokenKind::Semicolon)
    unexpected();
  return make({.kind = NodeKind::Row, .position = start.position, .children = keep(elements)});
}

const Node* Parser::make(Node node) { return new (memory_->allocate(sizeof(Node), alignof(Node))) Node(node); }

const Node* Parser::make(NodeKind kind, const Token& at, std::initializer_list<const Node*> children) {
  return make({.kind = kind,
               .op = at.kind,
               .position = at.position,
               .text = at.text,
               .children = keep({children.begin(), children.size()})});
}

std::span<const Node* const> Parser::keep(std::span<const Node* const> nodes) {
  if (nodes.empty())
    return {};
  auto* kept = static_cast<const Node**>(memory_->allocate(nodes.size() * sizeof(Node*), alignof(Node*)));
  std::copy(nodes.begin(), nodes.end(), kept);
  return {kept, nodes.size()};
}

Token Parser::take() {
  auto taken = token_;
  token_ = tokenizer_.next();
  return taken;
}

bool Parser::takeIf(TokenKind kind) {
  if (token_.kind != kind)
    return false;
  take();
  return true;
}

void Parser::expect(TokenKind kind, const char* what) {
  if (!takeIf(kind))
    fail(what, token_.position);
}

void Parser::skipNewLines() {
  while (takeIf(TokenKind::NewLine)) {
  }
}

void Parser::unexpected() const {
  fail(token_.kind == TokenKind::End ? "the expression is not complete" : "this does not belong here", token_.position);
}

} // namespace kavra::standalone
