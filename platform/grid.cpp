#include "platform/grid.h"

namespace pelmora {

namespace {
constexpr int kDefaultCellWidth = 960;   // the control's default column width
constexpr int kDefaultCellHeight = 240;  // and row height, in twips
}  // namespace

FlexGrid::FlexGrid(std::string name, TwipRect rect, int tabIndex)
    : Control(std::move(name), rect, tabIndex) {
  Resize(10, 10);
}

void FlexGrid::Resize(int rows, int cols) {
  if (rows < 1) rows = 1;
  if (cols < 1) cols = 1;
  std::vector<GridCell> cells(static_cast<std::size_t>(rows * cols));
  for (int r = 0; r < std::min(rows, rows_); ++r) {
    for (int c = 0; c < std::min(cols, cols_); ++c) {
      cells[static_cast<std::size_t>(r * cols + c)] = std::move(cells_[static_cast<std::size_t>(r * cols_ + c)]);
    }
  }
  cells_ = std::move(cells);
  rowHeights_.resize(static_cast<std::size_t>(rows), kDefaultCellHeight);
  colWidths_.resize(static_cast<std::size_t>(cols), kDefaultCellWidth);
  rows_ = rows;
  cols_ = cols;
  if (row_ >= rows_) row_ = rows_ - 1;
  if (col_ >= cols_) col_ = cols_ - 1;
}

void FlexGrid::SetRows(int rows) { Resize(rows, cols_); }
void FlexGrid::SetCols(int cols) { Resize(rows_, cols); }

void FlexGrid::Clear() {
  for (GridCell& cell : cells_) cell = GridCell{};
}

int FlexGrid::RowHeight(int index) const {
  return index >= 0 && index < rows_ ? rowHeights_[static_cast<std::size_t>(index)] : 0;
}

int FlexGrid::ColWidth(int index) const {
  return index >= 0 && index < cols_ ? colWidths_[static_cast<std::size_t>(index)] : 0;
}

bool FlexGrid::SetRowHeight(int index, int twips) {
  if (index < 0 || index >= rows_) return false;
  rowHeights_[static_cast<std::size_t>(index)] = twips;
  return true;
}

bool FlexGrid::SetColWidth(int index, int twips) {
  if (index < 0 || index >= cols_) return false;
  colWidths_[static_cast<std::size_t>(index)] = twips;
  return true;
}

PictureHandle FlexGrid::Picture() const {
  auto picture = std::make_shared<GridPicture>();
  picture->rows = rows_;
  picture->cols = cols_;
  picture->rowHeights = rowHeights_;
  picture->colWidths = colWidths_;
  picture->cells = cells_;
  return picture;
}

}  // namespace pelmora
