// The one exception type of this layer.
#pragma once

#include "kavra/Export.h"

#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kavra {

/// An error with an identifier ("kavra:messages:CannotReadEnumeration"), its string arguments and a readable text.
/// Callers compare identifiers and arguments; the text is for people. Copying never throws.
class KAVRA_EXPORT Error : public std::exception {
public:
  /// In `text`, {0}, {1} ... stand for the arguments.
  Error(std::string_view id, std::string_view text, std::vector<std::u16string> arguments = {});

  const std::string& id() const noexcept;
  const std::vector<std::u16string>& arguments() const noexcept;
  const char* what() const noexcept override;

private:
  struct State;
  std::shared_ptr<const State> state_;
};

} // namespace kavra
