// The game's window against the real components of a desktop, each started
// for the test by a script of tests/desktop: a Wayland compositor whose
// picture of the screen is read back, and a print system with a real queue.
// Each function is run by its script alone (see CMakeLists.txt).

#include <QFileDialog>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>
#include <utility>

#include "app/program.h"
#include "platform/qt/board_painter.h"
#include "platform/qt/board_surface.h"

using namespace pelmora;

namespace {

// Waits as long as it takes: the test's own time limit is the only one.
constexpr int kNoDeadline = 24 * 3600 * 1000;

// Runs a command of the print system; its standard output.
QString Run(const QString& program, const QStringList& arguments) {
  QProcess process;
  process.start(program, arguments);
  process.waitForFinished(-1);
  return QString::fromLocal8Bit(process.readAllStandardOutput());
}

// Answers the file dialogs and message boxes that come up, as a player
// would: the dialog with path (or cancelled, for none), the box with OK.
// Keeps what they said.
class Answerer final : public QObject {
 public:
  explicit Answerer(QString path = {}) : path_(std::move(path)) {
    connect(&poll_, &QTimer::timeout, this, [this] {
      if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
        dialogTitles << dialog->windowTitle();
        if (path_.isEmpty()) {
          dialog->reject();
        } else {
          dialog->selectFile(path_);
          static_cast<QDialog*>(dialog)->accept();  // QFileDialog keeps its own accept protected
        }
      } else if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
        boxTexts << box->text();
        box->button(QMessageBox::Ok)->click();
      }
    });
    poll_.start(10);
  }
  QStringList dialogTitles, boxTexts;

 private:
  QString path_;
  QTimer poll_;
};

// Counts the paint events a widget gets.
class PaintCounter final : public QObject {
 public:
  explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }
  int count = 0;

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint) ++count;
    return false;
  }
};

// The compositor's picture of its whole output.
QImage Screenshot(const QTemporaryDir& dir) {
  QProcess shooter;
  shooter.setWorkingDirectory(dir.path());
  shooter.start(QStringLiteral("weston-screenshooter"), {});
  // The event loop runs meanwhile, so the window goes on drawing as the
  // compositor takes the picture.
  [&] { QTRY_VERIFY_WITH_TIMEOUT(shooter.state() == QProcess::NotRunning, kNoDeadline); }();
  const QStringList shots = QDir(dir.path()).entryList({QStringLiteral("wayland-screenshot-*.png")});
  if (shots.isEmpty()) return {};
  const QString path = dir.filePath(shots.front());
  QImage image(path);
  QFile::remove(path);
  return image;
}

// What of the board the picture gets wrong: every cell white around its
// letter (opaque: a pixel left unpainted is transparent there), and a
// letter's dark ink in the middle. Empty when all is well.
QString BoardFaults(const QImage& shot, const BoardSurface& surface, const GridPicture& picture) {
  const QWidget& window = *surface.window();
  const QPoint frame = window.geometry().topLeft() - window.frameGeometry().topLeft();
  const QPoint origin = surface.mapTo(&window, QPoint()) + frame;
  const double ratio = window.devicePixelRatioF();
  const auto at = [&](double x, double y) {
    const QPointF p = (surface.PixelsOf(x, y) + origin) * ratio;
    return shot.pixel(static_cast<int>(p.x()), static_cast<int>(p.y()));
  };
  QStringList faults;
  double top = 0;
  for (int r = 0; r < picture.rows; top += picture.rowHeights[r++]) {
    double left = 0;
    for (int c = 0; c < picture.cols; left += picture.colWidths[c++]) {
      const QRectF cell(left, top, picture.colWidths[c], picture.rowHeights[r]);
      const QString where = QStringLiteral("cell %1,%2").arg(r + 1).arg(c + 1);
      for (const QPointF corner : {cell.topLeft(), cell.topRight(), cell.bottomLeft(), cell.bottomRight()}) {
        const QPointF inside = corner + (cell.center() - corner) * 0.25;
        const QRgb p = at(inside.x(), inside.y());
        if (p != qRgba(255, 255, 255, 255)) faults << where + QStringLiteral(" is #%1 beside its letter").arg(p, 8, 16, QLatin1Char('0'));
      }
      const QRectF box = LetterBoxTwips(cell);
      bool ink = false;
      for (double y = box.top(); y < box.bottom() && !ink; y += 5)
        for (double x = box.left(); x < box.right() && !ink; x += 5)
          ink = qAlpha(at(x, y)) == 255 && qGray(at(x, y)) < 96;
      if (!ink) faults << where + QStringLiteral(" shows no letter");
    }
  }
  if (faults.size() > 8) faults = faults.mid(0, 8) << QStringLiteral("and %1 more").arg(faults.size() - 8);
  return faults.join(QStringLiteral("; "));
}

}  // namespace

class RealDesktopTest : public QObject {
  Q_OBJECT
  QTemporaryDir dir_;

  std::unique_ptr<Program> Start() {
    const QString path = dir_.filePath(QStringLiteral("wsearch.ini"));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
      file.write("[games]\r\n1=TREES\r\n[TREES]\r\n1=OAK\r\n2=BIRCH\r\n3=ROWAN\r\n4=HAZEL\r\n");
    file.close();
    auto program = std::make_unique<Program>(QFile::encodeName(path).toStdString());
    program->Start();
    return program;
  }

