#pragma once
// Grid1, the letter grid: a table of cells behind one cursor (Row, Col).
// Text, CellAlignment and CellFontBold act on the cell under the cursor. It is
// never shown itself; Picture() gives a snapshot that a PictureBox displays.

#include <string>
#include <string_view>
#include <vector>

#include "platform/controls.h"
#include "platform/picture.h"

namespace pelmora {

class FlexGrid : public Control {
 public:
  void Accept(ControlVisitor& visitor) override { visitor.Visit(*this); }
  // As the form loads it: 10 rows and 10 columns, no fixed rows or columns.
  FlexGrid(std::string name, TwipRect rect, int tabIndex);

  int Rows() const { return rows_; }
  int Cols() const { return cols_; }
  // Changing the size keeps the cells that remain; new cells are free.
  void SetRows(int rows);
  void SetCols(int cols);

  int Row() const { return row_; }
  int Col() const { return col_; }
  // A put outside the grid fails and leaves the cursor where it is.
  bool SetRow(int row) {
    if (row < 0 || row >= rows_) return false;
    row_ = row;
    return true;
  }
  bool SetCol(int col) {
    if (col < 0 || col >= cols_) return false;
    col_ = col;
    return true;
  }

  const std::string& Text() const { return Cell().text; }
  void SetText(std::string_view text) { Cell().text = text; }
  int CellAlignment() const { return Cell().alignment; }
  void SetCellAlignment(int alignment) { Cell().alignment = alignment; }
  bool CellFontBold() const { return Cell().bold; }
  void SetCellFontBold(bool bold) { Cell().bold = bold; }

  // Frees every cell and removes the cell attributes; sizes stay.
  void Clear();

  int RowHeight(int index) const;
  int ColWidth(int index) const;
  bool SetRowHeight(int index, int twips);
  bool SetColWidth(int index, int twips);

  // A snapshot of the whole grid as it stands now; later changes of the cells
  // don't reach it.
  PictureHandle Picture() const;

  // Direct access by address, for views and tests; the logic uses the cursor.
  const GridCell& CellAt(int row, int col) const {
    return cells_[static_cast<std::size_t>(row * cols_ + col)];
  }

 private:
  GridCell& Cell() { return cells_[static_cast<std::size_t>(row_ * cols_ + col_)]; }
  const GridCell& Cell() const { return cells_[static_cast<std::size_t>(row_ * cols_ + col_)]; }
  void Resize(int rows, int cols);

  int rows_ = 0;
  int cols_ = 0;
  int row_ = 0;
  int col_ = 0;
  std::vector<GridCell> cells_;
  std::vector<int> rowHeights_;
  std::vector<int> colWidths_;
};

}  // namespace pelmora
