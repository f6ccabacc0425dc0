// pelmora-sheets: word-search worksheets for a class. Deals many puzzles of
// one word list, each as the game deals it, into one PDF of worksheets, one
// a page, optionally followed by their answer keys; or stores a word list as
// a new game. See --help, or the manual page made from the same text.

#include <unistd.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QSaveFile>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "app/profile_path.h"
#include "board/board.h"
#include "board/deal.h"
#include "platform/event_door.h"
#include "platform/file_system.h"
#include "platform/random.h"
#include "platform/text.h"
#include "profile/game_library.h"
#include "profile/profile_store.h"
#include "tools/pelmora-sheets/new_game.h"
#include "tools/pelmora-sheets/puzzle.h"
#include "tools/pelmora-sheets/word_list.h"
#include "tools/pelmora-sheets/worksheet.h"

namespace pelmora {
namespace {

constexpr int kDone = 0;
constexpr int kInputError = 2;
constexpr int kWriteError = 3;
constexpr int kMostCopies = 100000;

constexpr const char* kUsage =
    "usage: pelmora-sheets [--ini PATH] (--game NAME | --words FILE) [--copies N] [--answers]\n"
    "                      [--paper a4|letter] [--title TEXT] [--no-word-list] [--seed S]\n"
    "                      -o OUT.pdf\n"
    "       pelmora-sheets [--ini PATH] --add-game NAME --words FILE\n";

constexpr const char* kHelp =
    "Makes word-search worksheets for a class: N different puzzles of one word list in\n"
    "one PDF, each a fresh deal of the words as the game deals them, one puzzle a page:\n"
    "a title, a line for the pupil's name and the date, what to do, the board as large\n"
    "as the paper allows, the words to find under it, and \"Puzzle N of M\" at the foot.\n"
    "Or stores a word list as a new game.\n"
    "\n"
    "  --game NAME      deal the words of the stored game NAME\n"
    "  --words FILE     deal the words of a text file: one word a line; blank lines and\n"
    "                   lines starting with # are skipped; each word keeps only its\n"
    "                   letters A to Z, upper-cased, at most 15; at most 16 words\n"
    "  --copies N       make N puzzles, each dealt anew (default 1)\n"
    "  --answers        after all the puzzles, their answer keys, four to a page: each\n"
    "                   board with every hidden word marked by a band in its own colour\n"
    "  --paper PAPER    a4 or letter; by default the paper of the locale (LC_PAPER)\n"
    "  --title TEXT     the title at the head of every page (default: the game's name,\n"
    "                   or the word file's name without its extension)\n"
    "  --no-word-list   leave the words to find off the pages\n"
    "  --seed S         deal the same puzzles on every run (S a whole number); without\n"
    "                   it every run deals new ones\n"
    "  -o OUT.pdf       the PDF file to write (replaced only once it is complete)\n"
    "  --add-game NAME  store the words of --words FILE as a new game called NAME, as\n"
    "                   the designer's Save of a new entry would; a blank name, a name\n"
    "                   already listed and one the profile can't hold are refused\n"
    "  --ini PATH       the profile the games are read from and stored in (default:\n"
    "                   the player's own, ~/.config/pelmora/wsearch.ini)\n"
    "  -h, --help       show this help\n"
    "\n"
    "Words that can't be hidden on the board are left out of a puzzle and named on\n"
    "standard error. A run of more than a second shows its progress on standard error.\n"
    "\n"
    "Exit status: 0 done; 2 a usage or input error (one line on standard error names\n"
    "it); 3 the PDF or the profile could not be written.\n"
    "\n"
    "Examples:\n"
    "  pelmora-sheets --words spring.txt --copies 30 --answers -o spring.pdf\n"
    "  pelmora-sheets --words spring.txt --copies 30 --paper letter --title \"Spring\" -o spring.pdf\n"
    "  pelmora-sheets --add-game Spring --words spring.txt\n"
    "  pelmora-sheets --game SPRING --copies 30 --seed 7 -o spring.pdf\n";

void Say(const std::string& line) { std::fprintf(stderr, "pelmora-sheets: %s\n", line.c_str()); }

// Qt's notes on its own set-up (no runtime folder, say) are no news to the
// teacher: standard error carries what this tool has to say, and Qt's
// errors.
void QtMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
  if (type == QtCriticalMsg || type == QtFatalMsg) Say(message.toStdString());
}

int Refuse(const std::string& line) {
  Say(line);
  return kInputError;
}

struct Options {
  bool help = false;
  std::string ini;
  std::optional<std::string> game, words, output, addGame;
  int copies = 1;
  bool answers = false;
  std::optional<Paper> paper;
  std::optional<std::string> title;
  bool wordList = true;
  std::optional<std::uint64_t> seed;
};

template <typename Number>
bool ParseNumber(std::string_view text, Number& out) {
  const char* end = text.data() + text.size();
  const auto [at, ec] = std::from_chars(text.data(), end, out);
  return ec == std::errc() && at == end && !text.empty();
}

// The options, or the one line that says what is wrong with them.
std::string ParseOptions(int argc, char** argv, Options& o) {
  bool seenPuzzleOption = false;
  for (int i = 1; i < argc; ++i) {
    std::string_view arg = argv[i];
    std::optional<std::string_view> attached;
    if (arg.starts_with("--") && arg.find('=') != std::string_view::npos) {
      attached = arg.substr(arg.find('=') + 1);
      arg = arg.substr(0, arg.find('='));
    }
    auto value = [&](std::string& out) -> bool {
      if (attached) out = *attached;
      else if (i + 1 < argc) out = argv[++i];
      else return false;
      return true;
    };
    std::string v;
    if (arg == "-h" || arg == "--help") {
      o.help = true;
    } else if (arg == "--answers" && !attached) {
      o.answers = seenPuzzleOption = true;
    } else if (arg == "--no-word-list" && !attached) {
      o.wordList = false;
      seenPuzzleOption = true;
    } else if (arg == "--paper" || arg == "--title") {
      if (!value(v)) return std::string(arg) + " needs a value";
      seenPuzzleOption = true;
      if (arg == "--title") {
        o.title = v;
      } else {
        o.paper = PaperNamed(v);
        if (!o.paper) return "unknown paper \"" + v + "\": --paper takes a4 or letter";
      }
    } else if (arg == "--ini" || arg == "--game" || arg == "--words" || arg == "-o" || arg == "--output" ||
               arg == "--add-game" || arg == "--copies" || arg == "--seed") {
      if (!value(v)) return std::string(arg) + " needs a value";
      if (arg == "--ini") {
        o.ini = v;
      } else if (arg == "--game") {
        o.game = v;
      } else if (arg == "--words") {
        o.words = v;
      } else if (arg == "--add-game") {
        o.addGame = v;
      } else if (arg == "-o" || arg == "--output") {
        o.output = v;
        seenPuzzleOption = true;
      } else if (arg == "--copies") {
        if (!ParseNumber(v, o.copies) || o.copies < 1 || o.copies > kMostCopies) {
          return "--copies takes a whole number from 1 to " + std::to_string(kMostCopies) + ", not \"" + v + "\"";
        }
        seenPuzzleOption = true;
      } else {
        std::uint64_t seed = 0;
        if (!ParseNumber(v, seed)) return "--seed takes a whole number, not \"" + v + "\"";
        o.seed = seed;
        seenPuzzleOption = true;
      }
    } else {
      return (arg.starts_with("-") ? "unknown option " : "unexpected argument ") + std::string(argv[i]);
    }
  }
  if (o.help) return {};
  if (o.addGame) {
    if (o.game || seenPuzzleOption) return "--add-game takes only --ini and --words";
    if (!o.words) return "--add-game needs the words: --words FILE";
    return {};
  }
  if (o.game && o.words) return "give either --game or --words, not both";
  if (!o.game && !o.words) return "give the words to deal: --game NAME or --words FILE";
  if (!o.output) return "give the PDF to write: -o OUT.pdf";
  return {};
}

// The progress of a long run, on standard error: nothing for the first
// second; then on a terminal one line that updates in place, and elsewhere
// (a log) a line at each tenth of the run.
class Progress {
 public:
  explicit Progress(int total) : total_(total), terminal_(isatty(STDERR_FILENO) == 1) {}

