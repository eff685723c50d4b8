// Tables in files of comma-separated values.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelkor::command {

struct TableRow {
  std::uint32_t line; ///< where it begins, counted from one
  std::vector<std::string> cells;
};

/// The rows of a table in the usual form (RFC 4180), with line ends of any system, rows of nothing left out. Raises
/// BadTable (line, problem).
std::vector<TableRow> readTable(std::string_view content);

/// A cell as it stands in such a table, in quotes where it needs them.
std::string tableCell(std::string_view text);

} // namespace zelkor::command
