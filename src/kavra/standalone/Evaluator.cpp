#include "kavra/standalone/Evaluator.h"

#include "kavra/Text.h"
#include "kavra/standalone/Arithmetic.h"
#include "kavra/standalone/Concatenation.h"
#include "kavra/standalone/Conversion.h"
#include "kavra/standalone/Functions.h"
#include "kavra/standalone/Indexing.h"
#include "kavra/standalone/Matrices.h"
#include "kavra/standalone/Ranges.h"

#include <algorithm>

namespace kavra::standalone {

/// What the word `end` means in the subscript at work.
struct Evaluator::EndMeaning {
  const HostArray& array;
  std::size_t place;
  std::size_t count;
};

namespace {

constexpr std::uint64_t largestExactInDouble = std::uint64_t{1} << 53;

/// Trees grow to the left without bound (1+1+1+...), so these are walked in a loop, not by recursion.
bool growsToTheLeft(NodeKind kind) { return kind == NodeKind::Binary || kind == NodeKind::Transpose; }

} // namespace

HostArray Evaluator::evaluate(const Node& root) {
  try {
    return value(root);
  } catch (EvaluationError& error) {
    if (error.position == EvaluationError::nowhere)
      error.position = position_;
    throw;
  }
}

HostArray Evaluator::value(const Node& node) {
  if (!growsToTheLeft(node.kind))
    return operand(node);
  boost::container::small_vector<const Node*, 16> pending;
  const Node* leftmost = &node;
  for (; growsToTheLeft(leftmost->kind); leftmost = &leftmost->child(0))
    pending.push_back(leftmost);
  auto result = operand(*leftmost);
  for (; !pending.empty(); pending.pop_back())
    result = apply(*pending.back(), std::move(result));
  return result;
}

/// The value of a node that is not a binary operator or a transpose.
HostArray Evaluator::operand(const Node& node) {
  budget_.spend(1);
  position_ = node.position;
  switch (node.kind) {
  case NodeKind::Number:
    return HostArray::scalar(node.number);
  case NodeKind::BasedNumber:
    return basedNumber(node);
  case NodeKind::CharText:
  case NodeKind::StringText:
    return text(node);
  case NodeKind::Name:
    return name(node);
  case NodeKind::Call:
    return call(node);
  case NodeKind::Range:
    return range(node);
  case NodeKind::Matrix:
    return matrix(node);
  case NodeKind::Cell:
    return cell(node);
  case NodeKind::Unary: {
    auto inner = value(node.child(0));
    position_ = node.position;
    return unary(budget_, node.op, inner);
  }
  case NodeKind::CellContent: {
    Values contents;
    values(node, contents);
    if (contents.size() != 1)
      fail("one value is expected here", node.position);
    return contents[0];
  }
  default:
    fail("this has no value here");
  }
}

//----------------------------------------------------------------------------------------------------------------------
// Operators

HostArray Evaluator::apply(const Node& node, HostArray left) {
  budget_.spend(1);
  position_ = node.position;
  if (node.kind == NodeKind::Transpose)
    return transpose(budget_, left);
  if (node.op == TokenKind::AndAnd || node.op == TokenKind::OrOr) {
    bool first = isTrue(left);
    if (first == (node.op == TokenKind::OrOr))
      return HostArray::scalar(first); // the other side is not looked at
    auto second = value(node.child(1));
    position_ = node.position;
    return HostArray::scalar(isTrue(second));
  }
  auto right = value(node.child(1));
  position_ = node.position;
  return applyBinary(node, withAllDigits(node.child(0), left, right), withAllDigits(node.child(1), right, left));
}

HostArray Evaluator::applyBinary(const Node& node, const HostArray& left, const HostArray& right) {
  switch (node.op) {
  case TokenKind::MatrixTimes:
    return multiply(budget_, left, right);
  case TokenKind::MatrixDivide:
    return divide(budget_, left, right);
  case TokenKind::MatrixLeftDivide:
    return leftDivide(budget_, left, right);
  case TokenKind::MatrixPower:
    return power(budget_, left, right);
  default:
    return elementwise(budget_, node.op, left, right);
  }
}

/// A literal beside a 64-bit integer counts digit for digit, though as a double it could not hold them all.
HostArray Evaluator::withAllDigits(const Node& node, HostArray value, const HostArray& other) const {
  if (!needsExtendedPrecision(other.arrayClass()))
    return value;
  auto literal = integerLiteral(node);
  return literal && literal->magnitude > largestExactInDouble ? convertLiteral(*literal, other.arrayClass()) : value;
}

/// All values of a node: contents of cells may be several or none.
void Evaluator::values(const Node& node, Values& out) {
  if (node.kind != NodeKind::CellContent) {
    out.push_back(value(node));
    return;
  }
  auto base = value(node.child(0));
  position_ = node.position;
  if (base.arrayClass() != ArrayClass::Cell)
    fail("only cells have contents");
  auto chosen = elements(base, node, node.children.subspan(1));
  budget_.charge(ArrayClass::Cell, chosen.dimensions());
  out.insert(out.end(), chosen.cells().begin(), chosen.cells().end());
}

//----------------------------------------------------------------------------------------------------------------------
// Literals and brackets

/// Digits of base 16 or 2: the smallest unsigned class that holds them, or the class that a suffix names (0xFFs16).
HostArray Evaluator::basedNumber(const Node& node) const {
  bool isHex = node.text[1] == u'x' || node.text[1] == u'X';
  auto digits = node.text.substr(2);
  auto suffixAt = digits.find_first_of(u"usUS");
  auto suffix = suffixAt == digits.npos ? std::u16string_view() : digits.substr(suffixAt);
  digits = digits.substr(0, suffixAt);

  std::uint64_t value = 0;
  unsigned base = isHex ? 16 : 2;
  for (char16_t c : digits) {
    unsigned digit = c >= u'0' && c <= u'9'   ? static_cast<unsigned>(c - u'0')
                     : c >= u'a' && c <= u'f' ? static_cast<unsigned>(c - u'a') + 10
                     : c >= u'A' && c <= u'F' ? static_cast<unsigned>(c - u'A') + 10
                                              : base;
    if (digit >= base || value > std::numeric_limits<std::uint64_t>::max() / base)
      fail("this is not a number");
    value = value * base + digit;
  }
  if (digits.empty())
    fail("this is not a number");

  bool isSigned = !suffix.empty() && (suffix[0] == u's' || suffix[0] == u'S');
  unsigned bits = value <= 0xff ? 8 : value <= 0xffff ? 16 : value <= 0xffffffff ? 32 : 64;
  if (!suffix.empty()) {
    auto width = suffix.substr(1);
    unsigned asked = width == u"8" ? 8 : width == u"16" ? 16 : width == u"32" ? 32 : width == u"64" ? 64 : 0;
    if (asked < bits)
      fail("the digits do not fit into the class of the suffix");
    bits = asked;
  }
  // A signed class takes the bits as they stand, so 0xFFs8 is -1.
  switch (bits) {
  case 8:
    return isSigned ? HostArray::scalar(static_cast<std::int8_t>(value))
                    : HostArray::scalar(static_cast<std::uint8_t>(value));
  case 16:
    return isSigned ? HostArray::scalar(static_cast<std::int16_t>(value))
                    : HostArray::scalar(static_cast<std::uint16_t>(value));
  case 32:
    return isSigned ? HostArray::scalar(static_cast<std::int32_t>(value))
                    : HostArray::scalar(static_cast<std::uint32_t>(value));
  default:
    return isSigned ? HostArray::scalar(static_cast<std::int64_t>(value)) : HostArray::scalar(value);
  }
}

HostArray Evaluator::text(const Node& node) {
  auto quote = node.text.front();
  auto inner = node.text.substr(1, node.text.size() - 2);
  bool isChars = node.kind == NodeKind::CharText;
  budget_.charge(ArrayClass::Char, {1, inner.size()});
  if (inner.find(quote) == inner.npos)
    return isChars ? HostArray::chars(inner) : HostArray::string(inner);
  std::u16string unescaped;
  for (std::size_t i = 0; i < inner.size(); ++i) {
    unescaped += inner[i];
    i += inner[i] == quote ? 1 : 0; // quotes come in pairs here
  }
  return isChars ? HostArray::chars(unescaped) : HostArray::string(unescaped);
}

HostArray Evaluator::range(const Node& node) {
  auto first = value(node.child(0));
  auto second = value(node.child(1));
  if (node.children.size() == 2) {
    position_ = node.position;
    return makeRange(budget_, first, {}, second);
  }
  auto third = value(node.child(2));
  position_ = node.position;
  return makeRange(budget_, first, second, third);
}

HostArray Evaluator::matrix(const Node& node) {
  Values rows, elements;
  for (auto* row : node.children) {
    elements.clear();
    for (auto* element : row->children)
      values(*element, elements);
    position_ = row->position;
    rows.push_back(concatenate(budget_, 1, viewOf(elements)));
  }
  position_ = node.position;
  return concatenate(budget_, 0, viewOf(rows));
}

HostArray Evaluator::cell(const Node& node) {
  Values rows, elements;
  for (auto* row : node.children) {
    elements.clear();
    for (auto* element : row->children)
      values(*element, elements);
    if (elements.empty())
      continue;
    position_ = row->position;
    budget_.charge(ArrayClass::Cell, {elements.size()});
    rows.push_back(HostArray::cell({1, elements.size()}, {elements.begin(), elements.end()}));
  }
  if (rows.empty())
    return HostArray::zeros(ArrayClass::Cell, {0, 0});
  position_ = node.position;
  return concatenate(budget_, 0, viewOf(rows));
}

//----------------------------------------------------------------------------------------------------------------------
// Names and calls

const HostArray* Evaluator::findVariable(std::u16string_view name) const {
  auto it = variables_.find(name);
  return it == variables_.end() ? nullptr : &it->second;
}

const EnumerationClass* Evaluator::findEnumeration(std::u16string_view name) {
  auto found = classes_ ? classes_->findClass(name) : std::nullopt;
  return found ? found->enumeration : nullptr;
}

void Evaluator::unknown(std::u16string_view name) const { fail("\"" + toUtf8(name) + "\" is not known here"); }

HostArray Evaluator::name(const Node& node) {
  if (node.text == u"end")
    return end();
  if (auto* variable = findVariable(node.text))
    return *variable;
  return callFunction(node, {});
}

HostArray Evaluator::end() const {
  if (!end_)
    fail("\"end\" stands in subscripts only");
  return HostArray::scalar(static_cast<double>(lastPosition(end_->array, end_->place, end_->count)));
}

HostArray Evaluator::call(const Node& node) {
  if (node.text.empty())
    return elements(value(node.child(0)), node, node.children.subspan(1));
  if (auto* variable = findVariable(node.text))
    return elements(*variable, node, node.children);
  if (auto exact = integersWithAllDigits(node))
    return exact;
  auto given = arguments(node.children);
  position_ = node.position;
  return callFunction(node, viewOf(given));
}

HostArray Evaluator::elements(const HostArray& array, const Node& node, std::span<const Node* const> nodes) {
  auto chosen = subscripts(array, nodes);
  position_ = node.position;
  return elementsAt(budget_, array, viewOf(chosen));
}

HostArray Evaluator::callFunction(const Node& node, std::span<const HostArray> arguments) {
  if (auto* entry = findFunction(node.text)) {
    if (arguments.size() < entry->fewest || arguments.size() > entry->most)
      fail("\"" + toUtf8(node.text) + "\" does not take so many arguments");
    return entry->function({budget_, arguments});
  }
  if (node.text.find(u'.') != node.text.npos)
    return dottedName(node.text, arguments);
  auto* enumeration = arguments.size() == 1 ? findEnumeration(node.text) : nullptr;
  if (!enumeration)
    unknown(node.text);
  return enumerationFrom(*enumeration, arguments[0]);
}

/// int64(...) of integer literals, single or in brackets, reads them digit for digit; null for any other call.
HostArray Evaluator::integersWithAllDigits(const Node& call) const {
  auto c = call.children.size() == 1 ? classNamed(call.text) : std::nullopt;
  if (!c || !isInteger(*c))
    return {};
  auto& argument = call.child(0);
  if (auto literal = integerLiteral(argument))
    return convertLiteral(*literal, *c);
  if (argument.kind != NodeKind::Matrix || !needsExtendedPrecision(*c))
    return {};
  Values rows, elements;
  for (auto* row : argument.children) {
    elements.clear();
    for (auto* element : row->children) {
      auto literal = integerLiteral(*element);
      if (!literal)
        return {};
      elements.push_back(convertLiteral(*literal, *c));
    }
    budget_.spend(elements.size());
    rows.push_back(concatenate(budget_, 1, viewOf(elements)));
  }
  return rows.empty() ? HostArray() : concatenate(budget_, 0, viewOf(rows));
}

/// Colors.Red, char.empty(0,3), and a class whose name has dots, called with one argument.
HostArray Evaluator::dottedName(std::u16string_view name, std::span<const HostArray> arguments) {
  auto dot = name.rfind(u'.');
  auto owner = name.substr(0, dot), last = name.substr(dot + 1);
  if (findVariable(name.substr(0, name.find(u'.'))))
    unknown(name); // a variable hides classes, and none has fields
  if (last == u"empty")
    return emptyArray(owner, arguments);
  if (auto* enumeration = findEnumeration(owner); enumeration && arguments.empty()) {
    if (auto index = enumeration->indexOfName(last))
      return HostArray::enumeration(*enumeration, *index);
  }
  auto* enumeration = arguments.size() == 1 ? findEnumeration(name) : nullptr;
  if (!enumeration)
    unknown(name);
  return enumerationFrom(*enumeration, arguments[0]);
}

HostArray Evaluator::emptyArray(std::u16string_view className, std::span<const HostArray> arguments) {
  auto extents = arguments.empty() ? Dimensions{0, 0} : extentsFromArguments(arguments);
  if (std::find(extents.begin(), extents.end(), 0u) == extents.end())
    fail("an empty array has an extent of zero");
  if (auto c = classNamed(className))
    return HostArray::zeros(*c, extentsOf(extents));
  auto* enumeration = findEnumeration(className);
  if (!enumeration)
    unknown(className);
  return HostArray::enumeration(*enumeration, extentsOf(extents), {});
}

/// Members from their names (a text, strings, a cell of texts) or from their values.
HostArray Evaluator::enumerationFrom(const EnumerationClass& enumeration, const HostArray& array) {
  if (array.arrayClass() == ArrayClass::Enumeration) {
    if (array.enumerationClass().name() != enumeration.name())
      fail("this is a member of another enumeration");
    return array;
  }
  bool isText = array.arrayClass() == ArrayClass::Char || array.arrayClass() == ArrayClass::Cell;
  auto source = isText ? convert(budget_, array, ArrayClass::String) : array;
  auto extents = array.arrayClass() == ArrayClass::Cell ? array.dimensions() : source.dimensions();
  budget_.charge(ArrayClass::Enumeration, extents);
  std::vector<std::uint32_t> indices;
  for (std::uint64_t i = 0; i < source.count(); ++i) {
    std::optional<std::uint32_t> index;
    if (source.arrayClass() == ArrayClass::String) {
      index = enumeration.indexOfName(source.strings()[static_cast<std::size_t>(i)]);
    } else if (isNumeric(source.arrayClass())) {
      double value = source.numberAt(i);
      if (value == std::floor(value) && std::abs(value) <= 2147483648.0)
        index = enumeration.indexOfValue(static_cast<std::int64_t>(value));
    }
    if (!index)
      fail("\"" + toUtf8(enumeration.name()) + "\" has no such member");
    indices.push_back(*index);
  }
  return HostArray::enumeration(enumeration, extents, indices);
}

Values Evaluator::arguments(std::span<const Node* const> nodes) {
  Values result;
  for (auto* node : nodes) {
    if (node->kind == NodeKind::AllOf)
      fail("a lone colon is for subscripts", node->position);
    values(*node, result);
  }
  return result;
}

Values Evaluator::subscripts(const HostArray& array, std::span<const Node* const> nodes) {
  Values result;
  auto* outer = end_;
  for (std::size_t place = 0; place < nodes.size(); ++place) {
    EndMeaning meaning{array, place, nodes.size()};
    end_ = &meaning;
    if (nodes[place]->kind == NodeKind::AllOf)
      result.push_back(Subscript());
    else
      values(*nodes[place], result);
    end_ = outer; // an error ends the whole evaluation, so only this way back matters
  }
  return result;
}

} // namespace kavra::standalone
