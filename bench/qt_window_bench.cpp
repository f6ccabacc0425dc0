// The game's window as a player has it: maximised, at the scale that fits the
// screen. Meant for an X server with a window manager, where a maximised
// window takes the screen:
//
//   tests/desktop/under-openbox 1920x1080 build/bench/qt_window_bench
//
// (a) the idle shuffle's CPU over 10 s, as a share of one core; (b) start-up
// to a mapped window: the program started afresh as a child process, from
// the moment it is started to the moment its window is exposed, through the
// same steps as main.cpp (the application, the one-window check, the window);
// (c) one press on the board, from the mouse event to the ring painted on
// screen. Printed, not asserted.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QListWidget>
#include <QProcess>
#include <QTemporaryDir>
#include <QWindow>
#include <QtTest>
#include <cstdio>
#include <cstring>
#include <memory>

#include "app/program.h"
#include "app/single_window.h"
#include "platform/qt/board_surface.h"

using namespace pelmora;

namespace {

const char* self = nullptr;  // this program, started again as the child of (b)

QByteArray Profile() {
  QByteArray text = "[Settings]\r\nVisible=1\r\n[games]\r\n1=TREES\r\n[TREES]\r\n";
  const char* words[] = {"OAK",   "ELM",   "ASH",   "PINE",  "BIRCH",  "ALDER",  "MAPLE",  "CEDAR",
                         "LARCH", "HOLLY", "ROWAN", "HAZEL", "WILLOW", "SPRUCE", "POPLAR", "YEW"};
  for (int i = 0; i < 16; ++i) text += QByteArray::number(i + 1) + "=" + words[i] + "\r\n";
  return text;
}

QString WriteProfile(const QTemporaryDir& dir) {
  const QString path = dir.filePath(QStringLiteral("wsearch.ini"));
  QFile file(path);
  if (file.open(QIODevice::WriteOnly)) file.write(Profile());
  return path;
}

// The program shown and settled: maximised by the window manager, fitted.
std::unique_ptr<Program> StartMaximised(const QString& path) {
  auto program = std::make_unique<Program>(QFile::encodeName(path).toStdString());
  program->Start();
  FormWindow& window = program->MainWindow();
  const auto maximised = [&window] {
    return window.screen() && window.frameGeometry().size() == window.screen()->availableGeometry().size();
  };
  // Waited for as long as it takes: a loaded machine only makes it slower.
  constexpr int kNoDeadline = 24 * 3600 * 1000;
  if (!QTest::qWaitForWindowExposed(&window, kNoDeadline) || !QTest::qWaitFor(maximised, kNoDeadline)) return nullptr;
  QTest::qWait(200);  // the fit that follows
  return program;
}

double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// (a) Idle: the shuffle changes the letters ten times a second.
void BM_IdleShimmerCpu(benchmark::State& state) {
  QTemporaryDir dir;
  auto program = StartMaximised(WriteProfile(dir));
  if (!program) {
    state.SkipWithError("the window never showed");
    return;
  }
  for (auto _ : state) {
    // The program's own event loop, as a player's run has it (QTest::qWait
    // would wake every few milliseconds).
    QEventLoop loop;
    QTimer::singleShot(10000, &loop, &QEventLoop::quit);
    const double before = CpuSeconds();
    QElapsedTimer wall;
    wall.start();
    loop.exec();
    const double seconds = static_cast<double>(wall.nsecsElapsed()) / 1e9;
    state.SetIterationTime(seconds);
    state.counters["cpu_percent_of_a_core"] = (CpuSeconds() - before) / seconds * 100;
  }
  state.counters["window_width"] = program->MainWindow().width();
  state.counters["window_height"] = program->MainWindow().height();
  state.counters["scale"] = program->MainWindow().Scale();
}
BENCHMARK(BM_IdleShimmerCpu)->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);

