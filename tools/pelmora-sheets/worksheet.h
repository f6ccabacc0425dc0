#pragma once
// The pages of a class set, laid out as worksheets a teacher hands out: one
// puzzle a page, the board as large as the paper allows, and after all the
// puzzles their answer keys, four to a page. Pages go to the PDF as they are
// made; a key needs only its board's letters and where the words went, so a
// run of a thousand puzzles keeps that much of each and no page.

#include <QPainter>
#include <QPdfWriter>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/word_placer.h"
#include "platform/picture.h"

class QIODevice;

namespace pelmora {

enum class Paper { A4, Letter };

// "a4" or "letter", in either case; nothing for any other name.
std::optional<Paper> PaperNamed(std::string_view name);

// The paper of the user's locale (LC_PAPER): Letter where the locale's paper
// is Letter, as in the United States and Canada; A4 everywhere else.
Paper LocalePaper();

// The letters of a dealt board, row by row, held compactly: the keys of a
// long run wait in memory until every puzzle has been printed.
class BoardLetters {
 public:
  explicit BoardLetters(const GridPicture& picture);
  int Rows() const { return rows_; }
  int Cols() const { return cols_; }
  std::string_view At(int row, int col) const;

 private:
  int rows_ = 0, cols_ = 0;
  std::string text_;                 // every cell's text, end to end
  std::vector<std::uint16_t> ends_;  // where each cell's text ends in text_
};

// What a key shows: the board and where each hidden word lies on it.
struct PuzzleKey {
  BoardLetters board;
  std::vector<WordPlacement> placed;
};

struct SheetOptions {
  Paper paper = Paper::A4;
  std::string title;      // at the head of every puzzle and key; may be empty
  int puzzleCount = 1;    // M of "Puzzle N of M"
  bool wordList = true;   // the words to find under each board
};

class WorksheetPdf {
 public:
  // device must be open for writing and outlive the writer.
  WorksheetPdf(QIODevice& device, SheetOptions options);
  WorksheetPdf(const WorksheetPdf&) = delete;
  WorksheetPdf& operator=(const WorksheetPdf&) = delete;

  // The next puzzle's page: the board and, unless left out, its words to
  // find (in the order given). False once the device can't be painted on.
  bool AddPuzzle(const BoardLetters& board, const std::vector<std::string>& words);

  // A page of up to four keys, two by two, the first of them key number
  // firstNumber; each board with every hidden word marked by a band.
  bool AddKeyPage(int firstNumber, const PuzzleKey* keys, int count);

  // Ends the document; false when it could not be completed.
  bool Finish();

 private:
  bool NextPage();
  double Mm(double millimetres) const;
  // The title, the line for the name and the date, and what to do (which
  // speaks of the words below when they are there); returns where it ends.
  double PaintHead(bool wordList);
  // A line at the foot of the page; returns where it begins.
  double PaintFoot(const QString& line);

  SheetOptions options_;
  QPdfWriter writer_;
  QPainter painter_;
  int puzzlesMade_ = 0;
  bool started_ = false;
  bool failed_ = false;
};

}  // namespace pelmora
