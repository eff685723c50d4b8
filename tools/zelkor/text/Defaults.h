// Values of the text form as expressions of the host's language, and back.
#pragma once

#include "tools/zelkor/text/ProfileText.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelkor::text {

/// The expression that a literal stands for: texts in quotes, lists of numbers as matrices, lists of texts as cells.
std::u16string expressionOf(const Literal& literal);

/// The literal that stands for exactly this expression; nothing when only an expression can say it.
std::optional<Literal> literalOf(std::u16string_view expression);

} // namespace zelkor::text
