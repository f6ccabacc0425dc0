// The windows as a person meets them, through the real widgets: controls
// named in words and presses that land on their twips at any scale, a
// question that stands until answered, a print with no printer and the
// printed sheet. Then against the real
// components of a desktop, each started for the test by a script of
// tests/desktop that runs its function alone: under a real window manager,
// the designer as a dialog of the play window with its message boxes over
// it; on a Wayland compositor, the board as its picture of the screen shows
// it; and Print to a print system with a real queue. Those functions skip
// where their component is missing.

#include <QFileDialog>
#include <QListWidget>
#include <QMessageBox>
#include <QPrinterInfo>
#include <QPushButton>
#include <QtTest>
#include <fstream>

#include "app/program.h"
#include "platform/qt/board_painter.h"
#include "platform/qt/board_surface.h"
#include "platform/qt/form_printer.h"

using namespace pelmora;

// Every wait lasts as long as it takes: the test's own time limit is the only
// one, so a loaded machine makes a run slower, never red.
constexpr int kNoDeadline = 24 * 3600 * 1000;
#define UNTIL(expr) QTRY_VERIFY_WITH_TIMEOUT((expr), kNoDeadline)
// Skips a function where what it needs is missing, saying why; see main.
#define NEEDS(need, why) if (!(need)) { skipped = true; QSKIP("needs " why); }

// Runs a command (xprop, the print system's); its standard output.
static QString Run(const QString& program, const QStringList& arguments) {
  QProcess process;
  process.start(program, arguments);
  process.waitForFinished(-1);
  return QString::fromLocal8Bit(process.readAllStandardOutput());
}

using Answer = std::function<void(QDialog&)>;

// A player's plain answer: a file dialog gets path (cancelled, for none), a
// message box OK.
static Answer Plainly(const QString& path = {}) {
  return [path](QDialog& dialog) {
    if (auto* box = qobject_cast<QMessageBox*>(&dialog)) return box->button(QMessageBox::Ok)->click();
    static_cast<QFileDialog&>(dialog).selectFile(path);
    // Through QDialog: QFileDialog keeps its own accept protected.
    path.isEmpty() ? dialog.reject() : dialog.accept();
  };
}

// Clicks widget as a player does, and hands each modal dialog that comes up
// meanwhile to answer, which closes it. Dialogs that follow one another are
// each answered from their own event loop. Gives what they said, in turn: a
// box its text, a file dialog its title.
static QStringList Press(QWidget* widget, const Answer& answer = Plainly()) {
  QStringList said;
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, [&] {
    if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
      auto* box = qobject_cast<QMessageBox*>(dialog);
      said << (box ? box->text() : dialog->windowTitle());
      answer(*dialog);
    }
  });
  poll.start(10);
  QTest::mouseClick(widget, Qt::LeftButton);
  return said;
}

