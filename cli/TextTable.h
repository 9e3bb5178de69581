#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace tessary::cli {

/// Rows of text under a heading, for a person or as CSV. What does not print in the cells is shown escaped.
class TextTable final {
public:
  enum class Content {
    name,    ///< a backslash is shown doubled, unlike an escape
    address, ///< has its own way to write a backslash
  };
  struct Column {
    std::string title;
    bool alignsRight = false;
    Content content = Content::name;
  };

  explicit TextTable(std::vector<Column> columns);

  /// As many cells as there are columns.
  void addRow(std::vector<std::string> cells);

  /// Columns as wide as their widest cell, two spaces between them.
  void print(std::ostream &out) const;
  /// A line of titles, then a line for each row; cells are quoted where they need it.
  void printCsv(std::ostream &out) const;

private:
  void appendLine(const std::vector<std::string> &cells, std::string &text) const;

  std::vector<Column> columns_;
  std::vector<std::size_t> widths_; ///< of each column's widest cell, in characters
  std::vector<std::vector<std::string>> rows_;
};

} // namespace tessary::cli
