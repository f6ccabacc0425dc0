// Plays the real game on a real display and photographs it.
//
//   screenshot_driver shoot OUTDIR TAG
//       Builds the program's own windows (app/program.h) on a profile of its
//       own in OUTDIR, deals the first game, finds a word on the board and
//       clicks its letters with mouse events, starts a second word, opens the
//       designer, and saves what the screen shows: OUTDIR/play-TAG.png and
//       OUTDIR/designer-TAG.png, with OUTDIR/layout-TAG.txt, the place of
//       every control in device pixels. Prints the start-up time to the first
//       paint and the resident memory with the game on the board.
//
//   screenshot_driver compare DIR
//       Checks the pictures of a 1x run and a 2x run (tags 1x and 2x): none
//       is blank, the 2x pictures are twice the size with every control at
//       twice its place, and the 2x board is drawn for its own pixels (its
//       letters and rings are as crisp as at 1x, not an enlarged 1x image).
//
// Exit status 0 when all went well and every check held, 1 otherwise.

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QListWidget>
#include <QMap>
#include <QMessageBox>
#include <QPixmap>
#include <QScreen>
#include <QTest>
#include <QTextStream>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include "app/program.h"
#include "tests/support/grid_words.h"

namespace {

int failures = 0;

void Fail(const QString& what) {
  std::fprintf(stderr, "FAIL: %s\n", qPrintable(what));
  ++failures;
}

// ---------------------------------------------------------------------------
// Shooting

// Games whose words are no prefix of one another, so clicking one whole word
// never finds a shorter one on the way.
const char kProfile[] =
    "[Settings]\r\nVisible=1\r\nPractice=0\r\n"
    "[games]\r\n1=GARDEN\r\n2=KITCHEN\r\n3=OCEAN\r\n"
    "[GARDEN]\r\n1=ROSE\r\n2=TULIP\r\n3=DAISY\r\n4=LILY\r\n5=ORCHID\r\n6=POPPY\r\n"
    "7=VIOLET\r\n8=ASTER\r\n9=PEONY\r\n10=IRIS\r\n11=CROCUS\r\n12=DAHLIA\r\n"
    "[KITCHEN]\r\n1=SPOON\r\n2=KETTLE\r\n3=LADLE\r\n4=WHISK\r\n"
    "[OCEAN]\r\n1=WHALE\r\n2=CORAL\r\n3=SQUID\r\n4=TIDE\r\n";

// Seconds since boot, on the clock the kernel dates a process's start by.
double BootSeconds() {
  timespec t{};
  clock_gettime(CLOCK_BOOTTIME, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

// When this process started, in seconds since boot (field 22 of stat).
std::optional<double> ProcessStartSeconds() {
  QFile stat(QStringLiteral("/proc/self/stat"));
  if (!stat.open(QIODevice::ReadOnly)) return std::nullopt;
  const QByteArray text = stat.readAll();
  const qsizetype close = text.lastIndexOf(')');  // the name may hold blanks
  if (close < 0) return std::nullopt;
  const QList<QByteArray> fields = text.mid(close + 2).split(' ');
  // Fields after the name start at field 3, so field 22 is index 19.
  if (fields.size() < 20) return std::nullopt;
  bool ok = false;
  const double ticks = fields[19].toDouble(&ok);
  if (!ok) return std::nullopt;
  return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

long ResidentKiB() {
  QFile status(QStringLiteral("/proc/self/status"));
  if (!status.open(QIODevice::ReadOnly)) return -1;
  for (const QByteArray& line : status.readAll().split('\n')) {
    if (line.startsWith("VmRSS:")) return line.mid(6).trimmed().split(' ').front().toLong();
  }
  return -1;
}

// Notes the first paint of any widget.
class FirstPaint final : public QObject {
 public:
  std::optional<double> at;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (!at && event->type() == QEvent::Paint) at = BootSeconds();
    return QObject::eventFilter(watched, event);
  }
};

// What the X server shows of a window, in device pixels.
QImage Photograph(QWidget& window) {
  QTest::qWait(300);  // let the last paints reach the server
  QScreen* screen = window.screen();
  QPixmap shot = screen ? screen->grabWindow(window.winId()) : QPixmap();
  if (shot.isNull()) shot = window.grab();
  return shot.toImage().convertToFormat(QImage::Format_RGB32);
}

// The place of every control, in device pixels from the window's corner.
void WriteLayout(QTextStream& out, const QString& picture, pelmora::FormWindow& window) {
  const double ratio = window.devicePixelRatioF();
  out << "window " << picture << ' ' << std::lround(window.width() * ratio) << ' '
      << std::lround(window.height() * ratio) << '\n';
  for (pelmora::Control* control : window.form()->Controls()) {
    QWidget* widget = window.WidgetFor(*control);
    if (!widget || !widget->isVisible()) continue;
    const QPoint at = widget->mapTo(&window, QPoint(0, 0));
    const bool board = dynamic_cast<pelmora::PictureBox*>(control) != nullptr;
    out << (board ? "board " : "control ") << picture << ' ' << window.form()->Name().c_str() << '.'
        << control->Name().c_str() << ' ' << std::lround(at.x() * ratio) << ' '
        << std::lround(at.y() * ratio) << ' ' << std::lround(widget->width() * ratio) << ' '
        << std::lround(widget->height() * ratio) << '\n';
  }
}

using Cell = pelmora::testing::GridCell;

// A press at the middle of a board cell; letters stand 500 twips apart.
void ClickCell(pelmora::FormWindow& window, QWidget& board, Cell cell) {
  const double pixelsPerTwip = window.Scale() / 15.0;
  const QPoint at(static_cast<int>((cell.col * 500 + 250) * pixelsPerTwip),
                  static_cast<int>((cell.row * 500 + 250) * pixelsPerTwip));
  QTest::mouseClick(&board, Qt::LeftButton, Qt::NoModifier, at);
}

bool SavePicture(const QImage& image, const QString& path) {
  if (image.isNull() || !image.save(path, "PNG")) {
    Fail(QStringLiteral("could not save %1").arg(path));
    return false;
  }
  return true;
}

int Shoot(const QString& outDir, const QString& tag) {
  QDir().mkpath(outDir);
  const QString profile = outDir + QStringLiteral("/shots-wsearch.ini");
  {
    QFile file(profile);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
      Fail(QStringLiteral("cannot write %1").arg(profile));
      return 1;
    }
    file.write(kProfile);
  }

  // Nothing here may wait for an answer: a message box that comes up is a
  // fault of the run, noted and dismissed, and a run that hangs is ended.
  QTimer boxWatch;
  QObject::connect(&boxWatch, &QTimer::timeout, [] {
    if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
      Fail(QStringLiteral("unexpected message: %1").arg(box->text()));
      box->reject();
    }
  });
  boxWatch.start(100);
  QTimer::singleShot(25000, [] {
    std::fprintf(stderr, "FAIL: the run took too long\n");
    std::_Exit(1);
  });

  FirstPaint firstPaint;
  qApp->installEventFilter(&firstPaint);
  pelmora::Program program(profile.toStdString());
  program.Start();
  pelmora::Form1& form = program.MainForm();
  pelmora::FormWindow& window = program.MainWindow();
  if (!QTest::qWaitForWindowExposed(&window)) Fail(QStringLiteral("the main window never showed"));
  QCoreApplication::processEvents();
  const std::optional<double> started = ProcessStartSeconds();
  if (firstPaint.at && started)
    std::printf("start-up to first paint: %.0f ms\n", (*firstPaint.at - *started) * 1000.0);
  qApp->removeEventFilter(&firstPaint);

  // Deal the first game by clicking its name.
  auto* games = qobject_cast<QListWidget*>(window.WidgetFor(form.List2));
  if (!games || games->count() == 0) {
    Fail(QStringLiteral("the game list is empty"));
    return 1;
  }
  QTest::mouseClick(games->viewport(), Qt::LeftButton, Qt::NoModifier,
                    games->visualItemRect(games->item(0)).center());
  if (form.List1.ListCount() == 0 || !form.Timer1.Enabled()) {
    Fail(QStringLiteral("clicking a game dealt nothing"));
    return 1;
  }

  // Find a whole word, then start another, so rings of two colours show.
  QWidget* board = window.WidgetFor(form.Picture1);
  std::vector<std::vector<Cell>> found;
  for (const std::string& word : form.List1.Items()) {
    std::vector<Cell> cells = pelmora::testing::FindWord(form.Grid1, word);
    if (!cells.empty()) found.push_back(std::move(cells));
    if (found.size() == 2) break;
  }
  if (!board || found.size() < 2) {
    Fail(QStringLiteral("no two listed words on the board"));
    return 1;
  }
  const int wordsBefore = form.List1.ListCount();
  for (const Cell& cell : found[0]) ClickCell(window, *board, cell);
  if (form.List1.ListCount() != wordsBefore - 1)
    Fail(QStringLiteral("clicking a whole word didn't take it off the list"));
  for (std::size_t i = 0; i < 2 && i < found[1].size(); ++i) ClickCell(window, *board, found[1][i]);
  if (form.Picture1.Circles().size() != found[0].size() + 2)
    Fail(QStringLiteral("%1 rings on the board after %2 clicks")
             .arg(form.Picture1.Circles().size())
             .arg(found[0].size() + 2));

  QTest::qWait(1200);  // at rest: the clock ticking, nothing else moving
  std::printf("resident memory with a game on the board: %ld KiB\n", ResidentKiB());
  std::printf("device pixel ratio: %.2f, scale: %.2f\n", window.devicePixelRatioF(), window.Scale());

  QFile layoutFile(outDir + QStringLiteral("/layout-%1.txt").arg(tag));
  if (!layoutFile.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
    Fail(QStringLiteral("cannot write the layout"));
    return 1;
  }
  QTextStream layout(&layoutFile);
  SavePicture(Photograph(window), outDir + QStringLiteral("/play-%1.png").arg(tag));
  WriteLayout(layout, QStringLiteral("play"), window);

  // The designer is modal: its click returns once it is closed, so the
  // photograph is taken from inside, and Exit (nothing was typed) closes it.
  bool designerShown = false;
  QTimer::singleShot(0, [&] {
    pelmora::FormWindow* designer = program.Runtime().ModalWindow(form.Designer);
    if (!designer || !QTest::qWaitForWindowExposed(designer)) {
      Fail(QStringLiteral("the designer never showed"));
      return;
    }
    designerShown = true;
    SavePicture(Photograph(*designer), outDir + QStringLiteral("/designer-%1.png").arg(tag));
    WriteLayout(layout, QStringLiteral("designer"), *designer);
    if (QWidget* exitButton = designer->WidgetFor(form.Designer.Command4))
      QTest::mouseClick(exitButton, Qt::LeftButton);
  });
  if (QWidget* designerButton = window.WidgetFor(form.Command2)) QTest::mouseClick(designerButton, Qt::LeftButton);
  if (!designerShown) Fail(QStringLiteral("the designer button opened nothing"));
  if (form.Designer.Loaded) Fail(QStringLiteral("Exit left the designer open"));
  if (form.List1.ListCount() != wordsBefore - 1) Fail(QStringLiteral("the game didn't survive the designer"));
  layout.flush();
  return failures == 0 ? 0 : 1;
}

// ---------------------------------------------------------------------------
// Comparing

struct Layout {
  QMap<QString, QSize> windows;  // picture -> size
  QMap<QString, QRect> rects;    // "picture name" -> place
  QMap<QString, QRect> boards;   // picture -> the board's place
};

std::optional<Layout> ReadLayout(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return std::nullopt;
  Layout layout;
  QTextStream in(&file);
  while (!in.atEnd()) {
    const QStringList f = in.readLine().split(' ', Qt::SkipEmptyParts);
    if (f.size() == 4 && f[0] == QLatin1String("window")) {
      layout.windows[f[1]] = QSize(f[2].toInt(), f[3].toInt());
    } else if (f.size() == 7 && (f[0] == QLatin1String("control") || f[0] == QLatin1String("board"))) {
      const QRect rect(f[3].toInt(), f[4].toInt(), f[5].toInt(), f[6].toInt());
      layout.rects[f[1] + ' ' + f[2]] = rect;
      if (f[0] == QLatin1String("board")) layout.boards[f[1]] = rect;
    }
  }
  return layout;
}

// A blank or nearly blank picture (one flat colour, or a few) is what a
// broken grab, a window painted before its contents, or a missing font
// gives.
void CheckNotBlank(const QImage& image, const QString& name) {
  QMap<QRgb, int> counts;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) ++counts[image.pixel(x, y)];
  int largest = 0;
  for (int n : counts) largest = std::max(largest, n);
  const double share = image.isNull() ? 1.0 : static_cast<double>(largest) / (image.width() * image.height());
  std::printf("%s: %dx%d, %lld colours, the commonest covers %.0f%%\n", qPrintable(name), image.width(),
              image.height(), static_cast<long long>(counts.size()), share * 100);
  if (counts.size() < 24 || share > 0.9) Fail(QStringLiteral("%1 is blank or nearly so").arg(name));
}

