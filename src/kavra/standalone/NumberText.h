// Decimal numbers in expression texts, shared by the evaluator and its fast path so that both read the same.
#pragma once

#include <cstddef>
#include <string_view>

namespace kavra::standalone {

/// The length of the decimal number that `text` starts with, zero when there is none. A dot that begins an operator
/// (1.*x) or a continuation (1...) is not part of the number.
std::size_t scanDecimal(std::u16string_view text);

/// The nearest double of a text that scanDecimal takes whole; infinite beyond the largest, zero below the smallest.
double decimalValue(std::u16string_view text);

} // namespace kavra::standalone
