#pragma once
// The picture of the letter grid: an immutable snapshot of its cells, not
// pixels. The Qt side paints it at any scale with vectors; the headless side
// prints it as text.

#include <memory>
#include <string>
#include <vector>

namespace pelmora {

struct GridCell {
  std::string text;   // empty: a free cell
  int alignment = 0;  // CellAlignment; 4 is centred both ways
  bool bold = false;  // CellFontBold
};

struct GridPicture {
  int rows = 0;
  int cols = 0;
  std::vector<int> rowHeights;  // twips
  std::vector<int> colWidths;   // twips
  std::vector<GridCell> cells;  // row by row

  const GridCell& At(int row, int col) const {
    return cells[static_cast<std::size_t>(row * cols + col)];
  }
  // Where the cells meet, in twips from the picture's corner: cols + 1
  // edges left to right and rows + 1 top to bottom, from 0 to the far side.
  std::vector<double> ColumnEdges() const;
  std::vector<double> RowEdges() const;
  // The size of the picture in twips: the cells edge to edge.
  int Width() const { return static_cast<int>(ColumnEdges().back()); }
  int Height() const { return static_cast<int>(RowEdges().back()); }
};

using PictureHandle = std::shared_ptr<const GridPicture>;

}  // namespace pelmora