  // count of the run's total puzzles made, or of their keys (the keys are
  // counted afresh from the first).
  void Done(int count, const char* what = "puzzles") {
    if (what != what_) tenths_ = 0;
    what_ = what;
    const auto now = Clock::now();
    if (now - start_ < std::chrono::seconds(1)) return;
    if (terminal_) {
      if (showing_ && count < total_ && now - drawn_ < std::chrono::milliseconds(100)) return;
      std::fprintf(stderr, "\rpelmora-sheets: %d of %d %s\033[K", count, total_, what);
      std::fflush(stderr);
      showing_ = true;
      drawn_ = now;
    } else if (count * 10 / total_ > tenths_) {
      tenths_ = count * 10 / total_;
      Say(std::to_string(count) + " of " + std::to_string(total_) + " " + what);
    }
  }

  // A line of its own, above the progress line.
  void Tell(const std::string& line) {
    if (showing_) std::fputs("\r\033[K", stderr);
    showing_ = false;
    Say(line);
  }

  void Finish() {
    if (showing_) std::fputc('\n', stderr);
    showing_ = false;
  }

 private:
  using Clock = std::chrono::steady_clock;
  int total_;
  bool terminal_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point drawn_;
  bool showing_ = false;
  int tenths_ = 0;
  const char* what_ = "";
};

std::string ProfilePath(const Options& o) { return o.ini.empty() ? PlayerProfilePath() : o.ini; }

int StoreGame(const Options& o, const std::vector<std::string>& words) {
  PosixFileSystem fileSystem;
  ProfileStore store(ProfilePath(o), fileSystem);
  EventDoor door;
  door.Attach(store);
  const NewGameOutcome outcome = AddGame(store, door, *o.addGame, words);
  if (outcome.exitStatus != kDone) Say(outcome.message);
  return outcome.exitStatus;
}

// The words of the stored game, read as a deal in the window reads them.
std::string ReadStoredGame(const Options& o, std::vector<std::string>& words, std::string& title) {
  PosixFileSystem fileSystem;
  ProfileStore store(ProfilePath(o), fileSystem);
  for (const std::string& game : ListGames(store, /*gamesStops=*/false)) {
    if (UCase(game) != UCase(*o.game)) continue;
    words = ReadGameWords(store, game);
    title = game;
    return {};
  }
  return store.Path() + " has no game called " + *o.game;
}

int MakeSheets(const Options& o, const std::vector<std::string>& words, const std::string& title) {
  const QString path = QString::fromLocal8Bit(o.output->c_str());
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly)) {
    Say("can't write " + *o.output + ": " + file.errorString().toStdString());
    return kWriteError;
  }
  SheetOptions sheets;
  sheets.paper = o.paper ? *o.paper : LocalePaper();
  sheets.title = o.title ? *o.title : title;
  sheets.puzzleCount = o.copies;
  sheets.wordList = o.wordList;
  WorksheetPdf pdf(file, sheets);
  std::unique_ptr<RandomSource> random;
  if (o.seed) random = std::make_unique<SeededRandom>(*o.seed);
  else random = std::make_unique<ClockSeededRandom>();

  FlexGrid grid("Grid1", TwipRect{}, 0);
  SetUpBoard(grid);
  Progress progress(o.copies);
  auto unpainted = [&] {
    progress.Finish();
    Say("can't write " + *o.output + ": the PDF could not be drawn");
    return kWriteError;
  };
  std::set<std::string> told;  // each set of left-out words is named once
  // The keys come after every puzzle, so that the pupils' pages print as
  // one run: what each key shows is kept until then.
  std::vector<PuzzleKey> keys;
  if (o.answers) keys.reserve(static_cast<std::size_t>(o.copies));
  for (int n = 1; n <= o.copies; ++n) {
    Puzzle puzzle = DealPuzzle(grid, *random, words);
    if (!puzzle.deal.leftOut.empty()) {
      const std::string news = LeftOutMessage(puzzle.deal.leftOut);
      if (told.insert(news).second) progress.Tell(news);
    }
    PuzzleKey key{BoardLetters(*puzzle.board), std::move(puzzle.deal.placed)};
    if (!pdf.AddPuzzle(key.board, puzzle.wordList)) return unpainted();
    if (o.answers) keys.push_back(std::move(key));
    progress.Done(n);
  }
  constexpr int kKeysAPage = 4;
  for (int first = 0; first < static_cast<int>(keys.size()); first += kKeysAPage) {
    const int count = std::min(kKeysAPage, static_cast<int>(keys.size()) - first);
    if (!pdf.AddKeyPage(first + 1, &keys[static_cast<std::size_t>(first)], count)) return unpainted();
    progress.Done(first + count, "keys");
  }
  progress.Finish();
  if (!pdf.Finish() || !file.commit()) {
    Say("can't write " + *o.output + ": " + file.errorString().toStdString());
    return kWriteError;
  }
  return kDone;
}

}  // namespace
}  // namespace pelmora

