#pragma once
// One window per profile. The first start on a profile file listens on a
// local socket named from the user and the file's canonical path; a later
// start on the same file finds it, asks the running window to come to the
// front (handing over what its launcher gave it for that), and ends. A socket left by a run that was killed answers no one:
// it is removed, and the new start runs. A lock file makes the look and
// the listening one step, so two starts at the same moment can't both run.

#include <QByteArray>
#include <QLocalServer>
#include <QObject>
#include <functional>
#include <string>

namespace pelmora {

class SingleWindow final : public QObject {
  Q_OBJECT
 public:
  explicit SingleWindow(const std::string& profilePath);

  // True when a run on this profile was there and has been asked to show
  // its window, with this start's launch token (see activation.h): this
  // start should end. Otherwise this run now listens.
  bool HandedToRunning(const QByteArray& launchToken = {});

  // Called when a later start asks for the window, with its launch token
  // (empty when it had none).
  std::function<void(const QByteArray& launchToken)> onAsked;

 private:
  QString name_;
  QLocalServer server_;
};

}  // namespace pelmora
