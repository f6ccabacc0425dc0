#include "board/board.h"

namespace pelmora {

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
