// A deal as the new-game sequence makes it: the board cleared, the words
// placed, the free cells filled; with the clock-seeded source of a real run.
// Also one tick of the idle shuffle (the logic; the painting is measured with
// the Qt front end).
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "board/board.h"
#include "board/deal.h"
#include "board/filler.h"
#include "platform/grid.h"
#include "platform/random.h"

namespace pelmora {
namespace {

struct Board15 : FlexGrid {
  Board15() : FlexGrid("Grid1", {}, 0) { SetUpBoard(*this); }
};

void Deal(benchmark::State& state, const std::vector<std::string>& words) {
  Board15 grid;
  ClockSeededRandom random;
  std::size_t leftOut = 0;
  for (auto _ : state) {
    grid.Clear();
    leftOut += DealWords(grid, random, words, 0).leftOut.size();
    benchmark::DoNotOptimize(grid.CellAt(7, 7));
  }
  state.counters["left_out_per_deal"] =
      static_cast<double>(leftOut) / static_cast<double>(state.iterations());
}

void BM_DealEverydayWords(benchmark::State& state) {
  Deal(state, {"CAT", "DOG", "APPLE", "PEAR", "PLUM", "GARDEN", "BRIDGE", "RIVER", "CASTLE",
               "PENCIL", "WINDOW", "ORANGE", "TIGER", "LEMON", "MOUSE", "KETTLE"});
}
BENCHMARK(BM_DealEverydayWords);

void BM_DealLongWords(benchmark::State& state) {
  Deal(state, {"BLACKSMITHS", "CHAMPIONSHIP", "DANDELIONS", "ELEPHANTINE", "FIREWORKS",
               "GRASSHOPPER", "HYPOTHESIS", "INNOVATIONS", "JOURNALISTS", "KINDERGARTEN",
               "LIGHTHOUSES", "MARKETPLACE", "NIGHTINGALE", "OBSERVATORY", "PARLIAMENTS",
               "QUARTERBACK"});
}
BENCHMARK(BM_DealLongWords)->Unit(benchmark::kMicrosecond);

// Fifteen words of 13 letters (only two directions and two edge lines hold
// them) and one of 14 (none does): the worst case for the exhaustive search.
void BM_DealWordsThatCannotAllFit(benchmark::State& state) {
  std::vector<std::string> words;
  for (int i = 0; i < 15; ++i) words.push_back(std::string(13, static_cast<char>('A' + i)));
  words.push_back("ABCDEFGHIJKLMN");
  Deal(state, words);
}
BENCHMARK(BM_DealWordsThatCannotAllFit)->Unit(benchmark::kMillisecond);

void BM_IdleShuffleTick(benchmark::State& state) {
  Board15 grid;
  PictureBox surface("Picture1", {720, 0, 975, 615}, 1, 3);
  ClockSeededRandom random;
  for (auto _ : state) {
    ShuffleBoard(grid, random);
    ShowBoard(grid, surface);
    benchmark::DoNotOptimize(surface.Picture());
  }
}
BENCHMARK(BM_IdleShuffleTick)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace pelmora

BENCHMARK_MAIN();
