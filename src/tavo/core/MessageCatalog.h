// The texts of error messages, by identifier.
#pragma once

#include "tavo/Export.h"

#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace tavo {

/// One text of the catalog: {0}, {1}, ... stand for the arguments. Both are UTF-8 of static storage duration.
struct Message {
  std::string_view id;
  std::string_view text;
};

/// All texts of the process. Each library has its own in a TOML file, from which its build makes a table; the table
/// registers itself when the library is loaded and leaves when it is unloaded. May be used from any thread.
class TAVO_EXPORT MessageCatalog {
public:
  /// Keeps a table, sorted by identifier, in the catalog as long as it lives.
  class TAVO_EXPORT Registration {
  public:
    explicit Registration(std::span<const Message> sorted);
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
    ~Registration();

  private:
    std::span<const Message> messages_;
  };

  /// The text of an identifier, if there is one; the library that was loaded first wins.
  static std::optional<std::string_view> find(std::string_view id);

  /// Every text, in the order of loading.
  static std::vector<Message> all();
};

} // namespace tavo
