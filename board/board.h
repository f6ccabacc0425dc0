#pragma once
// The Board: the 15 by 15 letter grid Grid1, addressed through its cursor,
// and its publication on the surface Picture1. Nothing on screen shows a
// cell until ShowBoard.

#include "platform/controls.h"
#include "platform/grid.h"

namespace pelmora {

inline constexpr int kBoardSize = 15;      // rows and columns
inline constexpr int kCellPitch = 500;     // twips, on the grid and the surface
inline constexpr int kCentred = 4;         // CellAlignment: centred both ways

// A ring round a letter on the surface runs from its cell's left and top
// edges to 400 twips in, so the rings of neighbouring cells never meet: its
// centre is 200 in from those edges, not the cell's middle.
inline constexpr int kRingRadius = 200;
// The ring's centre along one axis, for the cell's row or column.
constexpr int RingCentre(int cell) { return kRingRadius + kCellPitch * cell; }

// Grid1 as start-up sets it up: 15 by 15 cells of 500 twips at (200, 200),
// the control's outer size 505 twips a cell.
void SetUpBoard(FlexGrid& grid);

// Publishes the board: Grid1 hidden, Picture1 moved to Grid1's Top and Left,
// given Grid1's picture, brought to the front and refreshed. The picture
// replaces everything drawn on the surface.
void ShowBoard(FlexGrid& grid, PictureBox& surface);

// ShowBoard without its first act, for start-up, which hid the grid already.
void PublishBoard(const FlexGrid& grid, PictureBox& surface);

}  // namespace pelmora