int Luma(QRgb p) { return (qRed(p) * 299 + qGreen(p) * 587 + qBlue(p) * 114) / 1000; }

// How many pixels, on average, an edge takes to go from paper to ink or
// back, along the rows of the picture: the pixels between one brighter
// than 200 and the next darker than 100 (or the other way), when every pixel
// between them is in between. An image drawn for its own pixels has edges a
// pixel or so wide at any scale; one drawn at half the size and enlarged has
// edges twice as wide.
std::optional<double> MeanEdgeWidth(const QImage& image) {
  long edges = 0, width = 0;
  for (int y = 0; y < image.height(); ++y) {
    int lastExtreme = -1;  // x of the last pixel beyond either threshold
    int lastKind = 0;      // 1 paper, -1 ink
    for (int x = 0; x < image.width(); ++x) {
      const int l = Luma(image.pixel(x, y));
      const int kind = l > 200 ? 1 : l < 100 ? -1 : 0;
      if (kind == 0) continue;
      if (lastKind != 0 && kind != lastKind) {
        ++edges;
        width += x - lastExtreme - 1;
      }
      lastExtreme = x;
      lastKind = kind;
    }
  }
  if (edges < 50) return std::nullopt;
  return static_cast<double>(width) / static_cast<double>(edges);
}

