// A whole game in the real main window, wired as the program wires it: the
// game dealt by a real click in the game list, every word found by real
// presses on the board (the cells read off the letter grid), the rings
// checked in the surface's pixels as the presses land, one wrong letter
// refused in a message box over the window and its rings wiped white, the
// win announced, and the record written to the profile and read back by the
// next run. Then the printed sheet of a game under way, through the Print
// button to a PDF, read back with the poppler tools: the clean board, the
// heading and the words still to find, each in its place.

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPrinterInfo>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <array>
#include <cmath>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/program.h"
#include "tests/gui/gui_support.h"
#include "platform/qt/control_views.h"
#include "tests/support/grid_words.h"

using namespace pelmora;
using namespace pelmora::testing;

namespace {

// Where a cell's ring lies: its centre is in from the cell's left and top
// edges, not in the middle, so rings of neighbouring cells never touch.
constexpr int kPitch = 500;
constexpr int kRingInset = 200;
constexpr int kRingRadius = 200;
constexpr double kPenPixels = 3;

// The colours of the rings of the first words found, in order: black, blue,
// green, cyan.
constexpr std::array<std::uint32_t, 4> kWordColours = {0x000000, 0x000080, 0x008000, 0x008080};

// A player with two small games; FRUIT's words share no prefix, so a word
// is found exactly when its last letter is pressed.
const char kProfile[] =
    "[games]\r\n1=ANIMALS\r\n2=FRUIT\r\n"
    "[ANIMALS]\r\n1=CAT\r\n2=DOG\r\n"
    "[FRUIT]\r\n1=PEAR\r\n2=PLUM\r\n3=FIG\r\n4=KIWI\r\n";

using Cell = pelmora::testing::GridCell;
using pelmora::testing::FindWord;

// The board as 15 lines of letters, for failure messages.
QByteArray BoardText(const FlexGrid& grid) {
  QByteArray text;
  for (int r = 0; r < grid.Rows(); ++r) {
    text += '\n';
    for (int c = 0; c < grid.Cols(); ++c) {
      const std::string& letter = grid.CellAt(r, c).text;
      text += letter.empty() ? QByteArray(".") : QByteArray::fromStdString(letter);
    }
  }
  return text;
}

// Pixels of the surface from twips, at the window's DPI.
struct Scale {
  double dpi;
  double Px(double twips) const { return twips * dpi / 1440.0; }
  // The middle of the cell: where a player presses.
  QPoint PressPoint(Cell cell) const {
    return QPoint(static_cast<int>(std::lround(Px(cell.col * kPitch + kPitch / 2))),
                  static_cast<int>(std::lround(Px(cell.row * kPitch + kPitch / 2))));
  }
  QPointF RingCentre(Cell cell) const {
    return QPointF(Px(cell.col * kPitch + kRingInset), Px(cell.row * kPitch + kRingInset));
  }
  double RingRadius() const { return Px(kRingRadius); }
  QRect RingBounds(Cell cell) const {
    const QPointF c = RingCentre(cell);
    const double r = RingRadius() + kPenPixels;
    return QRectF(c.x() - r, c.y() - r, 2 * r, 2 * r).toAlignedRect();
  }
};

bool Near(QRgb p, std::uint32_t rgb, int tolerance) {
  return qAbs(qRed(p) - static_cast<int>(rgb >> 16 & 0xFF)) <= tolerance &&
         qAbs(qGreen(p) - static_cast<int>(rgb >> 8 & 0xFF)) <= tolerance &&
         qAbs(qBlue(p) - static_cast<int>(rgb & 0xFF)) <= tolerance;
}

// The light grey of the grid lines.
bool LineGrey(QRgb p) { return qAbs(qRed(p) - 0xC0) < 24 && qRed(p) == qGreen(p) && qGreen(p) == qBlue(p); }

bool Bluish(QRgb p) { return qBlue(p) - qRed(p) > 40 && qBlue(p) - qGreen(p) > 40; }

int CountIn(const QImage& image, const QRect& area, const std::function<bool(QRgb)>& test) {
  int n = 0;
  const QRect inside = area.intersected(image.rect());
  for (int y = inside.top(); y <= inside.bottom(); ++y)
    for (int x = inside.left(); x <= inside.right(); ++x) n += test(image.pixel(x, y)) ? 1 : 0;
  return n;
}

// What a press changed on the surface, against the ring it should have
// drawn: every changed pixel must lie on that ring, enough of them in the
// ring's colour, and the ring centred where it belongs.
QString CheckNewRing(const QImage& before, const QImage& after, const Scale& scale, Cell cell,
                     std::uint32_t colour) {
  if (before.size() != after.size()) return QStringLiteral("the surface changed size");
  const QPointF centre = scale.RingCentre(cell);
  const double radius = scale.RingRadius();
  int changed = 0, offRing = 0, inColour = 0;
  double sumX = 0, sumY = 0;
  for (int y = 0; y < after.height(); ++y)
    for (int x = 0; x < after.width(); ++x) {
      const QRgb p = after.pixel(x, y);
      if (p == before.pixel(x, y)) continue;
      ++changed;
      const double dx = x + 0.5 - centre.x(), dy = y + 0.5 - centre.y();
      if (std::abs(std::hypot(dx, dy) - radius) > kPenPixels / 2 + 1.5) ++offRing;
      if (Near(p, colour, 8)) ++inColour;
      sumX += dx;
      sumY += dy;
    }
  const QString where = QStringLiteral("ring at row %1 col %2: ").arg(cell.row).arg(cell.col);
  if (changed == 0) return where + QStringLiteral("nothing was drawn");
  if (offRing > 0)
    return where + QStringLiteral("%1 of %2 changed pixels off the ring").arg(offRing).arg(changed);
  if (inColour < 40)
    return where + QStringLiteral("only %1 pixels in #%2").arg(inColour).arg(colour, 6, 16, QChar('0'));
  if (std::hypot(sumX / changed, sumY / changed) > 1.5)
    return where + QStringLiteral("centred %1,%2 px off").arg(sumX / changed).arg(sumY / changed);
  return {};
}

// The main window's widgets a player uses.
struct Widgets {
  explicit Widgets(Program& program) {
    const Form1& f = program.MainForm();
    FormWindow& window = program.MainWindow();
    surface = window.WidgetFor(f.Picture1);
    words = qobject_cast<QListWidget*>(window.WidgetFor(f.List1));
    games = qobject_cast<QListWidget*>(window.WidgetFor(f.List2));
    clock = qobject_cast<QLabel*>(window.WidgetFor(f.Label1));
    print = qobject_cast<QPushButton*>(window.WidgetFor(f.Command3));
    statistics = qobject_cast<QPushButton*>(window.WidgetFor(f.Command4));
    timer1 = dynamic_cast<TimerView*>(window.ViewFor(f.Timer1));
    timer2 = dynamic_cast<TimerView*>(window.ViewFor(f.Timer2));
  }
  bool Complete() const {
    return surface && words && games && clock && print && statistics && timer1 && timer2;
  }

