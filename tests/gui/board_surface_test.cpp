// The board surface: letters painted with vectors in the right face, in the
// right cells, at device pixel ratios 1 and 2; circles drawn at once in the
// right colour and place; presses reported in twips.

#include <QFontInfo>
#include <QFontMetrics>
#include <QLabel>
#include <QPainter>
#include <QtTest>

#include "platform/event_door.h"
#include "platform/form.h"
#include "platform/grid.h"
#include "platform/qt/board_painter.h"
#include "platform/qt/form_window.h"
#include "platform/runtime_helpers.h"

using namespace pelmora;

namespace {

// A form with a board surface and a label lying under its top left corner.
class BoardForm : public Form {
 public:
  BoardForm()
      : Form("BoardForm", "Board", 9000, 9000),
        Picture1("Picture1", {200, 200, 975, 615}, 0, 3),
        Label1("Label1", {0, 0, 1500, 600}, 1, "under") {}
  std::vector<Control*> Controls() override { return {&Picture1, &Label1}; }
  PictureBox Picture1;
  Label Label1;
};

struct Letter {
  int row, col;
  const char* text;
};
constexpr Letter kLetters[] = {{0, 0, "W"}, {7, 7, "M"}, {14, 14, "Q"}, {3, 10, "A"}, {11, 2, "E"}};

bool HasLetter(int row, int col) {
  for (const Letter& l : kLetters)
    if (l.row == row && l.col == col) return true;
  return false;
}

PictureHandle Board() {
  FlexGrid grid("Grid1", {}, 0);
  grid.SetRows(15);
  grid.SetCols(15);
  for (int i = 0; i < 15; ++i) {
    grid.SetRowHeight(i, 500);
    grid.SetColWidth(i, 500);
  }
  for (const Letter& l : kLetters) {
    grid.SetRow(l.row);
    grid.SetCol(l.col);
    grid.SetText(l.text);
    grid.SetCellAlignment(4);
    grid.SetCellFontBold(true);
  }
  return grid.Picture();
}

bool IsDark(QRgb p) { return qGray(p) < 110; }
bool IsWhite(QRgb p) { return qRed(p) > 245 && qGreen(p) > 245 && qBlue(p) > 245; }
bool IsLineGrey(QRgb p) {
  return qAbs(qRed(p) - 0xC0) < 24 && qRed(p) == qGreen(p) && qGreen(p) == qBlue(p);
}
bool Near(QRgb p, std::uint32_t rgb) {
  return qAbs(qRed(p) - static_cast<int>(rgb >> 16 & 0xFF)) <= 8 &&
         qAbs(qGreen(p) - static_cast<int>(rgb >> 8 & 0xFF)) <= 8 &&
         qAbs(qBlue(p) - static_cast<int>(rgb & 0xFF)) <= 8;
}

// Checks every cell of an image of the board drawn at 96 dpi and the device
// pixel ratio dpr: letters dark and centred, free cells all white, grid
// lines one device pixel of light grey.
void CheckBoardImage(const QImage& image, int dpr) {
  QVERIFY(!image.isNull());
  const double scale = dpr * 96.0 / 1440;  // device pixels per twip
  for (int row = 0; row < 15; ++row) {
    for (int col = 0; col < 15; ++col) {
      // The inside of the cell, clear of its grid lines.
      const int x0 = static_cast<int>(std::ceil(col * 500 * scale)) + 2;
      const int x1 = static_cast<int>(std::floor((col + 1) * 500 * scale)) - 3;
      const int y0 = static_cast<int>(std::ceil(row * 500 * scale)) + 2;
      const int y1 = static_cast<int>(std::floor((row + 1) * 500 * scale)) - 3;
      int dark = 0, white = 0;
      double sumX = 0, sumY = 0;
      for (int y = y0; y <= y1; ++y)
        for (int x = x0; x <= x1; ++x) {
          const QRgb p = image.pixel(x, y);
          if (IsDark(p)) {
            ++dark;
            sumX += x + 0.5;
            sumY += y + 0.5;
          }
          if (IsWhite(p)) ++white;
        }
      const QByteArray where = QByteArray::number(row) + "," + QByteArray::number(col);
      const int area = (x1 - x0 + 1) * (y1 - y0 + 1);
      if (!HasLetter(row, col)) {
        QVERIFY2(dark == 0, where.constData());
        QVERIFY2(white == area, where.constData());
        continue;
      }
      QVERIFY2(dark >= 20 * dpr * dpr, where.constData());
      QVERIFY2(white > area / 2, where.constData());  // the cell stays white around its letter
      // Centred both ways within a pixel and a half.
      const double cx = (col + 0.5) * 500 * scale;
      const double cy = (row + 0.5) * 500 * scale;
      QVERIFY2(qAbs(sumX / dark - cx) < 1.5 * dpr, where.constData());
      QVERIFY2(qAbs(sumY / dark - cy) < 1.5 * dpr, where.constData());
    }
  }
  // Across the boundary of columns 4 and 5 in the free row 5: one grey pixel.
  const int y = static_cast<int>(5.5 * 500 * scale);
  const int boundary = static_cast<int>(2500 * scale);
  int grey = 0;
  for (int x = boundary - 4; x <= boundary + 4; ++x) grey += IsLineGrey(image.pixel(x, y)) ? 1 : 0;
  QCOMPARE(grey, 1);
}

}  // namespace

class BoardSurfaceTest : public QObject {
  Q_OBJECT

