// What a player waits for in the Qt front end, each from the input event to
// the pixels: one press on the board, ringed and judged, with the surface
// repainted; one tick of the idle shuffle with its repaint; the printed page
// composed as a PDF, and handed to the default printer; one key in the
// designer's name box over a profile of 4096 games, with the game list
// refilled on screen. Each runs the
// program's own wiring on a profile of its own, on the offscreen platform
// unless a display is chosen.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>
#include <string>
#include <vector>

#include "app/program.h"
#include "platform/qt/form_printer.h"

using namespace pelmora;

namespace {

constexpr int kPitch = 500;

QString WriteProfile(const QTemporaryDir& dir, const QByteArray& text) {
  const QString path = dir.filePath(QStringLiteral("wsearch.ini"));
  QFile file(path);
  if (file.open(QIODevice::WriteOnly)) file.write(text);
  return path;
}

// A full game of sixteen words, as a keen player's would be.
QByteArray OneGameProfile() {
  QByteArray text = "[games]\r\n1=TREES\r\n[TREES]\r\n";
  const char* words[] = {"OAK",   "ELM",   "ASH",   "PINE",  "BIRCH",  "ALDER",  "MAPLE",  "CEDAR",
                         "LARCH", "HOLLY", "ROWAN", "HAZEL", "WILLOW", "SPRUCE", "POPLAR", "YEW"};
  for (int i = 0; i < 16; ++i) text += QByteArray::number(i + 1) + "=" + words[i] + "\r\n";
  return text;
}

// Paint events on one widget.
struct PaintCounter : QObject {
  long paints = 0;
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint) ++paints;
    return false;
  }
};

// The program on its profile, its window shown and exposed.
std::unique_ptr<Program> Start(const QString& path) {
  auto program = std::make_unique<Program>(QFile::encodeName(path).toStdString());
  program->Start();
  if (!QTest::qWaitForWindowExposed(&program->MainWindow())) return nullptr;
  return program;
}

// Deals the first game by a click in the game list, then stops the clock so
// that its ticks don't land inside a measurement.
bool DealFirstGame(Program& program) {
  Form1& f = program.MainForm();
  auto* games = qobject_cast<QListWidget*>(program.MainWindow().WidgetFor(f.List2));
  if (!games || games->count() == 0) return false;
  QTest::mouseClick(games->viewport(), Qt::LeftButton, {}, games->visualItemRect(games->item(0)).center());
  f.Timer1.SetEnabled(false);
  QCoreApplication::processEvents();
  return f.List1.ListCount() > 0;
}