 private slots:
  // On a Wayland compositor (under-weston) the board the player sees is
  // white cells with black letters: while idle, after many steps of the
  // shuffle that paint only the letters that changed, and once dealt.
  void boardOnWayland() {
    QCOMPARE(QGuiApplication::platformName(), QStringLiteral("wayland"));
    auto program = Start();
    FormWindow& window = program->MainWindow();
    QTRY_VERIFY_WITH_TIMEOUT(window.windowHandle()->isExposed() && window.isMaximized(), kNoDeadline);
    auto* surface = dynamic_cast<BoardSurface*>(window.ViewFor(program->MainForm().Picture1));
    QVERIFY(surface);
    PaintCounter paints(surface);
    QTRY_VERIFY_WITH_TIMEOUT(paints.count >= 5, kNoDeadline);
    QImage shot = Screenshot(dir_);
    QVERIFY(!shot.isNull());
    QString faults = BoardFaults(shot, *surface, *program->MainForm().Picture1.Picture());
    QVERIFY2(faults.isEmpty(), qPrintable(QStringLiteral("idle: ") + faults));

    auto* games = qobject_cast<QListWidget*>(window.WidgetFor(program->MainForm().List2));
    const int idle = paints.count;
    QTest::mouseClick(games->viewport(), Qt::LeftButton, {}, games->visualItemRect(games->item(0)).center());
    QCOMPARE(program->MainForm().List1.ListCount(), 4);
    QTRY_VERIFY_WITH_TIMEOUT(paints.count > idle, kNoDeadline);
    shot = Screenshot(dir_);
    faults = BoardFaults(shot, *surface, *program->MainForm().Picture1.Picture());
    QVERIFY2(faults.isEmpty(), qPrintable(QStringLiteral("dealt: ") + faults));
  }

  // With a print system whose default printer has Letter paper
  // (under-cups): Print from the window gives a Letter page with the words
  // to find. A paused queue takes the job, which waits in it. A queue that
  // refuses jobs brings the save dialog, its title saying why, and a PDF
  // that can't be written there is told in one box.
  void printsToTheDefaultPrinter() {
    const QDir printed(qEnvironmentVariable("PELMORA_PRINTED"));
    QVERIFY2(printed.exists(), "PELMORA_PRINTED names no folder: run under tests/desktop/under-cups");
    // The save dialog shows a home of the test's own.
    const QString home = dir_.filePath(QStringLiteral("home"));
    QVERIFY(QDir().mkpath(home));
    qputenv("HOME", QFile::encodeName(home));
    auto program = Start();
    Form1& f = program->MainForm();
    FormWindow& window = program->MainWindow();
    QVERIFY(QTest::qWaitForWindowExposed(&window, kNoDeadline));
    auto* games = qobject_cast<QListWidget*>(window.WidgetFor(f.List2));
    QTest::mouseClick(games->viewport(), Qt::LeftButton, {}, games->visualItemRect(games->item(0)).center());
    QWidget* print = window.WidgetFor(f.Command3);
    {
      Answerer none;
      QTest::mouseClick(print, Qt::LeftButton);
      QCOMPARE(none.dialogTitles, QStringList());
    }
    QTRY_VERIFY_WITH_TIMEOUT(!printed.entryList({QStringLiteral("*.pdf")}).isEmpty(), kNoDeadline);
    const QString sheet = printed.filePath(printed.entryList({QStringLiteral("*.pdf")}).front());
    // cups-pdf writes the file as the job goes: read it once it is whole.
    QTRY_VERIFY_WITH_TIMEOUT(Run(QStringLiteral("lpstat"), {QStringLiteral("-o")}).isEmpty(), kNoDeadline);
    QVERIFY2(Run(QStringLiteral("pdfinfo"), {sheet}).contains(QStringLiteral("612 x 792 pts (letter)")),
             qPrintable(Run(QStringLiteral("pdfinfo"), {sheet})));
    const QStringList text = Run(QStringLiteral("pdftotext"), {sheet, QStringLiteral("-")}).split(QRegularExpression("\\s+"));
    for (const std::string& word : f.List1.Items())
      QVERIFY2(text.contains(QString::fromStdString(word)), word.c_str());

    Run(QStringLiteral("cupsdisable"), {QStringLiteral("Sheets")});
    {
      Answerer none;
      QTest::mouseClick(print, Qt::LeftButton);
      QCOMPARE(none.dialogTitles, QStringList());
    }
    QVERIFY(!Run(QStringLiteral("lpstat"), {QStringLiteral("-o"), QStringLiteral("Sheets")}).isEmpty());

    Run(QStringLiteral("cupsreject"), {QStringLiteral("Sheets")});
    const QString unwritable = qEnvironmentVariable("PELMORA_READ_ONLY") + QStringLiteral("/Pelmora sheet.pdf");
    Answerer answer(unwritable);
    QTest::mouseClick(print, Qt::LeftButton);
    QCOMPARE(answer.dialogTitles.size(), 1);
    QVERIFY2(answer.dialogTitles.front().startsWith(QStringLiteral("The sheet could not be printed (")) &&
                 answer.dialogTitles.front().contains(QStringLiteral("accepting")),
             qPrintable(answer.dialogTitles.front()));
    QCOMPARE(answer.boxTexts.size(), 1);
    const QString told = QStringLiteral("Pelmora could not save the sheet to ") + unwritable + QStringLiteral(": ");
    QVERIFY2(answer.boxTexts.front().startsWith(told) && answer.boxTexts.front().size() > told.size(),
             qPrintable(answer.boxTexts.front()));
  }
};

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  RealDesktopTest test;
  return FinishRun(QTest::qExec(&test, argc, argv));
}
#include "real_desktop_test.moc"
