#include "cli/TextTable.h"

#include "tessary/Text.h"

#include <algorithm>

namespace tessary::cli {
namespace {

// Cells that are shown as they are, as nearly all of them.
bool isPlain(const std::string &cell) {
  return std::all_of(cell.begin(), cell.end(),
                     [](char byte) { return byte >= 0x20 && byte < 0x7F && byte != '\\'; });
}

// In characters.
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

TextTable::TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {
  for (const Column &column : columns_)
    widths_.push_back(widthOf(column.title));
}

void TextTable::addRow(std::vector<std::string> cells) {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    std::string &cell = cells[i];
    const bool isName = columns_[i].content == Content::name;
    const bool isShownAsItIs = isPlain(cell);
    if (!isShownAsItIs) cell = isName ? escapedNameForDisplay(cell) : escapedForDisplay(cell);
    widths_[i] = std::max(widths_[i], isShownAsItIs ? cell.size() : widthOf(cell));
  }
  rows_.push_back(std::move(cells));
}

void TextTable::appendLine(const std::vector<std::string> &cells, std::string &text) const {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::size_t padding = widths_[i] - widthOf(cells[i]);
    const bool isLast = i + 1 == cells.size();
    if (columns_[i].alignsRight)
      text.append(padding, ' ').append(cells[i]);
    else
      text.append(cells[i]).append(isLast ? 0 : padding, ' ');
    text += isLast ? "\n" : "  ";
  }
}

// The text is made whole and printed at once: a stream takes longer for a word than making it does.
void TextTable::print(std::ostream &out) const {
  std::string text;
  appendLine(titlesOf(columns_), text);
  for (const auto &row : rows_)
    appendLine(row, text);
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