  QWidget* surface = nullptr;
  QListWidget* words = nullptr;
  QListWidget* games = nullptr;
  QLabel* clock = nullptr;
  QPushButton* print = nullptr;
  QPushButton* statistics = nullptr;
  TimerView* timer1 = nullptr;
  TimerView* timer2 = nullptr;
};

// A real click on a line of the game list.
void ClickGame(QListWidget* games, const QString& name) {
  const QList<QListWidgetItem*> found = games->findItems(name, Qt::MatchExactly);
  QVERIFY2(found.size() == 1, qPrintable(name));
  games->scrollToItem(found.front());
  QTest::mouseClick(games->viewport(), Qt::LeftButton, {}, games->visualItemRect(found.front()).center());
}

}  // namespace

class PlayGameTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    QVERIFY(dir_.isValid());
    path_ = dir_.filePath(QStringLiteral("wsearch.ini"));
    QVERIFY(WriteFile(path_, kProfile));
  }

  void aWholeGameFromTheGameListToTheRecord() {
    BoxPlayer player;
    double bestTime = 0;
    {
      IdentifyApplication();
      Program program(path_.toStdString());
      FormWindow& window = program.MainWindow();
      Form1& f = program.MainForm();
      QVERIFY(QTest::qWaitForWindowExposed(&window));
      const Widgets w(program);
      QVERIFY(w.Complete());
      const Scale scale{window.Dpi()};

      // Idle: the shimmer runs, no clock, no words.
      QVERIFY(w.timer2->Running());
      QVERIFY(!w.timer1->Running());
      QCOMPARE(Items(*w.games), (QStringList{"ANIMALS", "FRUIT"}));
      QCOMPARE(w.words->count(), 0);

      // The game's line, clicked: the deal.
      ClickGame(w.games, QStringLiteral("FRUIT"));
      QCOMPARE(f.List2.ListIndex(), 1);
      QCOMPARE(w.games->currentRow(), 1);
      QVERIFY(!w.timer2->Running());
      QVERIFY(w.timer1->Running());
      QCOMPARE(Items(*w.words), (QStringList{"FIG", "KIWI", "PEAR", "PLUM"}));
      QCOMPARE(f.Play.WordCount, 4);
      QCOMPARE(w.surface->size(), QSize(qRound(scale.Px(15 * kPitch)), qRound(scale.Px(15 * kPitch))));
      QVERIFY(player.seen.isEmpty());

      std::vector<std::vector<Cell>> placements;
      for (const char* word : {"FIG", "KIWI", "PEAR", "PLUM"}) {
        placements.push_back(FindWord(f.Grid1, word));
        QVERIFY2(!placements.back().empty(), (word + BoardText(f.Grid1)).constData());
      }

      // Presses the cell and checks the ring it leaves.
      auto press = [&](Cell cell, std::uint32_t colour) {
        const QImage before = w.surface->grab().toImage();
        QTest::mouseClick(w.surface, Qt::LeftButton, {}, scale.PressPoint(cell));
        const QString fault = CheckNewRing(before, w.surface->grab().toImage(), scale, cell, colour);
        QVERIFY2(fault.isEmpty(), qPrintable(fault + BoardText(f.Grid1)));
      };
      auto spell = [&](std::size_t word, std::uint32_t colour) {
        for (const Cell& cell : placements[word]) {
          press(cell, colour);
          if (QTest::currentTestFailed()) return;
        }
      };

      // The first word, in the first colour: it leaves the list.
      spell(0, kWordColours[0]);
      if (QTest::currentTestFailed()) return;
      QCOMPARE(Items(*w.words), (QStringList{"KIWI", "PEAR", "PLUM"}));

      // KIWI's K, then a letter that carries on no word: refused, over the
      // window, with both rings in view until the box is answered. The wrong
      // cell is one with no ring yet and a grid line at its left.
      const Cell k = placements[1].front();
      auto ringed = [&](int r, int c) {
        if (r == k.row && c == k.col) return true;
        for (const Cell& cell : placements[0])
          if (cell.row == r && cell.col == c) return true;
        return false;
      };
      Cell wrong{-1, -1};
      for (int r = 1; r < 15 && wrong.row < 0; ++r)
        for (int c = 1; c < 15 && wrong.row < 0; ++c)
          if (f.Grid1.CellAt(r, c).text != "I" && !ringed(r, c)) wrong = {r, c};
      QVERIFY(wrong.row >= 0);
      press(k, kWordColours[1]);
      if (QTest::currentTestFailed()) return;
      // Where the wrong cell's ring will cross the grid line at its left.
      const QRect crossing(qRound(scale.Px(wrong.col * kPitch)) - 3,
                           qRound(scale.Px(wrong.row * kPitch + kRingInset)) - 1, 7, 3);
      QVERIFY(CountIn(w.surface->grab().toImage(), crossing, LineGrey) > 0);
      int ringPixelsUnderBox[2] = {-1, -1};
      bool overTheWindow = false;
      QMessageBox::Icon icon = QMessageBox::NoIcon;
      player.inspect = [&](QMessageBox* box) {
        overTheWindow = box->parentWidget() == &window && box->windowModality() == Qt::ApplicationModal &&
                        QApplication::activeModalWidget() == box &&
                        window.geometry().contains(box->geometry().center());
        icon = box->icon();
        const QImage shown = w.surface->grab().toImage();
        ringPixelsUnderBox[0] = CountIn(shown, scale.RingBounds(k), Bluish);
        ringPixelsUnderBox[1] = CountIn(shown, scale.RingBounds(wrong), Bluish);
      };
      player.Expect(QMessageBox::Ok);
      QTest::mouseClick(w.surface, Qt::LeftButton, {}, scale.PressPoint(wrong));
      player.inspect = nullptr;
      QCOMPARE(player.seen, (QStringList{"This does not match to any available word"}));
      QVERIFY(overTheWindow);
      QCOMPARE(icon, QMessageBox::Critical);
      QVERIFY2(ringPixelsUnderBox[0] >= 40 && ringPixelsUnderBox[1] >= 40,
               qPrintable(QStringLiteral("%1 %2").arg(ringPixelsUnderBox[0]).arg(ringPixelsUnderBox[1])));
      // Answered: both rings wiped white, nothing of them left.
      const QImage wiped = w.surface->grab().toImage();
      QCOMPARE(CountIn(wiped, scale.RingBounds(k), Bluish), 0);
      QCOMPARE(CountIn(wiped, scale.RingBounds(wrong), Bluish), 0);
      // Wiped by rings in white, not by taking the rings away: the white
      // one covers the grid line it crosses.
      QCOMPARE(CountIn(wiped, crossing, LineGrey), 0);
      QCOMPARE(Items(*w.words), (QStringList{"KIWI", "PEAR", "PLUM"}));

      // The word begun again keeps the colour the refused letters had; the
      // next words take the next colours.
      spell(1, kWordColours[1]);
      if (QTest::currentTestFailed()) return;
      QCOMPARE(Items(*w.words), (QStringList{"PEAR", "PLUM"}));
      spell(2, kWordColours[2]);
      if (QTest::currentTestFailed()) return;
      player.Expect(QMessageBox::Ok);  // the win, on the clock's next tick
      spell(3, kWordColours[3]);
      if (QTest::currentTestFailed()) return;
      QCOMPARE(w.words->count(), 0);

      QTRY_COMPARE_WITH_TIMEOUT(player.seen.size(), 2, 10000);
      const QRegularExpression won(
          QStringLiteral("^You have won - you took \\d\\d:\\d\\d:\\d\\d to find 4 words from FRUIT$"));
      QVERIFY2(won.match(player.seen[1]).hasMatch(), qPrintable(player.seen[1]));
      QTRY_VERIFY(!w.timer1->Running());
      QCOMPARE(f.Play.WonFlag, 1);
      QVERIFY(!w.timer2->Running());  // the solved board stays
      QVERIFY(QRegularExpression(QStringLiteral("^Time Taken \\d\\d:\\d\\d:\\d\\d$"))
                  .match(w.clock->text())
                  .hasMatch());

      // A press on the won board does nothing.
      const QImage solved = w.surface->grab().toImage();
      QTest::mouseClick(w.surface, Qt::LeftButton, {}, scale.PressPoint({7, 7}));
      QCOMPARE(w.surface->grab().toImage(), solved);

      // The record, in the file as the handler ended.
      bestTime = f.Records.BestTime;
      QVERIFY(bestTime > 0);
      QCOMPARE(f.Records.BestTitle, std::string("FRUIT"));
      QCOMPARE(f.Records.RunBestTitle, std::string("FRUIT"));
      const QByteArray file = ReadFile(path_);
      QVERIFY2(file.contains("\r\nTitle=FRUIT\r\n"), file.constData());
      QVERIFY2(QRegularExpression(QStringLiteral("\\r\\nTime=[0-9.E+-]+\\r\\n"))
                   .match(QString::fromLatin1(file))
                   .hasMatch(),
               file.constData());
      QCOMPARE(player.seen.size(), 2);
    }

    // The next run reads the record back, and Statistics shows it.
    Program next(path_.toStdString());
    QVERIFY(QTest::qWaitForWindowExposed(&next.MainWindow()));
    QCOMPARE(next.MainForm().Records.BestTitle, std::string("FRUIT"));
    QVERIFY2(std::abs(next.MainForm().Records.BestTime - bestTime) <= 1e-12 * bestTime,
             qPrintable(QString::number(next.MainForm().Records.BestTime, 'g', 17)));
    QCOMPARE(next.MainForm().Records.RunBestTime, 0.0);
    const Widgets w(next);
    QVERIFY(w.Complete());
    player.Expect(QMessageBox::Ok);
    QTest::mouseClick(w.statistics, Qt::LeftButton);
    QCOMPARE(player.seen.size(), 3);
    QVERIFY2(QRegularExpression(QStringLiteral("^Fastest overall time \\d\\d:\\d\\d:\\d\\d on FRUIT\\r\\r$"))
                 .match(player.seen[2])
                 .hasMatch(),
             qPrintable(player.seen[2]));
  }

  void printedSheetHoldsTheCleanBoardAndTheWordsLeft() {
    if (!QPrinterInfo::defaultPrinter().isNull())
      QSKIP("a printer is set up here; tests print nothing on paper");
    const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
    const QString pdftoppm = QStandardPaths::findExecutable(QStringLiteral("pdftoppm"));
    if (pdftotext.isEmpty() || pdftoppm.isEmpty()) QSKIP("poppler-utils is not installed");

    BoxPlayer player;
    Program program(path_.toStdString());
    FormWindow& window = program.MainWindow();
    Form1& f = program.MainForm();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const Widgets w(program);
    QVERIFY(w.Complete());
    const Scale scale{window.Dpi()};
    ClickGame(w.games, QStringLiteral("FRUIT"));
    const std::vector<Cell> fig = FindWord(f.Grid1, "FIG");
    QVERIFY2(!fig.empty(), BoardText(f.Grid1).constData());
    for (const Cell& cell : fig) QTest::mouseClick(w.surface, Qt::LeftButton, {}, scale.PressPoint(cell));
    QCOMPARE(Items(*w.words), (QStringList{"KIWI", "PEAR", "PLUM"}));

    // No printer: the sheet goes to the PDF file the player names.
    const QString chosen = dir_.filePath(QStringLiteral("sheet"));
    bool dialogShown = false;
    auto* poll = new QTimer(this);
    poll->setInterval(5);
    connect(poll, &QTimer::timeout, this, [&dialogShown, poll, chosen] {
      auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
      if (!dialog || !dialog->isVisible()) return;
      poll->stop();
      dialogShown = true;
      dialog->selectFile(chosen);
      static_cast<QDialog*>(dialog)->accept();
    });
    poll->start();
    QTest::mouseClick(w.print, Qt::LeftButton);
    QVERIFY(dialogShown);
    const QString pdf = chosen + QStringLiteral(".pdf");
    QVERIFY(ReadFile(pdf).startsWith("%PDF-"));
    QVERIFY(player.seen.isEmpty());
    // Printing changes nothing on the window.
    QCOMPARE(Items(*w.words), (QStringList{"KIWI", "PEAR", "PLUM"}));

    // The page at 144 dpi is ten twips to the pixel; the form's client area
    // starts at the printable area's corner, half an inch in.
    constexpr int kResolution = 144;
    constexpr int kMargin = 720;
    auto px = [](int twips) { return (twips + kMargin) / 10; };
    auto textIn = [&](int left, int top, int width, int height, bool layout) {
      QStringList args = {QStringLiteral("-r"),        QString::number(kResolution), QStringLiteral("-x"),
                          QString::number(px(left)),   QStringLiteral("-y"),         QString::number(px(top)),
                          QStringLiteral("-W"),        QString::number(width / 10),  QStringLiteral("-H"),
                          QString::number(height / 10)};
      if (layout) args << QStringLiteral("-layout");
      args << pdf << QStringLiteral("-");
      QProcess process;
      process.start(pdftotext, args);
      if (!process.waitForFinished(60000) || process.exitCode() != 0)
        return QStringList{QStringLiteral("(pdftotext failed)")};
      QStringList lines;
      for (QString line : QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'))) {
        line.remove(QLatin1Char('\f'));
        line.remove(QLatin1Char(' '));
        if (!line.isEmpty()) lines << line;
      }
      return lines;
    };
    // The heading and the words still to find, in the list's order.
    QCOMPARE(textIn(7800, 120, 1815, 255, false), (QStringList{"WordList"}));
    QCOMPARE(textIn(7800, 480, 1815, 4155, false), (QStringList{"KIWI", "PEAR", "PLUM"}));
    // The board, row by row, as the letter grid holds it.
    QStringList rows;
    for (int r = 0; r < 15; ++r) {
      QString row;
      for (int c = 0; c < 15; ++c) row += QString::fromStdString(f.Grid1.CellAt(r, c).text);
      rows << row;
    }
    QCOMPARE(textIn(120, 120, 7500, 7500, true), rows);

    // In the pixels: a letter in every cell, and none of the rings drawn on
    // the screen.
    const QString base = dir_.filePath(QStringLiteral("page"));
    QCOMPARE(QProcess::execute(pdftoppm, {QStringLiteral("-r"), QString::number(kResolution),
                                          QStringLiteral("-png"), QStringLiteral("-singlefile"), pdf, base}),
             0);
    const QImage page(base + QStringLiteral(".png"));
    QVERIFY(!page.isNull());
    auto dark = [](QRgb p) { return qGray(p) < 110; };
    for (int r = 0; r < 15; ++r)
      for (int c = 0; c < 15; ++c) {
        const QRect inside(px(120 + c * kPitch) + 3, px(120 + r * kPitch) + 3, kPitch / 10 - 6,
                           kPitch / 10 - 6);
        QVERIFY2(CountIn(page, inside, dark) > 20, qPrintable(QStringLiteral("%1,%2").arg(r).arg(c)));
      }
    for (const Cell& cell : fig) {
      // Two points of the ring clear of the cell's letter and lines.
      const int left = 120 + cell.col * kPitch, top = 120 + cell.row * kPitch;
      for (const QPoint at : {QPoint(px(left + kRingInset + kRingRadius), px(top + kRingInset)),
                              QPoint(px(left + kRingInset), px(top + kRingInset + kRingRadius))})
        QCOMPARE(CountIn(page, QRect(at - QPoint(1, 1), QSize(3, 3)), [](QRgb p) { return qGray(p) < 200; }),
                 0);
    }
    // Dark on light under the heading: the words, not a filled box.
    const QRect list(px(7800) + 3, px(480) + 3, 175, 405);
    QVERIFY(CountIn(page, list, dark) > 60);
    QVERIFY(CountIn(page, list, dark) < list.width() * list.height() / 8);
  }

 private:
  QTemporaryDir dir_;
  QString path_;
};

QTEST_MAIN(PlayGameTest)
#include "play_game_test.moc"
