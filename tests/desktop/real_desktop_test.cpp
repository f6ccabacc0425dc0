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

// Clicks button and answers the file dialogs and message boxes that come up,
// as a player would: a dialog with path (cancelled, for none), a box with OK.
// Gives the dialogs' titles and the boxes' texts.
std::pair<QStringList, QStringList> Click(QWidget* button, const QString& path = {}) {
  QStringList titles, texts;
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, [&] {
    if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
      titles << dialog->windowTitle();
      dialog->selectFile(path);
      // QFileDialog keeps its own accept protected.
      path.isEmpty() ? dialog->reject() : static_cast<QDialog*>(dialog)->accept();
    } else if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
      texts << box->text();
      box->button(QMessageBox::Ok)->click();
    }
  });
  poll.start(10);
  QTest::mouseClick(button, Qt::LeftButton);
  return {titles, texts};
}

// Counts the paint events a widget gets.
struct PaintCounter final : QObject {
  explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }
  bool eventFilter(QObject*, QEvent* event) override {
    count += event->type() == QEvent::Paint;
    return false;
  }
  int count = 0;
};

// What of the board the compositor's picture of its output gets wrong:
// every cell white around its letter (opaque: a pixel left unpainted is
// transparent there), and a letter's dark ink in the middle. Empty when all
// is well.
QString BoardFaultsOnScreen(const BoardSurface& surface, const PictureBox& board) {
  const QTemporaryDir dir;
  QProcess shooter;
  shooter.setWorkingDirectory(dir.path());
  shooter.start(QStringLiteral("weston-screenshooter"), {});
  // The event loop runs meanwhile, so the window goes on drawing as the
  // compositor takes the picture.
  [&] { QTRY_VERIFY_WITH_TIMEOUT(shooter.state() == QProcess::NotRunning, kNoDeadline); }();
  const QStringList shots = QDir(dir.path()).entryList({QStringLiteral("*.png")});
  const QImage shot = shots.isEmpty() ? QImage() : QImage(dir.filePath(shots.front()));
  if (shot.isNull()) return QStringLiteral("no screenshot");
  // Read after the picture is taken: the shuffle replaces the board's picture as it runs.
  const GridPicture& picture = *board.Picture();
  const QWidget& window = *surface.window();
  const QPoint origin = surface.mapTo(&window, QPoint()) + window.geometry().topLeft() - window.frameGeometry().topLeft();
  const auto at = [&](QPointF twips) {
    const QPointF p = (surface.PixelsOf(twips.x(), twips.y()) + origin) * window.devicePixelRatioF();
    return shot.pixel(static_cast<int>(p.x()), static_cast<int>(p.y()));
  };
  QStringList faults;
  double top = 0;
  for (int r = 0; r < picture.rows; top += picture.rowHeights[r++]) {
    double left = 0;
    for (int c = 0; c < picture.cols; left += picture.colWidths[c++]) {
      const QRectF cell(left, top, picture.colWidths[c], picture.rowHeights[r]);
      const QString where = QStringLiteral("cell %1,%2").arg(r + 1).arg(c + 1);
      for (const QPointF corner : {cell.topLeft(), cell.topRight(), cell.bottomLeft(), cell.bottomRight()})
        if (const QRgb p = at(corner + (cell.center() - corner) * 0.25); p != qRgba(255, 255, 255, 255))
          faults << where + QStringLiteral(" is #%1 beside its letter").arg(p, 8, 16, QLatin1Char('0'));
      const QRectF box = LetterBoxTwips(cell);
      bool ink = false;
      for (double y = box.top(); y < box.bottom() && !ink; y += 5)
        for (double x = box.left(); x < box.right() && !ink; x += 5)
          ink = qAlpha(at({x, y})) == 255 && qGray(at({x, y})) < 96;
      if (!ink) faults << where + QStringLiteral(" shows no letter");
    }
  }
  return faults.size() > 8 ? faults.mid(0, 8).join("; ") + QStringLiteral(" and %1 more").arg(faults.size() - 8)
                           : faults.join("; ");
}

}  // namespace

class RealDesktopTest : public QObject {
  Q_OBJECT
  QTemporaryDir dir_;

