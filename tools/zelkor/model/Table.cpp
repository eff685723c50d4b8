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
};

// The library calls these with what it was given; memory that runs out must not pass through it.

void takeCell(void* text, std::size_t size, void* data) {
  auto& reading = *static_cast<Reading*>(data);
  reading.row.cells.emplace_back(static_cast<const char*>(text), size);
  reading.line += static_cast<std::uint32_t>(std::ranges::count(reading.row.cells.back(), '\n'));
}

void takeRow(int, void* data) {
  auto& reading = *static_cast<Reading*>(data);
  reading.rows.push_back(std::move(reading.row));
  reading.row = {++reading.line, {}};
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
  Parser csv;
  Reading reading;
  const auto read = csv_parse(&csv.parser, content.data(), content.size(), takeCell, takeRow, &reading);
  if (read != content.size() || csv_fini(&csv.parser, takeCell, takeRow, &reading) != 0)
    tavo::raise(ModelCommandError::BadTable, reading.line, csv_strerror(csv_error(&csv.parser)));
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
