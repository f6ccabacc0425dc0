// Pelmora: a word-search puzzle game. The run is the main window: its Load
// reads the settings, and from then on everything is an event handler.
// Closing the window ends the run; nothing is saved then, since settings are
// written when they change and records when a game is won.

#include <QApplication>
#include <QFile>
#include <QStandardPaths>
#include <cstdio>

#include "platform/event_door.h"
#include "platform/file_system.h"
#include "platform/qt/form_window.h"
#include "platform/qt/qt_runtime.h"
#include "play/form1.h"
#include "profile/profile_store.h"

namespace {

// The player's profile: one file in the user's configuration folder, never
// beside the program or in the working directory. The store makes the
// folder on its first write.
std::string ProfilePath() {
  const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
  return QFile::encodeName(config + QStringLiteral("/pelmora/wsearch.ini")).toStdString();
}

}  // namespace

int main(int argc, char* argv[]) {
  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Pelmora"));

  pelmora::PosixFileSystem fileSystem;
  pelmora::ProfileStore store(ProfilePath(), fileSystem);
  pelmora::EventDoor door;
  door.Attach(store);
  door.onFailure = [](const std::string& what) { std::fprintf(stderr, "pelmora: %s\n", what.c_str()); };

  pelmora::QtRuntime runtime(door);
  pelmora::Form1 form(runtime, store);
  const auto window = runtime.ShowMainForm(form);
  return QApplication::exec();
}
