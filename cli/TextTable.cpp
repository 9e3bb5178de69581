#include "cli/TextTable.h"

#include "tessary/Text.h"

#include <algorithm>

namespace tessary::cli {
namespace {

std::size_t widthOf(const std::string &cell) {
  return static_cast<std::size_t>(std::count_if(
      cell.begin(), cell.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

std::string csvCell(const std::string &cell) {
  const bool needsQuotes =
      cell.find_first_of(",;\"") != std::string::npos || cell.starts_with(' ') || cell.ends_with(' ');
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
  titles.reserve(columns.size());
  for (const TextTable::Column &column : columns)
    titles.push_back(column.title);
  return titles;
}

void appendCsvLine(std::string &text, const std::vector<std::string> &cells) {
  for (std::size_t i = 0; i < cells.size(); ++i)
    text.append(i == 0 ? "" : ",").append(csvCell(cells[i]));
  text += '\n';
}

} // namespace

void TextTable::addRow(std::vector<std::string> cells) {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const bool isName = columns_[i].content == Content::name;
    cells[i] = isName ? escapedNameForDisplay(cells[i]) : escapedForDisplay(cells[i]);
  }
  rows_.push_back(std::move(cells));
}

// The text is made whole and printed at once: a stream takes longer for a word than making it does.
void TextTable::print(std::ostream &out) const {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    std::size_t width = widthOf(columns_[i].title);
    for (const auto &row : rows_)
      width = std::max(width, widthOf(row[i]));
    widths.push_back(width);
  }
  std::string text;
  const auto appendLine = [&](const std::vector<std::string> &cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const std::size_t padding = widths[i] - widthOf(cells[i]);
      const bool isLast = i + 1 == cells.size();
      if (columns_[i].alignsRight)
        text.append(padding, ' ').append(cells[i]);
      else
        text.append(cells[i]).append(isLast ? 0 : padding, ' ');
      text += isLast ? "\n" : "  ";
    }
  };
  appendLine(titlesOf(columns_));
  for (const auto &row : rows_)
    appendLine(row);
  out << text;
}

void TextTable::printCsv(std::ostream &out) const {
  std::string text;
  appendCsvLine(text, titlesOf(columns_));
  for (const auto &row : rows_)
    appendCsvLine(text, row);
  out << text;
}

} // namespace tessary::cli
