#include "tools/zelkor/model/Table.h"

#include "tools/zelkor/model/Errors.h"

#include <csv.h>

#include <algorithm>
#include <memory>

namespace zelkor::command {
namespace {

struct Reading {
  std::vector<TableRow> rows{};
  TableRow row{1, {}};
  std::uint32_t line = 1;
  int lastEnd = 0; ///< the character that has ended a row
};

std::uint32_t lineEnds(std::string_view text) {
  std::uint32_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i)
    count += text[i] == '\n' || (text[i] == '\r' && text.substr(i + 1, 1) != "\n");
  return count;
}

// The library calls these with what it was given; memory that runs out must not pass through it.

void takeCell(void* text, std::size_t size, void* data) {
  auto& reading = *static_cast<Reading*>(data);
  reading.row.cells.emplace_back(static_cast<const char*>(text), size);
  reading.line += lineEnds(reading.row.cells.back());
}

void takeRow(int end, void* data) {
  auto& reading = *static_cast<Reading*>(data);
  const auto isSecondOfPair = end == '\n' && reading.lastEnd == '\r' && reading.row.cells.empty();
  if (std::ranges::any_of(reading.row.cells, [](const std::string& cell) { return !cell.empty(); }))
    reading.rows.push_back(std::move(reading.row));
  reading.line += isSecondOfPair ? 0 : 1;
  reading.row = {reading.line, {}};
  reading.lastEnd = isSecondOfPair ? 0 : end;
}

struct Parser {
  Parser() {
    if (csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI | CSV_REPALL_NL) != 0)
      throw std::bad_alloc();
  }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;
  ~Parser() { csv_free(&parser); }
  csv_parser parser;
};

} // namespace

std::vector<TableRow> readTable(std::string_view content) {
  if (content.starts_with("\xef\xbb\xbf"))
    content.remove_prefix(3); // spreadsheets like to mark their UTF-8
  if (content.starts_with("\xff\xfe") || content.starts_with("\xfe\xff"))
    tavo::raise(ModelCommandError::BadTable, 1, "the table is in UTF-16; save it as UTF-8");
  Parser csv;
  Reading reading;
  const auto read = csv_parse(&csv.parser, content.data(), content.size(), takeCell, takeRow, &reading);
  if (read != content.size() || csv_fini(&csv.parser, takeCell, takeRow, &reading) != 0)
    tavo::raise(ModelCommandError::BadTable, reading.row.line,
                "a double quote is missing, or stands where none can; one in a cell is written as two");
  return std::move(reading.rows);
}

std::string tableCell(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == text.npos && (text.empty() || (text.front() != ' ' && text.back() != ' ')))
    return std::string(text);
  std::string quoted = "\"";
  for (const char c : text)
    quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + '"';
}

} // namespace zelkor::command