// (a) One press on the board: the mouse event through the door to the
// handler, the ring drawn and the surface repainted, the letter judged. Each
// press is the first letter of a listed word, so it is always the common
// case: a ring, a prefix, no message box.
void BM_BoardPress(benchmark::State& state) {
  QTemporaryDir dir;
  auto program = Start(WriteProfile(dir, OneGameProfile()));
  if (!program || !DealFirstGame(*program)) {
    state.SkipWithError("the game did not start");
    return;
  }
  Form1& f = program->MainForm();
  FormWindow& window = program->MainWindow();
  QWidget* surface = window.WidgetFor(f.Picture1);
  std::vector<QPoint> presses;
  const double pixelsPerTwip = window.Scale() / 15.0;
  for (int r = 0; r < 15; ++r)
    for (int c = 0; c < 15; ++c) {
      const std::string& letter = f.Grid1.CellAt(r, c).text;
      bool starts = false;
      for (int i = 0; i < f.List1.ListCount(); ++i)
        starts = starts || f.List1.List(i).compare(0, 1, letter) == 0;
      if (starts)
        presses.emplace_back(static_cast<int>((c * kPitch + kPitch / 2) * pixelsPerTwip),
                             static_cast<int>((r * kPitch + kPitch / 2) * pixelsPerTwip));
    }
  if (presses.empty()) {
    state.SkipWithError("no cell starts a word");
    return;
  }
  PaintCounter counter;
  surface->installEventFilter(&counter);
  std::size_t next = 0;
  long pressed = 0;
  for (auto _ : state) {
    state.PauseTiming();
    // A fresh selection for every press, and a fresh board now and then so
    // the rings don't pile up beyond what a game leaves.
    f.Sel.Letters.clear();
    f.Sel.ClickCount = 0;
    if (pressed % 40 == 0) {
      window.Door().Dispatch([&f] { f.Picture1.SetPicture(f.Grid1.Picture()); });
      surface->repaint();
    }
    state.ResumeTiming();
    QTest::mousePress(surface, Qt::LeftButton, {}, presses[next]);
    QCoreApplication::processEvents();
    state.PauseTiming();
    QTest::mouseRelease(surface, Qt::LeftButton, {}, presses[next]);
    next = (next + 1) % presses.size();
    ++pressed;
    state.ResumeTiming();
  }
  surface->removeEventFilter(&counter);
  if (f.Sel.ClickCount != 1) state.SkipWithError("a press was not judged as the first letter of a word");
  state.counters["rings"] = benchmark::Counter(static_cast<double>(f.Picture1.Circles().size()));
  state.counters["paints/press"] =
      benchmark::Counter(static_cast<double>(counter.paints), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_BoardPress)->Unit(benchmark::kMicrosecond);

// (b) One tick of the idle shuffle, through the door as the timer sends it:
// every cell redrawn from the clock-seeded source, the board published and
// the surface repainted.
void BM_IdleShuffleTick(benchmark::State& state) {
  QTemporaryDir dir;
  auto program = Start(WriteProfile(dir, OneGameProfile()));
  if (!program) {
    state.SkipWithError("the program did not start");
    return;
  }
  Form1& f = program->MainForm();
  FormWindow& window = program->MainWindow();
  f.Timer2.SetEnabled(false);  // the ticks come from here only
  QWidget* surface = window.WidgetFor(f.Picture1);
  PaintCounter counter;
  surface->installEventFilter(&counter);
  for (auto _ : state) {
    window.Door().Dispatch([&f] { f.Timer2.Tick(); });
    QCoreApplication::processEvents();
  }
  surface->removeEventFilter(&counter);
  state.counters["paints/tick"] =
      benchmark::Counter(static_cast<double>(counter.paints), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_IdleShuffleTick)->Unit(benchmark::kMicrosecond);

// (c) The printed sheet of a game under way, filled as Print fills it and
// composed as a PDF file.
void BM_PrintedPageAsPdf(benchmark::State& state) {
  QTemporaryDir dir;
  auto program = Start(WriteProfile(dir, OneGameProfile()));
  if (!program || !DealFirstGame(*program)) {
    state.SkipWithError("the game did not start");
    return;
  }
  Form1& f = program->MainForm();
  const QString pdf = dir.filePath(QStringLiteral("sheet.pdf"));
  for (auto _ : state) {
    Form3& sheet = f.Sheet();
    sheet.Picture1.SetPicture(f.Picture1.Picture());
    sheet.List1.Clear();
    for (int i = 0; i < f.List1.ListCount(); ++i) sheet.List1.AddItem(f.List1.List(i));
    if (!RenderFormToFile(sheet, pdf)) {
      state.SkipWithError("the PDF was not written");
      return;
    }
  }
  state.counters["bytes"] = benchmark::Counter(static_cast<double>(QFile(pdf).size()));
}
BENCHMARK(BM_PrintedPageAsPdf)->Unit(benchmark::kMillisecond);

// (e) Print pressed to the job taken by the default printer's queue: the
// click, the sheet drawn on the printer's paper and handed to the print
// system, which answers once it holds the job. Needs a printer:
//
//   tests/desktop/under-cups build-check/bench/qt_play_bench --benchmark_filter=Printer
void BM_PrintToTheDefaultPrinter(benchmark::State& state) {
  QTemporaryDir dir;
  auto program = Start(WriteProfile(dir, OneGameProfile()));
  if (!program || !DealFirstGame(*program)) {
    state.SkipWithError("the game did not start");
    return;
  }
  QWidget* print = program->MainWindow().WidgetFor(program->MainForm().Command3);
  // A print that fails brings the save dialog; it is cancelled, and counted.
  int failed = 0;
  QTimer answer;
  QObject::connect(&answer, &QTimer::timeout, [&failed] {
    if (QWidget* dialog = QApplication::activeModalWidget()) {
      ++failed;
      dialog->close();
    }
  });
  answer.start(5);
  for (auto _ : state) QTest::mouseClick(print, Qt::LeftButton);
  if (failed > 0) state.SkipWithError("the printer did not take the sheet");
}
BENCHMARK(BM_PrintToTheDefaultPrinter)->Unit(benchmark::kMillisecond)->Iterations(20);

// (d) One key in the designer's name box with 4096 games stored: the key
// through the door, the list read from the profile again, and the widget's
// 4096 lines replaced. Keys alternate between a letter and Backspace.
void BM_DesignerNameKey(benchmark::State& state) {
  QTemporaryDir dir;
  QByteArray text = "[games]\r\n";
  for (int i = 1; i <= 4096; ++i) text += QByteArray::number(i) + "=GAME " + QByteArray::number(i) + "\r\n";
  text += "[GAME 1]\r\n1=OAK\r\n2=ELM\r\n";
  auto program = Start(WriteProfile(dir, text));
  if (!program) {
    state.SkipWithError("the program did not start");
    return;
  }
  Form1& f = program->MainForm();
  Form2& designer = f.Designer;
  EventDoor& door = program->MainWindow().Door();
  // The designer's window as its modal show makes it, without the nested
  // loop, so that the benchmark drives it.
  f.Timer2.SetEnabled(false);
  designer.Loaded = true;
  door.Dispatch(designer.LoadEvent);
  FormWindow window(designer, door, program->MainWindow().Refills(), &program->MainWindow(), Qt::Dialog);
  window.show();
  if (!QTest::qWaitForWindowExposed(&window)) {
    state.SkipWithError("the designer did not show");
    return;
  }
  door.Dispatch(designer.ActivateEvent);
  auto* name = qobject_cast<QLineEdit*>(window.WidgetFor(designer.Text1));
  auto* list = qobject_cast<QListWidget*>(window.WidgetFor(designer.List1));
  if (!name || !list || list->count() != 4096) {
    state.SkipWithError("the designer's list is not full");
    return;
  }
  bool letter = true;
  for (auto _ : state) {
    QTest::keyClick(name, letter ? Qt::Key_A : Qt::Key_Backspace);
    QCoreApplication::processEvents();
    letter = !letter;
  }
  if (list->count() != 4096 || designer.Design.DirtyFlag != 1) state.SkipWithError("the keys were not seen");
  state.counters["lines"] = benchmark::Counter(static_cast<double>(list->count()));
  window.Detach();
  designer.Loaded = false;
}
BENCHMARK(BM_DesignerNameKey)->Unit(benchmark::kMicrosecond);

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
