// The main window's start-up (Form1 made, its Load run, the window shown) to
// the first paint of the board, and the painting of one full board. Run on
// the offscreen platform unless a display is chosen.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QTemporaryDir>
#include <cstdlib>
#include <memory>

#include "app/program.h"
#include "platform/event_door.h"
#include "platform/file_system.h"
#include "platform/picture.h"
#include "platform/qt/board_painter.h"
#include "platform/qt/form_window.h"
#include "platform/qt/qt_runtime.h"
#include "play/form1.h"
#include "profile/profile_store.h"

using namespace pelmora;

namespace {

// A profile as a player's looks after a while: settings, a record, games.
QString WriteProfile(const QTemporaryDir& dir) {
  const QString path = dir.filePath(QStringLiteral("wsearch.ini"));
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly)) return path;
  QByteArray text = "[Settings]\r\nVisible=1\r\nPractice=0\r\nTime=1.23E-03\r\nTitle=ANIMALS\r\n[games]\r\n";
  for (int i = 1; i <= 40; ++i) text += QByteArray::number(i) + "=GAME " + QByteArray::number(i) + "\r\n";
  file.write(text);
  return path;
}

struct PaintWatch : QObject {
  QObject* target = nullptr;
  bool painted = false;
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == target && event->type() == QEvent::Paint) painted = true;
    return false;
  }
};

// One start of the program, timed from nothing to the board on screen.
double StartUpSeconds(const QString& path) {
  QElapsedTimer clock;
  clock.start();
  auto program = std::make_unique<Program>(QFile::encodeName(path).toStdString());
  PaintWatch watch;
  qApp->installEventFilter(&watch);
  program->Start();
  watch.target = program->MainWindow().WidgetFor(program->MainForm().Picture1);
  while (!watch.painted && clock.elapsed() < 5000) QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
  const double seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
  qApp->removeEventFilter(&watch);
  program.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  return seconds;
}

void BM_StartUpToFirstPaint(benchmark::State& state) {
  QTemporaryDir dir;
  const QString path = WriteProfile(dir);
  for (auto _ : state) state.SetIterationTime(StartUpSeconds(path));
}
// The first start in the process pays for the fonts and the style, as a
// player's start does; the others show the program's own share.
BENCHMARK(BM_StartUpToFirstPaint)->Name("StartUpToFirstPaint/cold")->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StartUpToFirstPaint)->Name("StartUpToFirstPaint/warm")->UseManualTime()->Iterations(20)->Repetitions(5)->ReportAggregatesOnly(true)->Unit(benchmark::kMillisecond);

PictureHandle FullBoard() {
  auto board = std::make_shared<GridPicture>();
  board->rows = 15;
  board->cols = 15;
  board->rowHeights.assign(15, 500);
  board->colWidths.assign(15, 500);
  board->cells.resize(225);
  for (int i = 0; i < 225; ++i) {
    GridCell& cell = board->cells[static_cast<std::size_t>(i)];
    cell.text.assign(1, static_cast<char>('A' + (i * 7) % 26));
    cell.alignment = 4;
    cell.bold = true;
  }
  return board;
}

class SurfaceForm : public Form {
 public:
  SurfaceForm() : Form("Form1", "Board", 8000, 8000), Picture1("Picture1", {200, 200, 975, 615}, 0, 3) {}
  std::vector<Control*> Controls() override { return {&Picture1}; }
  PictureBox Picture1;
};

// A full board on the surface, through the widget's own paint event, at the
// device pixel ratio of the argument.
void BM_PaintFullBoard(benchmark::State& state) {
  const int dpr = static_cast<int>(state.range(0));
  SurfaceForm form;
  EventDoor door;
  ListRefills refills;
  FormWindow window(form, door, refills, nullptr, {}, 1.0);
  form.Picture1.SetPicture(FullBoard());
  for (int i = 0; i < 12; ++i) form.Picture1.Circle(200 + 500 * i, 200 + 500 * i, 200, 0xFF0000);
  QWidget* surface = window.WidgetFor(form.Picture1);
  QImage image(surface->size() * dpr, QImage::Format_ARGB32_Premultiplied);
  image.setDevicePixelRatio(dpr);
  for (auto _ : state) {
    surface->render(&image);
    benchmark::DoNotOptimize(image.constBits());
  }
}
BENCHMARK(BM_PaintFullBoard)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

// The board painter alone, as the printed page uses it (at 1200 dpi the
// same vectors, here on a 96 dpi image).
void BM_BoardPainterOnly(benchmark::State& state) {
  const PictureHandle board = FullBoard();
  QImage image(500, 500, QImage::Format_ARGB32_Premultiplied);
  for (auto _ : state) {
    QPainter painter(&image);
    painter.scale(96.0 / 1440, 96.0 / 1440);
    PaintGridPicture(painter, *board, GridLines::Screen);
  }
}
BENCHMARK(BM_BoardPainterOnly)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