// In an image enlarged by pixel doubling, each pixel at an even column
// equals its right neighbour. Of the pairs of neighbours that differ, the
// share that starts at an even column: about half for an image drawn at its
// own size, none for a doubled one.
double EvenPairShare(const QImage& image) {
  long even = 0, all = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x + 1 < image.width(); ++x)
      if (image.pixel(x, y) != image.pixel(x + 1, y)) {
        ++all;
        if (x % 2 == 0) ++even;
      }
  return all == 0 ? 0.0 : static_cast<double>(even) / static_cast<double>(all);
}

int Compare(const QString& dir) {
  const std::optional<Layout> one = ReadLayout(dir + QStringLiteral("/layout-1x.txt"));
  const std::optional<Layout> two = ReadLayout(dir + QStringLiteral("/layout-2x.txt"));
  if (!one || !two) {
    Fail(QStringLiteral("the layouts of both runs are needed in %1").arg(dir));
    return 1;
  }
  for (const QString& picture : {QStringLiteral("play"), QStringLiteral("designer")}) {
    const QImage at1 = QImage(dir + QStringLiteral("/%1-1x.png").arg(picture)).convertToFormat(QImage::Format_RGB32);
    const QImage at2 = QImage(dir + QStringLiteral("/%1-2x.png").arg(picture)).convertToFormat(QImage::Format_RGB32);
    CheckNotBlank(at1, picture + QStringLiteral(" at 1x"));
    CheckNotBlank(at2, picture + QStringLiteral(" at 2x"));
    if (at1.isNull() || at2.isNull()) continue;

    // The picture is the window, twice the size at 2x.
    if (at1.size() != one->windows.value(picture) || at2.size() != two->windows.value(picture))
      Fail(QStringLiteral("%1: the picture is not the window").arg(picture));
    if (at2.size() != at1.size() * 2)
      Fail(QStringLiteral("%1: %2x%3 at 2x against %4x%5 at 1x")
               .arg(picture)
               .arg(at2.width())
               .arg(at2.height())
               .arg(at1.width())
               .arg(at1.height()));
  }

  // Every control, in both windows, at twice its place and size.
  int controls = 0;
  for (auto it = one->rects.begin(); it != one->rects.end(); ++it) {
    const QRect expected(it.value().topLeft() * 2, it.value().size() * 2);
    if (!two->rects.contains(it.key())) {
      Fail(QStringLiteral("%1 is missing at 2x").arg(it.key()));
    } else if (two->rects.value(it.key()) != expected) {
      const QRect got = two->rects.value(it.key());
      Fail(QStringLiteral("%1 at %2,%3 %4x%5 at 2x, expected %6,%7 %8x%9")
               .arg(it.key())
               .arg(got.x())
               .arg(got.y())
               .arg(got.width())
               .arg(got.height())
               .arg(expected.x())
               .arg(expected.y())
               .arg(expected.width())
               .arg(expected.height()));
    }
    ++controls;
  }
  if (controls < 20 || two->rects.size() != one->rects.size())
    Fail(QStringLiteral("%1 controls at 1x, %2 at 2x").arg(controls).arg(two->rects.size()));

  // The board, letters and rings: as crisp at 2x as at 1x, and not doubled.
  const QImage play1 = QImage(dir + QStringLiteral("/play-1x.png")).convertToFormat(QImage::Format_RGB32);
  const QImage play2 = QImage(dir + QStringLiteral("/play-2x.png")).convertToFormat(QImage::Format_RGB32);
  if (!one->boards.contains(QStringLiteral("play")) || !two->boards.contains(QStringLiteral("play"))) {
    Fail(QStringLiteral("the board is not in the layout"));
  } else if (!play1.isNull() && !play2.isNull()) {
    const QImage board1 = play1.copy(one->boards.value(QStringLiteral("play")));
    const QImage board2 = play2.copy(two->boards.value(QStringLiteral("play")));
    const std::optional<double> edge1 = MeanEdgeWidth(board1);
    const std::optional<double> edge2 = MeanEdgeWidth(board2);
    const double even2 = EvenPairShare(board2);
    std::printf("board: edges %.2f px wide at 1x, %.2f px at 2x; %.0f%% of changes at even columns at 2x\n",
                edge1.value_or(-1), edge2.value_or(-1), even2 * 100);
    if (!edge1 || !edge2) Fail(QStringLiteral("the board shows too few letters to judge"));
    else if (*edge2 > *edge1 * 1.5 + 0.25) Fail(QStringLiteral("the 2x board is blurred: an enlarged 1x image"));
    if (even2 < 0.3) Fail(QStringLiteral("the 2x board is a pixel-doubled 1x image"));
  }
  return failures == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char* argv[]) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "shoot" && argc == 4) {
    QApplication app(argc, argv);
    pelmora::IdentifyApplication();
    const int status = Shoot(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]));
    std::printf("%s\n", status == 0 ? "shots taken" : "shots FAILED");
    return status;
  }
  if (mode == "compare" && argc == 3) {
    QCoreApplication app(argc, argv);
    const int status = Compare(QString::fromLocal8Bit(argv[2]));
    std::printf("%s\n", status == 0 ? "1x and 2x agree" : "1x and 2x DISAGREE");
    return status;
  }
  std::fprintf(stderr, "usage: %s shoot OUTDIR TAG | compare DIR\n", argv[0]);
  return 2;
}