// (b) The child: main.cpp's steps on a profile of its own, then a line once
// the window is exposed.
int StartUpChild(int argc, char** argv, const char* profile) {
  QApplication app(argc, argv);
  IdentifyApplication();
  SingleWindow single(profile);
  if (single.HandedToRunning()) return 1;
  Program program(profile);
  program.Start();
  while (!program.MainWindow().windowHandle() || !program.MainWindow().windowHandle()->isExposed())
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
  std::puts("mapped");
  std::fflush(stdout);
  return 0;
}

void BM_StartUpToMappedWindow(benchmark::State& state) {
  QTemporaryDir dir;
  const QString profile = WriteProfile(dir);
  for (auto _ : state) {
    QProcess child;
    QElapsedTimer clock;
    clock.start();
    child.start(QString::fromLocal8Bit(self), {QStringLiteral("--start-up-child"), profile});
    if (!child.waitForReadyRead(10000) || !child.readAll().startsWith("mapped")) {
      state.SkipWithError("the child's window never showed");
      return;
    }
    state.SetIterationTime(static_cast<double>(clock.nsecsElapsed()) / 1e9);
    child.kill();
    child.waitForFinished();
  }
}
BENCHMARK(BM_StartUpToMappedWindow)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);

// (c) A press on the first letter of a listed word, each on a fresh
// selection: judged, ringed, and the ring painted on screen (the surface
// paints a ring at once, before the handler goes on).
void BM_BoardPressAtFit(benchmark::State& state) {
  QTemporaryDir dir;
  auto program = StartMaximised(WriteProfile(dir));
  if (!program) {
    state.SkipWithError("the window never showed");
    return;
  }
  Form1& f = program->MainForm();
  FormWindow& window = program->MainWindow();
  auto* games = qobject_cast<QListWidget*>(window.WidgetFor(f.List2));
  QTest::mouseClick(games->viewport(), Qt::LeftButton, {}, games->visualItemRect(games->item(0)).center());
  f.Timer1.SetEnabled(false);  // no clock tick inside a measurement
  auto* surface = dynamic_cast<BoardSurface*>(window.ViewFor(f.Picture1));
  std::vector<QPointF> presses;
  for (int r = 0; r < 15; ++r)
    for (int c = 0; c < 15; ++c)
      for (const std::string& word : f.List1.Items())
        if (word.compare(0, 1, f.Grid1.CellAt(r, c).text) == 0) {
          presses.push_back(surface->PixelsOf(500 * c + 250, 500 * r + 250));
          break;
        }
  if (presses.empty()) {
    state.SkipWithError("no cell starts a word");
    return;
  }
  std::size_t next = 0;
  for (auto _ : state) {
    state.PauseTiming();
    // A fresh selection for every press, and a fresh board now and then so
    // the rings don't pile up beyond what a game leaves.
    f.Sel.Letters.clear();
    f.Sel.ClickCount = 0;
    if (next % 40 == 0) {
      window.Door().Dispatch([&f] { f.Picture1.SetPicture(f.Grid1.Picture()); });
      QCoreApplication::processEvents();
    }
    const QPointF at = presses[next++ % presses.size()];
    const QPointF global = surface->mapToGlobal(at);
    QMouseEvent press(QEvent::MouseButtonPress, at, global, Qt::LeftButton, Qt::LeftButton, {});
    QMouseEvent release(QEvent::MouseButtonRelease, at, global, Qt::LeftButton, Qt::NoButton, {});
    state.ResumeTiming();
    QApplication::sendEvent(surface, &press);
    state.PauseTiming();
    QApplication::sendEvent(surface, &release);
    state.ResumeTiming();
  }
  state.counters["scale"] = window.Scale();
  state.counters["rings"] = static_cast<double>(f.Picture1.Circles().size());
}
BENCHMARK(BM_BoardPressAtFit)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  self = argv[0];
  if (argc == 3 && std::strcmp(argv[1], "--start-up-child") == 0) {
    int childArgc = 1;
    return StartUpChild(childArgc, argv, argv[2]);
  }
  QApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
