#pragma once
// What the whole-flow window tests share: files read and written whole, the
// lines of a list widget, and a player who answers message boxes.

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QListWidget>
#include <QMessageBox>
#include <QStringList>
#include <QTimer>
#include <deque>
#include <functional>

namespace pelmora::testing {

inline QByteArray ReadFile(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline bool WriteFile(const QString& path, const QByteArray& bytes) {
  QFile file(path);
  return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

inline QStringList Items(const QListWidget& list) {
  QStringList items;
  for (int i = 0; i < list.count(); ++i) items << list.item(i)->text();
  return items;
}

// Answers every message box that comes up with the next answer in line, and
// keeps what each said. A box nobody expected is answered with its first
// button, so the run goes on and the comparison of texts shows the fault.
class BoxPlayer {
 public:
  BoxPlayer() {
    poll_.setInterval(5);
    QObject::connect(&poll_, &QTimer::timeout, [this] { Poll(); });
    poll_.start();
  }
  void Expect(QMessageBox::StandardButton answer) { answers_.push_back(answer); }

  QStringList seen;
  // Looks at a box before it is answered (the window behind it, say).
  std::function<void(QMessageBox*)> inspect;

 private:
  void Poll() {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!box || !box->isVisible()) return;
    seen << box->text();
    if (inspect) inspect(box);
    QAbstractButton* button = nullptr;
    if (!answers_.empty()) {
      button = box->button(answers_.front());
      answers_.pop_front();
    }
    if (!button) {
      seen.back().prepend(QStringLiteral("(unexpected) "));
      button = box->buttons().value(0);
    }
    if (button) button->click();
  }

  QTimer poll_;
  std::deque<QMessageBox::StandardButton> answers_;
};

}  // namespace pelmora::testing
