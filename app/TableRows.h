#pragma once

class QTableView;

namespace tessary {

// What the window's tables have in common, of files and of a bank's entries: rows of one height without a
// grid, whole rows selected.
void setUpRows(QTableView *table);
/// Rows and titles as high as the text size of the window asks for.
void setRowTextSize(QTableView *table);

} // namespace tessary
