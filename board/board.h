#pragma once
// The Board: the 15 by 15 letter grid Grid1, addressed through its cursor,
// and its publication on the surface Picture1. Nothing on screen shows a
// cell until ShowBoard.

#include "platform/controls.h"
#include "platform/grid.h"

namespace pelmora {

inline constexpr int kCellPitch = 500;     // twips, on the grid and the surface
inline constexpr int kCentred = 4;         // CellAlignment: centred both ways

// Publishes the board: Grid1 hidden, Picture1 moved to Grid1's Top and Left,
// given Grid1's picture, brought to the front and refreshed. The picture
// replaces everything drawn on the surface.
void ShowBoard(FlexGrid& grid, PictureBox& surface);

// ShowBoard without its first act, for start-up, which hid the grid already.
void PublishBoard(const FlexGrid& grid, PictureBox& surface);

}  // namespace pelmora
