#include "platform/qt/form_window.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTimer>
#include <algorithm>
#include <cmath>

#include "platform/control_visitor.h"
#include "platform/qt/accessibility.h"
#include "platform/qt/board_surface.h"
#include "platform/qt/button_view.h"
#include "platform/qt/check_view.h"
#include "platform/qt/label_view.h"
#include "platform/qt/list_view.h"
#include "platform/qt/text_view.h"
#include "platform/qt/timer_view.h"
#include "platform/qt/twips.h"

namespace pelmora {

namespace {

// The largest size the controls' text takes at 1:1, in pixels: the size of
// the board's letters, 8.25 points.
constexpr int kNominalPixelSize = 11;
constexpr int kSmallestPixelSize = 5;
constexpr double kZoomStep = 0.25;
constexpr double kLargestZoom = 8.0;

// What a screen reader calls the controls that show no caption: by what
// they hold. Controls with a caption are called by it (see ControlView).
QString DescriptiveName(const Form& form, const Control& control) {
  struct Entry {
    const char* form;
    const char* control;
    const char* name;
  };
  static constexpr Entry kNames[] = {
      {"Form1", "Picture1", "Letter board"}, {"Form1", "List1", "Word list"},
      {"Form1", "List2", "Game list"},       {"Form1", "Label1", "Time taken"},
      {"Form2", "List1", "Game list"},       {"Form2", "Text1", "Game name"},
  };
  for (const Entry& entry : kNames)
    if (form.Name() == entry.form && control.Name() == entry.control) return QString::fromLatin1(entry.name);
  // The designer's word boxes, Text(1) to Text(16): "Word 1" to "Word 16".
  const std::string& name = control.Name();
  if (form.Name() == "Form2" && name.size() > 6 && name.compare(0, 5, "Text(") == 0 && name.back() == ')')
    return QStringLiteral("Word ") + QString::fromStdString(name.substr(5, name.size() - 6));
  return {};
}

// The width a control's caption may take without being cut: its text area
// as the style lays it out, and never past the form's right edge (a box may
// reach beyond the form, whose edge then cuts it).
int CaptionRoom(QWidget& widget, int formWidth) {
  QRect room = widget.contentsRect();
  QStyleOptionButton option;
  option.initFrom(&widget);
  if (qobject_cast<QPushButton*>(&widget))
    room = widget.style()->subElementRect(QStyle::SE_PushButtonContents, &option, &widget);
  else if (qobject_cast<QCheckBox*>(&widget))
    room = widget.style()->subElementRect(QStyle::SE_CheckBoxContents, &option, &widget);
  const int left = widget.x() + room.left();
  return std::min(widget.x() + room.right() + 1, formWidth) - left;
}

}  // namespace

FormWindow::FormWindow(Form& form, EventDoor& door, ListRefills& refills, QWidget* parent, Qt::WindowFlags flags,
                       double scale, bool scriptedTimers)
    : QWidget(parent, flags),
      form_(&form),
      door_(door),
      refills_(refills),
      scriptedTimers_(scriptedTimers),
      scroll_(new QScrollArea(this)),
      canvas_(new QWidget) {
  InstallAccessibleRoles();
  setWindowTitle(QString::fromStdString(form.Caption()));
  scroll_->setFrameShape(QFrame::NoFrame);
  scroll_->setAlignment(Qt::AlignCenter);
  scroll_->setFocusPolicy(Qt::NoFocus);  // the controls take Tab, not the frame around them
  scroll_->setWidget(canvas_);

  for (Control* control : form.Controls()) {
    // The grid is a store of letters that is never on screen: no view.
    ControlView* view = nullptr;
    VisitControl(
        *control, [&](PictureBox& box) { view = new BoardSurface(box, *this, canvas_); },
        [&](Label& label) { view = new LabelView(label, *this, canvas_); },
        [&](CommandButton& button) { view = new ButtonView(button, *this, canvas_); },
        [&](CheckBox& check) { view = new CheckView(check, *this, canvas_); },
        [&](ListBox& list) { view = new ListView(list, *this, canvas_); },
        [&](TextBox& text) { view = new TextView(text, *this, canvas_); },
        [&](Timer& timer) { view = new TimerView(timer, *this); });
    if (view) {
      view->SetDescriptiveName(DescriptiveName(form, *control));
      views_.push_back(view);
    }
    if (view && view->Widget()) view->Widget()->installEventFilter(this);
  }
  installEventFilter(this);
  ApplyTabOrder();
  ChooseControlFont();  // the views stand at 1:1 now
  ApplyScale(scale);
  resize(canvas_->size());
}

FormWindow::~FormWindow() { Detach(); }

void FormWindow::ChooseControlFont() {
  // Every caption of the design must fit its box at 1:1, with a pixel to
  // spare. Text is drawn at whole pixel sizes, and only the vertical is
  // hinted, so widths grow in step with the size: at any scale the size is
  // the 1:1 size times the scale, rounded down, and the captions still fit.
  QFont font(QStringLiteral("DejaVu Sans"));
  font.setHintingPreference(QFont::PreferVerticalHinting);
  const int formWidth = ScaledWholePixels(form_->ClientWidth(), 1.0);
  int pixels = kNominalPixelSize;
  for (; pixels > kSmallestPixelSize; --pixels) {
    font.setPixelSize(pixels);
    const QFontMetricsF metrics(font);
    const auto fits = [&](ControlView* view) {
      // A trailing blank shows nothing: the caption ends at its last mark.
      QString caption = view->Caption();
      while (!caption.isEmpty() && caption.back().isSpace()) caption.chop(1);
      return !view->Widget() || caption.isEmpty() ||
             metrics.horizontalAdvance(caption) + 1 <= CaptionRoom(*view->Widget(), formWidth);
    };
    if (std::all_of(views_.begin(), views_.end(), fits)) break;
  }
  font.setPixelSize(pixels);
  controlFont_ = font;
}

double FormWindow::FitScale() const {
  const double across = width() * kTwipsPerLogicalPixel / std::max(1, form_ ? form_->ClientWidth() : 1);
  const double down = height() * kTwipsPerLogicalPixel / std::max(1, form_ ? form_->ClientHeight() : 1);
  return std::max(0.05, std::min(across, down));
}

void FormWindow::SetScale(double scale) {
  zoomed_ = true;
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  scroll_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  ApplyScale(scale);
}

void FormWindow::ApplyScale(double scale) {
  if (!form_) return;
  scale_ = scale;
  canvas_->setFixedSize(ScaledWholePixels(form_->ClientWidth(), scale),
                        ScaledWholePixels(form_->ClientHeight(), scale));
  QFont font = controlFont_;
  font.setPixelSize(std::max(1, static_cast<int>(std::floor(controlFont_.pixelSize() * scale + 1e-9))));
  canvas_->setFont(font);
  for (ControlView* view : views_) view->Rescale();
}

void FormWindow::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  scroll_->setGeometry(rect());
  // A resize ends a zoom: the form fits its window again. Fitted, the form
  // never outgrows the window, so no scroll bar takes room from it.
  zoomed_ = false;
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  ApplyScale(FitScale());
}

