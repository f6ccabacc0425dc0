#pragma once
// Helpers for the board tests: a random source that plays back given draws,
// and boards written as 15 short strings so a failure prints the grid.

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "platform/grid.h"
#include "platform/random.h"

namespace pelmora::testing {

// Plays back the draws it was given; running out is a test failure.
class ScriptedRandom final : public RandomSource {
 public:
  explicit ScriptedRandom(std::deque<double> draws) : draws_(std::move(draws)) {}
  void Randomize() override { ++reseeds; }
  double Rnd() override {
    if (draws_.empty()) {
      ADD_FAILURE() << "ran out of scripted draws";
      return 0;
    }
    const double d = draws_.front();
    draws_.pop_front();
    return d;
  }
  std::size_t Left() const { return draws_.size(); }
  int reseeds = 0;

 private:
  std::deque<double> draws_;
};

// The draw that floor(Rnd x n) turns into k.
inline double DrawFor(int k, int n) { return (k + 0.5) / n; }

// Grid1 as start-up leaves it: 15 by 15 cells of 500 twips.
class TestBoard : public FlexGrid {
 public:
  TestBoard() : FlexGrid("Grid1", {}, 0) {
    SetRows(15);
    SetCols(15);
    for (int i = 0; i < 15; ++i) {
      SetRowHeight(i, 500);
      SetColWidth(i, 500);
    }
  }
};

inline std::vector<std::string> Rows(const FlexGrid& grid) {
  std::vector<std::string> rows;
  for (int r = 0; r < grid.Rows(); ++r) {
    std::string row;
    for (int c = 0; c < grid.Cols(); ++c) {
      const std::string& t = grid.CellAt(r, c).text;
      row += t.empty() ? "." : t;
    }
    rows.push_back(row);
  }
  return rows;
}

}  // namespace pelmora::testing
