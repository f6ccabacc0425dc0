#include "app/program.h"

#include "app/activation.h"

#include <QApplication>
#include <QIcon>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace pelmora {

void IdentifyApplication() {
  QApplication::setApplicationName(QStringLiteral("Pelmora"));
  QGuiApplication::setDesktopFileName(QString::fromLatin1(kDesktopId));
  // Installed, the icon theme has the game's icon; run from the build tree
  // it has none, and the window keeps the platform's default.
  QApplication::setWindowIcon(QIcon::fromTheme(QString::fromLatin1(kDesktopId)));
}

int FinishRun(int status) {
  std::fflush(nullptr);
  if (QGuiApplication::platformName() == QLatin1String("wayland")) std::_Exit(status);
  return status;
}

// The store makes the profile's folder on its first write.
Program::Program(const std::string& profilePath, ProgramParts parts)
    : store_(profilePath, parts.fileSystem ? *parts.fileSystem : ownFileSystem_),
      runtime_(door_, parts.clocks ? *parts.clocks : ownClocks_,
               parts.random ? *parts.random : ownRandom_),
      form_(runtime_, store_) {
  door_.Attach(store_);
  door_.onFailure = [](const std::string& what) { std::fprintf(stderr, "pelmora: %s\n", what.c_str()); };
  door_.onWriteFailed = [this](const std::string& sentence) { runtime_.MsgBox(sentence, vbExclamation); };
}

void Program::BringToFront(const QByteArray& launchToken) {
  if (!window_) return;
  if (window_->isMinimized()) window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
  window_->show();
  window_->raise();
  // The token serves once: it goes with the window that takes the keys,
  // the designer when it is up.
  QWidget* modal = QApplication::activeModalWidget();
  if (modal) window_->activateWindow();
  QWidget& front = modal ? *modal : *window_;
  front.raise();
  UseLaunchToken(front, launchToken);
  front.activateWindow();
}

void Program::Start() {
  // With the profile's lock held no write can be under way: every temporary
  // beside the file is a killed run's.
  store_.RemoveLeftoverTemporaries();
  window_ = runtime_.ShowMainForm(form_);
}

}  // namespace pelmora
