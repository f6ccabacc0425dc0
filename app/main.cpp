// Pelmora: a word-search puzzle game. The run is the main window: its Load
// reads the settings, and from then on everything is an event handler.
// Closing the window ends the run; nothing is saved then, since settings are
// written when they change and records when a game is won.

#include <QApplication>
#include <cstdio>
#include <string_view>

#include "app/activation.h"
#include "app/program.h"
#include "app/single_window.h"

namespace {

constexpr const char* kHelp =
    "Usage: pelmora [QT-OPTION...]\n"
    "A word-search puzzle game: pick a game from the list and find its words on\n"
    "the board of letters. The designer makes, changes and deletes games.\n"
    "\n"
    "  -h, --help     show this help and exit\n"
    "  -v, --version  show the version and exit\n"
    "\n"
    "The options of the Qt toolkit work too: -platform NAME, -style NAME,\n"
    "-display DISPLAY and the others.\n"
    "\n"
    "Games, settings and records are kept in $XDG_CONFIG_HOME/pelmora/wsearch.ini\n"
    "(~/.config/pelmora/wsearch.ini when it is unset). Starting pelmora again on\n"
    "the same file brings the running window to the front.\n"
    "See pelmora(1).\n";

}  // namespace

int main(int argc, char* argv[]) {
  // Answered before anything needs a display.
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg == "--help" || arg == "-h") {
      std::fputs(kHelp, stdout);
      return 0;
    }
    if (arg == "--version" || arg == "-v") {
      std::printf("pelmora %s\n", PELMORA_VERSION);
      return 0;
    }
  }
  const QByteArray launchToken = pelmora::LaunchToken();  // before Qt takes it
  QApplication app(argc, argv);  // takes Qt's own options out of argv
  if (argc > 1) {
    std::fprintf(stderr, "pelmora: unknown argument %s\nTry 'pelmora --help'.\n", argv[1]);
    return 2;
  }
  pelmora::IdentifyApplication();
  const std::string profile = pelmora::PlayerProfilePath();
  int status = 0;
  {
    pelmora::SingleWindow single(profile);
    if (single.HandedToRunning(launchToken)) return pelmora::FinishRun(0);
    pelmora::Program program(profile);
    single.onAsked = [&program](const QByteArray& token) { program.BringToFront(token); };
    program.Start();
    status = QApplication::exec();
  }
  return pelmora::FinishRun(status);
}
