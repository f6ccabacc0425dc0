#include "platform/qt/form_window.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QScreen>
#include <algorithm>

#include "platform/grid.h"
#include "platform/qt/board_surface.h"
#include "platform/qt/control_views.h"
#include "platform/qt/twips.h"

namespace pelmora {

namespace {

double PrimaryScreenDpi() {
  const QScreen* screen = QGuiApplication::primaryScreen();
  return screen ? screen->logicalDotsPerInch() : 96.0;
}

// What a screen reader calls the controls that show no caption: by what
// they hold. Controls with a caption are called by it (see ControlView).
QString DescriptiveName(const Form& form, const Control& control) {
  struct Entry {
    const char* form;
    const char* control;
    const char* name;
  };
  static constexpr Entry kNames[] = {
      {"Form1", "Picture1", "Board"},         {"Form1", "List1", "Word list"},
      {"Form1", "List2", "Game list"},        {"Form1", "Label1", "Time taken"},
      {"Form2", "List1", "Game list"},        {"Form2", "Text1", "Game name"},
  };
  for (const Entry& entry : kNames)
    if (form.Name() == entry.form && control.Name() == entry.control) return QString::fromLatin1(entry.name);
  // The designer's word boxes, Text(1) to Text(16): "Word 1" to "Word 16".
  const std::string& name = control.Name();
  if (form.Name() == "Form2" && name.size() > 6 && name.compare(0, 5, "Text(") == 0 && name.back() == ')')
    return QStringLiteral("Word ") + QString::fromStdString(name.substr(5, name.size() - 6));
  return {};
}

}  // namespace

FormWindow::FormWindow(Form& form, EventDoor& door, QWidget* parent, Qt::WindowFlags flags,
                       double dpi, bool scriptedTimers)
    : QWidget(parent, flags),
      form_(&form),
      door_(door),
      dpi_(dpi > 0 ? dpi : PrimaryScreenDpi()),
      scriptedTimers_(scriptedTimers) {
  setWindowTitle(QString::fromStdString(form.Caption()));
  resize(TwipsToWholePixels(form.ClientWidth(), dpi_), TwipsToWholePixels(form.ClientHeight(), dpi_));

  for (Control* control : form.Controls()) {
    ControlView* view = nullptr;
    // The grid is a store of letters that is never on screen: no widget.
    if (dynamic_cast<FlexGrid*>(control)) continue;
    if (auto* box = dynamic_cast<PictureBox*>(control)) view = new BoardSurface(*box, *this, this);
    else if (auto* label = dynamic_cast<Label*>(control)) view = new LabelView(*label, *this, this);
    else if (auto* button = dynamic_cast<CommandButton*>(control)) view = new ButtonView(*button, *this, this);
    else if (auto* check = dynamic_cast<CheckBox*>(control)) view = new CheckView(*check, *this, this);
    else if (auto* list = dynamic_cast<ListBox*>(control)) view = new ListView(*list, *this, this);
    else if (auto* text = dynamic_cast<TextBox*>(control)) view = new TextView(*text, *this, this);
    else if (auto* timer = dynamic_cast<Timer*>(control)) view = new TimerView(*timer, *this);
    if (view) {
      view->SetDescriptiveName(DescriptiveName(form, *control));
      views_.push_back(view);
    }
    if (view && view->Widget()) view->Widget()->installEventFilter(this);
  }
  installEventFilter(this);
  ApplyTabOrder();
}

FormWindow::~FormWindow() { Detach(); }

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
  if (escapeCloses_ && onCloseBox && event->type() == QEvent::KeyPress &&
      static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape &&
      static_cast<QKeyEvent*>(event)->modifiers() == Qt::NoModifier) {
    const auto handler = onCloseBox;
    handler();
    return true;
  }
  return QWidget::eventFilter(watched, event);
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