  std::unique_ptr<Program> Start() {
    QFile file(dir_.filePath("wsearch.ini"));
    if (file.open(QIODevice::WriteOnly)) file.write("[games]\r\n1=TREES\r\n[TREES]\r\n1=OAK\r\n2=BIRCH\r\n3=ROWAN\r\n4=HAZEL\r\n");
    file.close();
    auto program = std::make_unique<Program>(QFile::encodeName(file.fileName()).toStdString());
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
    QString faults = BoardFaultsOnScreen(*surface, program->MainForm().Picture1);
    QVERIFY2(faults.isEmpty(), qPrintable("idle: " + faults));

    auto* games = qobject_cast<QListWidget*>(window.WidgetFor(program->MainForm().List2));
    const int idle = paints.count;
    QTest::mouseClick(games->viewport(), Qt::LeftButton, {}, games->visualItemRect(games->item(0)).center());
    QCOMPARE(program->MainForm().List1.ListCount(), 4);
    QTRY_VERIFY_WITH_TIMEOUT(paints.count > idle, kNoDeadline);
    faults = BoardFaultsOnScreen(*surface, program->MainForm().Picture1);
    QVERIFY2(faults.isEmpty(), qPrintable("dealt: " + faults));
  }

  // With a print system whose default printer has Letter paper
  // (under-cups): Print from the window gives a Letter page with the words
  // to find. A paused queue takes the job, which waits in it. A queue that
  // refuses jobs brings the save dialog, its title saying why, and a PDF
  // that can't be written there is told in one box.
  void printsToTheDefaultPrinter() {
    const QDir printed(qEnvironmentVariable("PELMORA_PRINTED"));
    QVERIFY2(printed.exists(), "PELMORA_PRINTED names no folder: run under tests/desktop/under-cups");
    qputenv("HOME", QFile::encodeName(dir_.path()));  // the save dialog shows a home of the test's own
    auto program = Start();
    Form1& f = program->MainForm();
    QVERIFY(QTest::qWaitForWindowExposed(&program->MainWindow(), kNoDeadline));
    auto* games = qobject_cast<QListWidget*>(program->MainWindow().WidgetFor(f.List2));
    QTest::mouseClick(games->viewport(), Qt::LeftButton, {}, games->visualItemRect(games->item(0)).center());
    QWidget* print = program->MainWindow().WidgetFor(f.Command3);
    QCOMPARE(Click(print).first, QStringList());
    const QStringList pdf{QStringLiteral("*.pdf")};
    QTRY_VERIFY_WITH_TIMEOUT(!printed.entryList(pdf).isEmpty(), kNoDeadline);
    // cups-pdf writes the file as the job goes: read it once it is whole.
    QTRY_VERIFY_WITH_TIMEOUT(Run("lpstat", {"-o"}).isEmpty(), kNoDeadline);
    const QString sheet = printed.filePath(printed.entryList(pdf).front());
    const QString info = Run("pdfinfo", {sheet});
    QVERIFY2(info.contains("612 x 792 pts (letter)"), qPrintable(info));
    const QStringList text = Run("pdftotext", {sheet, "-"}).split(QRegularExpression("\\s+"));
    for (const std::string& word : f.List1.Items()) QVERIFY2(text.contains(QString::fromStdString(word)), word.c_str());

    Run("cupsdisable", {"Sheets"});
    QCOMPARE(Click(print).first, QStringList());
    QVERIFY(!Run("lpstat", {"-o", "Sheets"}).isEmpty());

    Run("cupsreject", {"Sheets"});
    const QString unwritable = qEnvironmentVariable("PELMORA_READ_ONLY") + "/Pelmora sheet.pdf";
    const auto [titles, boxes] = Click(print, unwritable);
    QVERIFY2(titles.size() == 1 && titles[0].startsWith("The sheet could not be printed (") && titles[0].contains("accepting"),
             qPrintable(titles.join('\n')));
    const QString told = "Pelmora could not save the sheet to " + unwritable + ": ";
    QVERIFY2(boxes.size() == 1 && boxes[0].startsWith(told) && boxes[0].size() > told.size(), qPrintable(boxes.join('\n')));
  }
};

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  RealDesktopTest test;
  return FinishRun(QTest::qExec(&test, argc, argv));
}
#include "real_desktop_test.moc"
