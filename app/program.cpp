#include "app/program.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QStandardPaths>
#include <cstdint>
#include <cstdio>

namespace pelmora {

std::string PlayerProfilePath() {
  const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
  return QFile::encodeName(config + QStringLiteral("/pelmora/wsearch.ini")).toStdString();
}

void IdentifyApplication() {
  QApplication::setApplicationName(QStringLiteral("Pelmora"));
  QGuiApplication::setDesktopFileName(QString::fromLatin1(kDesktopId));
  // Installed, the icon theme has the game's icon; run from the build tree
  // it has none, and the window keeps the platform's default.
  QApplication::setWindowIcon(QIcon::fromTheme(QString::fromLatin1(kDesktopId)));
}

// A temporary a day old belongs to no write under way: another copy of the
// program writes its own in milliseconds.
constexpr std::int64_t kStaleTemporarySeconds = 24 * 60 * 60;

// The store makes the profile's folder on its first write.
Program::Program(const std::string& profilePath)
    : store_(profilePath, fileSystem_), runtime_(door_), form_(runtime_, store_) {
  fileSystem_.RemoveStaleTemporaries(profilePath, kStaleTemporarySeconds);
  door_.Attach(store_);
  door_.onFailure = [](const std::string& what) { std::fprintf(stderr, "pelmora: %s\n", what.c_str()); };
  window_ = runtime_.ShowMainForm(form_);
}

}  // namespace pelmora
