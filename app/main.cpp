// Pelmora: a word-search puzzle game. The run is the main window: its Load
// reads the settings, and from then on everything is an event handler.
// Closing the window ends the run; nothing is saved then, since settings are
// written when they change and records when a game is won.

#include <QApplication>

#include "app/program.h"
#include "app/single_window.h"

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  pelmora::IdentifyApplication();
  const std::string profile = pelmora::PlayerProfilePath();
  pelmora::SingleWindow single(profile);
  if (single.HandedToRunning()) return 0;
  pelmora::Program program(profile);
  single.onAsked = [&program] { program.BringToFront(); };
  program.Start();
  return QApplication::exec();
}