int main(int argc, char** argv) {
  using namespace pelmora;
  Options o;
  const std::string problem = ParseOptions(argc, argv, o);
  if (o.help) {
    std::fputs(kUsage, stdout);
    std::fputs("\n", stdout);
    std::fputs(kHelp, stdout);
    return kDone;
  }
  if (!problem.empty()) return Refuse(problem + " (see pelmora-sheets --help)");

  std::vector<std::string> words;
  std::string title;  // what the pages are titled unless --title says
  if (o.words) {
    WordList list = ReadWordFile(*o.words);
    if (!list.error.empty()) return Refuse(list.error);
    words = std::move(list.words);
    title = std::filesystem::path(*o.words).stem().string();
  }

  // Qt's own arguments are not the tool's: the application sees none.
  qInstallMessageHandler(QtMessages);
  static int qtArgc = 1;
  static char* qtArgv[] = {argv[0], nullptr};
  if (o.addGame) {
    QCoreApplication app(qtArgc, qtArgv);
    return StoreGame(o, words);
  }
  // The sheets are drawn with no window: offscreen, unless a platform is chosen.
  if (std::getenv("QT_QPA_PLATFORM") == nullptr) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  QGuiApplication app(qtArgc, qtArgv);
  if (o.game) {
    const std::string missing = ReadStoredGame(o, words, title);
    if (!missing.empty()) return Refuse(missing);
  }
  return MakeSheets(o, words, title);
}
