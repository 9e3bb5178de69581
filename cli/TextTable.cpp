#include "cli/TextTable.h"

#include "filesystem/Text.h"

#include <algorithm>

namespace tessary::cli {
namespace {

std::size_t widthOf(const std::string &cell) {
  return static_cast<std::size_t>(std::count_if(
      cell.begin(), cell.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

std::string csvCell(const std::string &cell) {
  const bool needsQuotes =
      cell.find_first_of(",\"") != std::string::npos || cell.starts_with(' ') || cell.ends_with(' ');
  if (!needsQuotes) return cell;
  std::string quoted = "\"";
  for (const char character : cell) {
    if (character == '"') quoted += '"';
    quoted += character;
  }
  return quoted + '"';
}

std::vector<std::string> titlesOf(const std::vector<TextTable::Column> &columns) {
  std::vector<std::string> titles;
  for (const TextTable::Column &column : columns)
    titles.push_back(column.title);
  return titles;
}

void printCsvLine(std::ostream &out, const std::vector<std::string> &cells) {
  for (std::size_t i = 0; i < cells.size(); ++i)
    out << (i == 0 ? "" : ",") << csvCell(cells[i]);
  out << '\n';
}

} // namespace

void TextTable::addRow(std::vector<std::string> cells) {
  for (std::string &cell : cells)
    cell = escapedForDisplay(cell);
  rows_.push_back(std::move(cells));
}

void TextTable::print(std::ostream &out) const {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    std::size_t width = widthOf(columns_[i].title);
    for (const auto &row : rows_)
      width = std::max(width, widthOf(row[i]));
    widths.push_back(width);
  }
  const auto printLine = [&](const std::vector<std::string> &cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const std::string padding(widths[i] - widthOf(cells[i]), ' ');
      const bool isLast = i + 1 == cells.size();
      if (columns_[i].alignsRight)
        out << padding << cells[i];
      else
        out << cells[i] << (isLast ? "" : padding);
      out << (isLast ? "\n" : "  ");
    }
  };
  printLine(titlesOf(columns_));
  for (const auto &row : rows_)
    printLine(row);
}

void TextTable::printCsv(std::ostream &out) const {
  printCsvLine(out, titlesOf(columns_));
  for (const auto &row : rows_)
    printCsvLine(out, row);
}

} // namespace tessary::cli