bool FormWindow::Zoom(const QKeyEvent& key) {
  if (!(key.modifiers() & Qt::ControlModifier)) return false;
  double scale = scale_;
  switch (key.key()) {
    case Qt::Key_0: scale = 1.0; break;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
      scale = std::min(kLargestZoom, (std::floor(scale_ / kZoomStep + 1e-6) + 1) * kZoomStep);
      break;
    case Qt::Key_Minus:
      scale = std::max(kZoomStep, (std::ceil(scale_ / kZoomStep - 1e-6) - 1) * kZoomStep);
      break;
    default:
      return false;
  }
  SetScale(scale);
  return true;
}

ControlView* FormWindow::ViewFor(const Control& control) const {
  for (ControlView* view : views_)
    if (view->Model() == &control) return view;
  return nullptr;
}

QWidget* FormWindow::WidgetFor(const Control& control) const {
  ControlView* view = ViewFor(control);
  return view ? view->Widget() : nullptr;
}

void FormWindow::ShowAsFormWants() {
  if (form_ && form_->State == WindowState::Maximized) showMaximized();
  else if (form_ && form_->State == WindowState::Minimized) showMinimized();
  else show();
}

void FormWindow::Detach() {
  for (ControlView* view : views_) view->Detach();
  form_ = nullptr;
}

void FormWindow::ApplyTabOrder() {
  std::vector<std::pair<int, QWidget*>> order;
  for (ControlView* view : views_) {
    QWidget* widget = view->Widget();
    if (widget && view->Model() && widget->focusPolicy() & Qt::TabFocus)
      order.emplace_back(view->Model()->TabIndex(), widget);
  }
  std::stable_sort(order.begin(), order.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (std::size_t i = 1; i < order.size(); ++i) setTabOrder(order[i - 1].second, order[i].second);
}

bool FormWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress) {
    const auto* key = static_cast<QKeyEvent*>(event);
    // The zoom keys belong to the window: no control sees them as typing.
    if (Zoom(*key)) return true;
    if (escapeCloses_ && onCloseBox && key->key() == Qt::Key_Escape && key->modifiers() == Qt::NoModifier) {
      const auto handler = onCloseBox;
      handler();
      return true;
    }
  }
  return QWidget::eventFilter(watched, event);
}

void FormWindow::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (refusesMinimise_ && event->type() == QEvent::WindowStateChange && isMinimized()) {
    QTimer::singleShot(0, this, [this] {
      setWindowState(windowState() & ~Qt::WindowMinimized);
      show();
      raise();
      activateWindow();
    });
  }
}

void FormWindow::closeEvent(QCloseEvent* event) {
  if (onCloseBox) {
    // The form decides: its handler unloads it, or keeps it open.
    event->ignore();
    const auto handler = onCloseBox;  // the handler may unload and clear the hook
    handler();
    return;
  }
  event->accept();
}

}  // namespace pelmora