 private slots:
  void lettersArePaintedSharpInTheirCells() {
    // The face is really there: missing fonts draw empty boxes silently.
    const QFont font = BoardLetterFont(true);
    QCOMPARE(QFontInfo(font).family(), QStringLiteral("DejaVu Sans"));
    QVERIFY(QFontInfo(font).bold());
    for (char c = 'A'; c <= 'Z'; ++c) QVERIFY(QFontMetrics(font).inFont(QChar(c)));

    BoardForm form;
    EventDoor door;
    FormWindow window(form, door, nullptr, {}, 96);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    form.Picture1.SetPicture(Board());
    QWidget* surface = window.WidgetFor(form.Picture1);
    QVERIFY(surface);
    // AutoSize: the surface has the picture's size, 7500 twips at 96 dpi.
    QCOMPARE(surface->size(), QSize(500, 500));

    CheckBoardImage(surface->grab().toImage(), 1);

    QPixmap doubled(surface->size() * 2);
    doubled.setDevicePixelRatio(2);
    doubled.fill(Qt::red);
    surface->render(&doubled);
    CheckBoardImage(doubled.toImage(), 2);
  }

  void circlesPressesAndOrder() {
    BoardForm form;
    EventDoor door;
    FormWindow window(form, door, nullptr, {}, 96);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    form.Picture1.SetPicture(Board());
    QWidget* surface = window.WidgetFor(form.Picture1);
    QWidget* label = window.WidgetFor(form.Label1);
    QVERIFY(surface && label);

    // The label was made after the surface and lies on top; ZOrder lifts the
    // surface above it.
    const QPoint overlap = surface->geometry().topLeft() + QPoint(5, 5);
    QCOMPARE(window.childAt(overlap), label);
    form.Picture1.ZOrder();
    QCOMPARE(window.childAt(overlap), surface);

    struct PaintCounter : QObject {
      int paints = 0;
      bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Paint) ++paints;
        return false;
      }
    } counter;
    surface->installEventFilter(&counter);

    // A ring around the cell at row 1, column 2: centre 1200, 700, radius 200.
    const std::uint32_t colour = QBColor(12);
    form.Picture1.Circle(1200, 700, 200, colour);
    QVERIFY2(counter.paints > 0, "the circle waits for the event loop");
    const QImage ringed = surface->grab().toImage();
    const double s = 96.0 / 1440;
    auto at = [&](const QImage& image, double x, double y) {
      return image.pixel(static_cast<int>(x * s), static_cast<int>(y * s));
    };
    for (auto [x, y] : {std::pair{1400.0, 700.0}, {1000.0, 700.0}, {1200.0, 500.0}, {1200.0, 900.0}})
      QVERIFY2(Near(at(ringed, x, y), colour), qPrintable(QString::number(at(ringed, x, y), 16)));
    QVERIFY(IsWhite(at(ringed, 1200, 700)));  // unfilled
    QVERIFY(IsWhite(at(ringed, 1700, 700)));  // and no larger than its radius
    QVERIFY(!Near(at(ringed, 1200 + 200 * 0.7071, 700 - 200 * 0.7071), QBColor(9)));

    // A white ring over it wipes it, as a mismatch does: no trace of the
    // first ring, not even its soft edge (this quarter crosses no grid line).
    form.Picture1.Circle(1200, 700, 200, QBColor(15));
    const QImage wiped = surface->grab().toImage();
    for (int y = static_cast<int>(700 * s); y <= static_cast<int>(950 * s); ++y)
      for (int x = static_cast<int>(1200 * s); x <= static_cast<int>(1450 * s); ++x)
        QVERIFY2(IsWhite(wiped.pixel(x, y)), qPrintable(QStringLiteral("%1,%2").arg(x).arg(y)));
    form.Picture1.Circle(1200, 700, 200, colour);
    // The next picture takes the circles with it.
    form.Picture1.SetPicture(Board());
    QVERIFY(IsWhite(at(surface->grab().toImage(), 1400, 700)));

    // Presses: buttons 1, 2, 4, the shift state, the place in twips.
    std::vector<std::tuple<int, int, float, float>> presses;
    form.Picture1.MouseDown = [&](int button, int shift, float x, float y) {
      presses.emplace_back(button, shift, x, y);
    };
    QTest::mousePress(surface, Qt::LeftButton, {}, QPoint(40, 20));
    QTest::mousePress(surface, Qt::RightButton, Qt::ShiftModifier, QPoint(7, 499));
    QTest::mousePress(surface, Qt::MiddleButton, Qt::ControlModifier, QPoint(100, 0));
    QCOMPARE(presses.size(), std::size_t{3});
    QCOMPARE(presses[0], std::make_tuple(1, 0, 600.0f, 300.0f));
    QCOMPARE(presses[1], std::make_tuple(2, 1, 105.0f, 7485.0f));
    QCOMPARE(presses[2], std::make_tuple(4, 2, 1500.0f, 0.0f));

    // A smaller picture: the surface shrinks with it.
    auto small = std::make_shared<GridPicture>();
    small->rows = 2;
    small->cols = 3;
    small->rowHeights = {500, 500};
    small->colWidths = {500, 500, 500};
    small->cells.resize(6);
    form.Picture1.SetPicture(small);
    QCOMPARE(surface->size(), QSize(100, 67));
  }
};

QTEST_MAIN(BoardSurfaceTest)
#include "board_surface_test.moc"
