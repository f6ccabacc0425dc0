// Pelmora: a word-search puzzle game. The run is the main window: its Load
// reads the settings, and from then on everything is an event handler.
// Closing the window ends the run; nothing is saved then, since settings are
// written when they change and records when a game is won.

#include <QApplication>

#include "app/program.h"

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  pelmora::IdentifyApplication();
  pelmora::Program program(pelmora::PlayerProfilePath());
  program.Start();
  return QApplication::exec();
}
