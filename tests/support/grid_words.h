#pragma once
// Where a dealt word lies on the letter grid, for tests that press its
// letters or check that a listed word is really on the board.

#include <string>
#include <vector>

#include "platform/grid.h"
#include "platform/text.h"

namespace pelmora::testing {

struct GridCell {
  int row = 0;
  int col = 0;
};

// The cells of word, letter by letter, where it runs in a straight line
// along any of the eight directions; empty when it runs nowhere.
inline std::vector<GridCell> FindWord(const FlexGrid& grid, const std::string& word) {
  const std::vector<std::string> letters = Chars(word);
  const int n = static_cast<int>(letters.size());
  if (n == 0) return {};
  static constexpr int kSteps[8][2] = {{0, 1}, {0, -1}, {1, 0}, {-1, 0}, {1, 1}, {-1, -1}, {-1, 1}, {1, -1}};
  for (int r = 0; r < grid.Rows(); ++r) {
    for (int c = 0; c < grid.Cols(); ++c) {
      for (const auto& step : kSteps) {
        const int lastR = r + step[0] * (n - 1);
        const int lastC = c + step[1] * (n - 1);
        if (lastR < 0 || lastR >= grid.Rows() || lastC < 0 || lastC >= grid.Cols()) continue;
        std::vector<GridCell> cells;
        for (int k = 0; k < n; ++k) {
          const GridCell at{r + step[0] * k, c + step[1] * k};
          if (grid.CellAt(at.row, at.col).text != letters[static_cast<std::size_t>(k)]) break;
          cells.push_back(at);
        }
        if (static_cast<int>(cells.size()) == n) return cells;
      }
    }
  }
  return {};
}

}  // namespace pelmora::testing
