#include "tavo/core/MessageCatalog.h"

#include <algorithm>
#include <mutex>

namespace tavo {
namespace {

struct Tables {
  std::mutex mutex;
  std::vector<std::span<const Message>> all;
};

/// Made at the first use, which is the start-up code of a library, and never destroyed: errors may be raised until the
/// end.
Tables& tables() {
  static auto* const instance = new Tables;
  return *instance;
}

} // namespace

MessageCatalog::Registration::Registration(std::span<const Message> sorted) : messages_(sorted) {
  const std::lock_guard lock(tables().mutex);
  tables().all.push_back(sorted);
}

MessageCatalog::Registration::~Registration() {
  const std::lock_guard lock(tables().mutex);
  std::erase_if(tables().all, [&](const auto& table) { return table.data() == messages_.data(); });
}

std::optional<std::string_view> MessageCatalog::find(std::string_view id) {
  const std::lock_guard lock(tables().mutex);
  for (const auto& table : tables().all) {
    const auto found = std::ranges::lower_bound(table, id, {}, &Message::id);
    if (found != table.end() && found->id == id)
      return found->text;
  }
  return std::nullopt;
}

std::vector<Message> MessageCatalog::all() {
  const std::lock_guard lock(tables().mutex);
  std::vector<Message> messages;
  for (const auto& table : tables().all)
    messages.insert(messages.end(), table.begin(), table.end());
  return messages;
}

} // namespace tavo
