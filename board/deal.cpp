#include "board/deal.h"

#include "board/filler.h"

namespace pelmora {

DealReport DealWords(FlexGrid& grid, RandomSource& random, const std::vector<std::string>& words,
                     int practiceFlag) {
  DealReport report;
  for (int word : PlaceWordList(grid, random, words, &report.placed)) {
    report.leftOut.push_back(words[static_cast<std::size_t>(word)]);
  }
  FillFreeCells(grid, random, practiceFlag);
  return report;
}

void DropLeftOutWords(ListBox& wordList, const std::vector<std::string>& leftOut) {
  for (const std::string& word : leftOut) {
    for (int i = 0; i < wordList.ListCount(); ++i) {
      if (wordList.List(i) == word) {
        wordList.RemoveItem(i);
        break;
      }
    }
  }
}

std::string LeftOutMessage(const std::vector<std::string>& leftOut) {
  std::string message = "These words could not be hidden and were left out of the game: ";
  for (std::size_t i = 0; i < leftOut.size(); ++i) {
    if (i > 0) message += ", ";
    message += leftOut[i];
  }
  return message;
}

}  // namespace pelmora
