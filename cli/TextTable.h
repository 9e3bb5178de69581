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

  explicit TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

  /// As many cells as there are columns.
  void addRow(std::vector<std::string> cells);

  /// Columns as wide as their widest cell, two spaces between them.
  void print(std::ostream &out) const;
  /// A line of titles, then a line for each row; cells are quoted where they need it.
  void printCsv(std::ostream &out) const;

private:
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

} // namespace tessary::cli
