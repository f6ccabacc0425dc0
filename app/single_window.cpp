#include "app/single_window.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace pelmora {

namespace {

// The profile as one name however it is reached: through links, relative
// paths or dot segments. A file not made yet is named by its folder.
QString CanonicalProfile(const std::string& profilePath) {
  const QFileInfo file(QFile::decodeName(profilePath.c_str()));
  const QString whole = file.canonicalFilePath();
  if (!whole.isEmpty()) return whole;
  const QString folder = QFileInfo(file.absolutePath()).canonicalFilePath();
  if (folder.isEmpty()) return QDir::cleanPath(file.absoluteFilePath());
  return folder + QLatin1Char('/') + file.fileName();
}

// Holds an exclusive lock on a file while it lives. A lock held longer
// than two seconds belongs to a start that hangs: it is given up on.
class LockFile {
 public:
  explicit LockFile(const QString& path)
      : fd_(::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    QElapsedTimer waited;
    waited.start();
    while (fd_ >= 0 && ::flock(fd_, LOCK_EX | LOCK_NB) != 0 && waited.elapsed() < 2000) QThread::msleep(10);
  }
  ~LockFile() {
    if (fd_ >= 0) ::close(fd_);  // closing releases the lock
  }
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;

 private:
  int fd_;
};

}  // namespace

SingleWindow::SingleWindow(const std::string& profilePath) {
  const QByteArray path = CanonicalProfile(profilePath).toUtf8();
  const QByteArray hash = QCryptographicHash::hash(path, QCryptographicHash::Sha256).toHex().left(16);
  QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
  if (folder.isEmpty()) folder = QDir::tempPath();
  name_ = folder + QStringLiteral("/pelmora-%1-%2").arg(::getuid()).arg(QString::fromLatin1(hash));
  server_.setSocketOptions(QLocalServer::UserAccessOption);
  // A later start writes one line, "show" and its launch token, and closes.
  connect(&server_, &QLocalServer::newConnection, this, [this] {
    while (QLocalSocket* knock = server_.nextPendingConnection()) {
      const auto answer = [this, knock] {
        if (knock->property("answered").toBool()) return;
        knock->setProperty("answered", true);
        const QByteArray line = knock->readLine().trimmed();
        knock->deleteLater();
        if (onAsked) onAsked(line.startsWith("show ") ? line.mid(5) : QByteArray());
      };
      connect(knock, &QLocalSocket::readyRead, this, [knock, answer] {
        if (knock->canReadLine()) answer();
      });
      connect(knock, &QLocalSocket::disconnected, this, answer);
      if (knock->canReadLine() || knock->state() != QLocalSocket::ConnectedState) answer();
    }
  });
}

bool SingleWindow::HandedToRunning(const QByteArray& launchToken) {
  const LockFile lock(name_ + QStringLiteral(".lock"));
  QLocalSocket running;
  running.connectToServer(name_);
  if (running.waitForConnected(1000)) {
    running.write("show " + launchToken.simplified() + "\n");
    running.waitForBytesWritten(1000);
    return true;
  }
  // No one answers: whatever socket is there was left by a run that ended
  // without closing it.
  QLocalServer::removeServer(name_);
  server_.listen(name_);
  return false;
}

}  // namespace pelmora
