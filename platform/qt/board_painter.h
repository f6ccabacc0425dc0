#pragma once
// The one painter of the board, for the screen and for paper. It draws a
// GridPicture with vectors in a coordinate system of twips: the caller sets
// the painter's transform (twips to device), so the same code is sharp at
// any device pixel ratio and on a 1200 dpi printer.

#include <QFont>
#include <QRectF>
#include <vector>

#include "platform/controls.h"
#include "platform/picture.h"

class QPainter;

namespace pelmora {

// Grid lines: one device pixel on screen whatever the scale, or a 15-twip
// line on paper, where a device pixel would be too thin to see.
enum class GridLines { Screen, Paper };

// The letters' face: DejaVu Sans at 8.25 pt, which is 165 twips, as a pixel
// size in the twips coordinate system.
QFont BoardLetterFont(bool bold);

// Whether a cell holds at most one letter A to Z, centred: its look changes
// only inside its letter box.
bool IsLoneLetter(const GridCell& cell);

// The box around the centre of a cell (twips) that a lone letter's ink
// never leaves.
QRectF LetterBoxTwips(const QRectF& cell);

// Paints the letters of the given cells (row x cols + col), each over the
// white of its letter box, for a picture painted whole before in which
// those cells' lone letters alone changed: the grid lines and the white
// around the boxes stay as they are, and far fewer pixels are touched.
void PaintGridLetters(QPainter& painter, const GridPicture& picture, const std::vector<int>& cells);

// Paints the cells of picture with their top left corner at the origin:
// white cells, light grey lines, the letters in black. Only cells that meet
// exposedTwips are painted; a null rectangle means all of them.
void PaintGridPicture(QPainter& painter, const GridPicture& picture, GridLines lines,
                      const QRectF& exposedTwips = QRectF());

// Unfilled rings, centre and radius in twips, each with a pen of drawWidth
// logical pixels (twipsPerLogicalPixel converts) in its colour 0xRRGGBB.
void PaintCircles(QPainter& painter, const std::vector<CircleMark>& circles,
                  double twipsPerLogicalPixel, const QRectF& exposedTwips = QRectF());

// The twips a circle's ring covers, pen included.
QRectF CircleBoundsTwips(const CircleMark& circle, double twipsPerLogicalPixel);

}  // namespace pelmora
