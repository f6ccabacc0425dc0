#include "board/board.h"

namespace pelmora {

namespace {

constexpr int kBoardOrigin = 200;       // Grid1's top and left, twips
constexpr int kGridOuterPerCell = 505;  // the control's outer size per cell

}  // namespace

void SetUpBoard(FlexGrid& grid) {
  grid.SetRows(kBoardSize);
  grid.SetCols(kBoardSize);
  grid.SetTop(kBoardOrigin);
  grid.SetLeft(kBoardOrigin);
  // Rows bounds both passes, which serves because the board is square.
  for (int i = 0; i < grid.Rows(); ++i) {
    grid.SetRowHeight(i, kCellPitch);
    grid.SetColWidth(i, kCellPitch);
  }
  grid.SetWidth(grid.Cols() * kGridOuterPerCell);
  grid.SetHeight(grid.Rows() * kGridOuterPerCell);
}

void PublishBoard(const FlexGrid& grid, PictureBox& surface) {
  surface.SetTop(grid.Top());
  surface.SetLeft(grid.Left());
  surface.SetPicture(grid.Picture());
  surface.ZOrder();
  surface.Refresh();
}

void ShowBoard(FlexGrid& grid, PictureBox& surface) {
  grid.SetVisible(false);
  PublishBoard(grid, surface);
}

}  // namespace pelmora