// Runs check on the designer while it stands, then leaves it by Exit.
static void WithDesigner(Program& program, const std::function<void(FormWindow&)>& check) {
  QTimer::singleShot(0, [&] {
    FormWindow* designer = program.Runtime().ModalWindow(program.MainForm().Designer);
    QVERIFY(designer && QTest::qWaitForWindowExposed(designer, kNoDeadline));
    check(*designer);
    QTest::mouseClick(designer->WidgetFor(program.MainForm().Designer.Command4), Qt::LeftButton);
  });
  QTest::mouseClick(program.MainWindow().WidgetFor(program.MainForm().Command2), Qt::LeftButton);
  QVERIFY(!program.MainForm().Designer.Loaded);
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
static QString BoardFaultsOnScreen(const BoardSurface& surface, const PictureBox& board) {
  const QTemporaryDir dir;
  QProcess shooter;
  shooter.setWorkingDirectory(dir.path());
  shooter.start(QStringLiteral("weston-screenshooter"), {});
  // The event loop runs meanwhile, so the window goes on drawing as the
  // compositor takes the picture.
  [&] { UNTIL(shooter.state() == QProcess::NotRunning); }();
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

class WindowTest : public QObject {
  Q_OBJECT
  QTemporaryDir dir_;

  std::unique_ptr<Program> program_;

  // The program on a profile of one game, a profile of the function's own,
  // its window up.
  bool Start() {
    const std::string path = dir_.filePath(QTest::currentTestFunction() + QString(".ini")).toStdString();
    std::ofstream(path, std::ios::binary) << "[Settings]\r\nTime=0.001\r\nTitle=TREES\r\n[games]\r\n1=TREES\r\n[TREES]\r\n1=OAK\r\n2=BIRCH\r\n";
    program_ = std::make_unique<Program>(path);
    program_->Start();
    return QTest::qWaitForWindowExposed(&program_->MainWindow(), kNoDeadline);
  }

  // Deals the first game of the game list, as a click on it does.
  void DealFirstGame() {
    auto* games = qobject_cast<QListWidget*>(program_->MainWindow().WidgetFor(program_->MainForm().List2));
    QTest::mouseClick(games->viewport(), Qt::LeftButton, {}, games->visualItemRect(games->item(0)).center());
  }

 public:
  bool skipped = false;  // a function skipped for want of what it needs

 private slots:
  void aPlayerAtTheWidgets() {
    QVERIFY(Start());
    Form1& f = program_->MainForm();
    FormWindow& window = program_->MainWindow();
    // Every control of both forms is called by words, never by nothing or
    // its code name.
    const auto named = [](FormWindow& w) {
      for (ControlView* view : w.Views()) {
        if (!view->Widget()) continue;
        const QString name = view->Widget()->accessibleName(), code = QString::fromStdString(view->Model()->Name());
        const bool codeLike = name.contains(QRegularExpression("^[A-Z][a-z]+[0-9]+$|\\([0-9]+\\)$"));
        QVERIFY2(!name.isEmpty() && name != code && !codeLike, qPrintable(code + ": " + name));
      }
    };
    named(window);
    WithDesigner(*program_, named);
    // Text is laid out again at the scaled size, not left as it was.
    QWidget* label = window.WidgetFor(f.Label2);
    const auto advance = [&] { return QFontMetricsF(label->font()).horizontalAdvance(window.ViewFor(f.Label2)->Caption()); };
    window.SetScale(1.0);
    const double at1 = advance();
    window.SetScale(2.0);
    QCOMPARE(qRound(advance() / at1 * 10), 20);

    // A question stands until Yes or No: Escape and the close box don't
    // answer it, and it offers no close box.
    bool stood = false;
    Press(window.WidgetFor(f.Command5), [&stood](QDialog& box) {
      QTest::keyClick(&box, Qt::Key_Escape);
      box.close();
      stood = box.isVisible() && !box.windowFlags().testFlag(Qt::WindowCloseButtonHint);
      static_cast<QMessageBox&>(box).button(QMessageBox::No)->click();
    });
    QVERIFY(stood);
    QCOMPARE(f.Records.BestTime, 0.001);

    // With no printer, Print says so in a save dialog's title, in the home
    // folder when there is no documents folder, and makes none.
    if (QPrinterInfo::defaultPrinter().isNull()) {
      qputenv("HOME", QFile::encodeName(dir_.path()));  // with no documents folder in it
      QString in;
      const QStringList said = Press(window.WidgetFor(f.Command3), [&in](QDialog& d) {
        if (auto* file = qobject_cast<QFileDialog*>(&d)) in = file->directory().absolutePath();
        d.reject();
      });
      QVERIFY2(said.size() == 1 && said[0].contains("No printer") && in == dir_.path(), qPrintable(said.join('\n') + " in " + in));
      QVERIFY(!QDir(dir_.path() + "/Documents").exists());
    }

    // The printed sheet lists the words still to find, and its picture has
    // its border: grey around the board, as a picture box has.
    DealFirstGame();
    program_->Runtime().printTarget = [this] { return dir_.filePath("sheet.png").toStdString(); };
    QTest::mouseClick(window.WidgetFor(f.Command3), Qt::LeftButton);
    QCOMPARE(f.Sheet().List1.Items(), (std::vector<std::string>{"BIRCH", "OAK"}));
    const QImage page = RenderFormToImage(f.Sheet(), 144);  // ten twips to the pixel
    QVERIFY(qGray(page.pixel(13, 300)) < 0xA0 && qGray(page.pixel(13, 300)) > 0x60);
    QCOMPARE(page.pixel(10, 300), qRgb(255, 255, 255));

    // The board played from the keyboard is the screen-reader test's walk,
    // which presses its keys through the accessibility bus.
    auto* board = dynamic_cast<BoardSurface*>(window.ViewFor(f.Picture1));
    // A press at the pixel of each cell's centre reaches the board as that
    // centre, whatever the scale (the game in play is left alone from here on).
    QPointF got;
    f.Picture1.MouseDown = [&got](int, int, float x, float y) { got = QPointF(x, y); };
    for (double scale : {0.75, 1.0, 1.37, 1.91, 2.5}) {
      window.SetScale(scale);
      for (int cell = 0; cell < 225; ++cell) {
        const QPointF centre(500 * (cell % 15) + 250, 500 * (cell / 15) + 250), at = board->PixelsOf(centre.x(), centre.y());
        QVERIFY(board->rect().contains(at.toPoint()));
        QMouseEvent press(QEvent::MouseButtonPress, at, board->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton, {});
        QApplication::sendEvent(board, &press);
        QCOMPARE(got, centre);
      }
    }
    // Ctrl+0 shows the form at 1:1, Ctrl++ zooms a step, a resize fits again.
    QTest::keyClick(&window, Qt::Key_0, Qt::ControlModifier);
    QCOMPARE(window.Scale(), 1.0);
    QTest::keyClick(&window, Qt::Key_Plus, Qt::ControlModifier);
    QCOMPARE(window.Scale(), 1.25);
    window.resize(window.size() + QSize(40, 40));
    UNTIL(qFuzzyCompare(window.Scale(), window.FitScale()));
  }

  // Run by desktop.window_manager under openbox.
  void underAWindowManager() {
    NEEDS(QGuiApplication::platformName() == "xcb" && Run("xprop", {"-root", "_NET_SUPPORTING_WM_CHECK"}).contains("window id"),
          "an X display with a window manager (tests/desktop/under-openbox)");
    QVERIFY(Start());
    FormWindow& window = program_->MainWindow();
    UNTIL(window.isMaximized() && window.Scale() > 1.2);
    // A message box comes up centred over the window that asked, and is then answered.
    const auto centredOver = [](QWidget& over, QMessageBox::StandardButton button) -> Answer {
      return [&over, button](QDialog& box) {
        UNTIL(box.windowHandle()->isExposed() && (box.geometry().center() - over.geometry().center()).manhattanLength() <= 4);
        static_cast<QMessageBox&>(box).button(button)->click();
      };
    };
    Press(window.WidgetFor(program_->MainForm().Command4), centredOver(window, QMessageBox::Ok));
    WithDesigner(*program_, [&](FormWindow& designer) {
      QVERIFY(std::abs(designer.Scale() - window.Scale()) < 0.02);
      const QString actions = Run("xprop", {"-id", QString::number(designer.winId()), "_NET_WM_ALLOWED_ACTIONS"});
      QVERIFY2(actions.contains("CLOSE") && !actions.contains("MAXIMIZE"), qPrintable(actions));
      // Openbox offers to minimise every dialog, whatever it asks for: the
      // designer comes straight back, and the window under it with it.
      designer.windowHandle()->showMinimized();
      UNTIL(!designer.isMinimized() && designer.windowHandle()->isExposed());
      UNTIL(!window.isMinimized() && window.windowHandle()->isExposed());
      Press(designer.WidgetFor(program_->MainForm().Designer.Command2), centredOver(designer, QMessageBox::No));
    });
  }

  // On a Wayland compositor (desktop.wayland_board_*, under-weston) the
  // board the player sees is white cells with black letters: while idle,
  // after many steps of the shuffle that paint only the letters that
  // changed, and once dealt.
  void boardOnWayland() {
    NEEDS(QGuiApplication::platformName() == "wayland", "a Wayland compositor (tests/desktop/under-weston)");
    QVERIFY(Start());
    FormWindow& window = program_->MainWindow();
    UNTIL(window.isMaximized());
    auto* surface = dynamic_cast<BoardSurface*>(window.ViewFor(program_->MainForm().Picture1));
    QVERIFY(surface);
    PaintCounter paints(surface);
    UNTIL(paints.count >= 5);
    QString faults = BoardFaultsOnScreen(*surface, program_->MainForm().Picture1);
    QVERIFY2(faults.isEmpty(), qPrintable("idle: " + faults));

    const int idle = paints.count;
    DealFirstGame();
    QCOMPARE(program_->MainForm().List1.ListCount(), 2);
    UNTIL(paints.count > idle);
    faults = BoardFaultsOnScreen(*surface, program_->MainForm().Picture1);
    QVERIFY2(faults.isEmpty(), qPrintable("dealt: " + faults));
  }

  // With a print system whose default printer has Letter paper
  // (desktop.printer, under-cups): Print from the window gives a Letter page
  // with the words to find. A paused queue takes the job, which waits in it.
  // A queue that refuses jobs brings the save dialog, its title saying why,
  // and a PDF that can't be written there is told in one box.
  void printsToTheDefaultPrinter() {
    NEEDS(!qEnvironmentVariableIsEmpty("PELMORA_PRINTED"), "a print system of its own (tests/desktop/under-cups)");
    const QDir printed(qEnvironmentVariable("PELMORA_PRINTED"));
    qputenv("HOME", QFile::encodeName(dir_.path()));  // the save dialog shows a home of the test's own
    QVERIFY(Start());
    Form1& f = program_->MainForm();
    DealFirstGame();
    QWidget* print = program_->MainWindow().WidgetFor(f.Command3);
    QCOMPARE(Press(print), QStringList());
    const QStringList pdf{QStringLiteral("*.pdf")};
    UNTIL(!printed.entryList(pdf).isEmpty());
    // cups-pdf writes the file as the job goes: read it once it is whole.
    UNTIL(Run("lpstat", {"-o"}).isEmpty());
    const QString sheet = printed.filePath(printed.entryList(pdf).front());
    // The job is sent on Letter already: the print system would shrink a
    // page of other paper to fit the queue's.
    const QDir jobs(qEnvironmentVariable("PELMORA_JOBS"));
    for (const QString& page : {sheet, jobs.filePath(jobs.entryList({"d*"}).value(0))}) {
      const QString info = Run("pdfinfo", {page});
      QVERIFY2(info.contains("612 x 792 pts (letter)"), qPrintable(page + ": " + info));
    }
    const QStringList text = Run("pdftotext", {sheet, "-"}).split(QRegularExpression("\\s+"));
    for (const std::string& word : f.List1.Items()) QVERIFY2(text.contains(QString::fromStdString(word)), word.c_str());

    Run("cupsdisable", {"Sheets"});
    QCOMPARE(Press(print), QStringList());
    QVERIFY(!Run("lpstat", {"-o", "Sheets"}).isEmpty());

    Run("cupsreject", {"Sheets"});
    const QString unwritable = qEnvironmentVariable("PELMORA_READ_ONLY") + "/Pelmora sheet.pdf";
    const QStringList said = Press(print, Plainly(unwritable));
    const QString told = "Pelmora could not save the sheet to " + unwritable + ": ";
    QVERIFY2(said.size() == 2 && said[0].startsWith("The sheet could not be printed (") && said[0].contains("accepting") &&
                 said[1].startsWith(told) && said[1].size() > told.size(),
             qPrintable(said.join('\n')));
  }
};

// A function named on the command line (a desktop script's run) that skipped
// is a skip for CTest (77), not a pass.
int main(int argc, char** argv) {
  QApplication app(argc, argv);
  WindowTest test;
  const int failures = QTest::qExec(&test, argc, argv);
  return FinishRun(failures == 0 && argc > 1 && test.skipped ? 77 : failures);
}
#include "window_test.moc"
