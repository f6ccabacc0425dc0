#include "tools/pelmora-script/qt_front.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QWindow>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QMouseEvent>
#include <QScreen>
#include <QStyle>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "app/program.h"
#include "platform/qt/board_surface.h"
#include "platform/qt/form_window.h"
#include "platform/qt/keyboard.h"
#include "platform/qt/timer_view.h"

namespace pelmora {

namespace {

void SendMouse(QWidget* widget, QEvent::Type type, QPointF at, Qt::MouseButton button) {
  QMouseEvent event(type, at, widget->mapToGlobal(at), button,
                    type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::MouseButtons(button),
                    Qt::NoModifier);
  QApplication::sendEvent(widget, &event);
}

// A press and a release, as a click of the mouse makes them.
void ClickAt(QWidget* widget, QPointF at, Qt::MouseButton button = Qt::LeftButton) {
  SendMouse(widget, QEvent::MouseButtonPress, at, button);
  SendMouse(widget, QEvent::MouseButtonRelease, at, button);
}

void PressKey(QWidget* widget, int key, Qt::KeyboardModifiers modifiers, const QString& text = {}) {
  QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
  QApplication::sendEvent(widget, &press);
  QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
  QApplication::sendEvent(widget, &release);
}

// The key that types c, and whether Shift is held for it.
std::pair<int, Qt::KeyboardModifiers> KeyTyping(char32_t c) {
  if (c >= 'a' && c <= 'z') return {Qt::Key_A + static_cast<int>(c - 'a'), Qt::NoModifier};
  if (c >= 'A' && c <= 'Z') return {Qt::Key_A + static_cast<int>(c - 'A'), Qt::ShiftModifier};
  if (c < 0x7F) return {static_cast<int>(c), Qt::NoModifier};
  if (c <= 0xFFFF) return {static_cast<int>(QChar(static_cast<char16_t>(c)).toUpper().unicode()), Qt::NoModifier};
  return {Qt::Key_unknown, Qt::NoModifier};
}

class QtFront final : public ScriptFront {
 public:
  QtFront(const std::string& iniPath, ScriptHooks& hooks, FileSystem& fileSystem)
      : hooks_(hooks), program_(iniPath, {hooks.clocks, hooks.random, &fileSystem}) {
    QtRuntime& rt = program_.Runtime();
    rt.watcher = hooks.watcher;
    rt.scriptedTimers = true;
    rt.printTarget = hooks.printTarget;
    rt.answerBox = [this](QMessageBox& box, int value) { Answer(box, value); };
    rt.runModalLoop = [this](const std::function<bool()>& done) {
      // Nothing thrown may cross Qt's event handling: a run that ends inside
      // a modal window ends here.
      try {
        hooks_.runModal(done);
      } catch (const RunAborted& error) {
        Leave(hooks_.endRun(&error));
      } catch (const EndOfScript&) {
        Leave(hooks_.endRun(nullptr));
      }
    };
  }

  void Start() override {
    program_.Start();
    started_ = true;
    if (auto* surface = dynamic_cast<BoardSurface*>(program_.MainWindow().ViewFor(program_.MainForm().Picture1)))
      surface->onCircleShown = hooks_.circle;
  }
  Form1* MainForm() override { return started_ ? &program_.MainForm() : nullptr; }
  EventDoor& Door() override { return program_.Door(); }
  ProfileStore& Store() override { return program_.Store(); }

  bool Reachable(Control& c) override {
    QWidget* w = WidgetOf(c);
    if (!w) return c.Visible();
    QWidget* modal = QApplication::activeModalWidget();
    return w->isVisible() && (!modal || w->window() == modal);
  }

  void Click(Control& c) override {
    QWidget* w = WidgetOf(c);
    if (!w) return;
    QPointF at = QRectF(w->rect()).center();
    // A check box takes a click on its box.
    if (qobject_cast<QCheckBox*>(w))
      at = QPointF(w->style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, w) / 2.0 + 1, w->height() / 2.0);
    ClickAt(w, at);
  }

  void Select(ListBox& list, int row) override {
    auto* view = qobject_cast<QListWidget*>(WidgetOf(list));
    if (!view || row >= view->count()) return;
    view->scrollToItem(view->item(row));
    ClickAt(view->viewport(), QRectF(view->visualItemRect(view->item(row))).center());
  }

  void MouseDown(double x, double y, int button) override {
    auto* surface = dynamic_cast<BoardSurface*>(ViewOf(program_.MainForm().Picture1));
    if (!surface) return;
    const Qt::MouseButton b = button == 2 ? Qt::RightButton : button == 4 ? Qt::MiddleButton : Qt::LeftButton;
    ClickAt(surface, surface->PixelsOf(x, y), b);
  }

  void Type(TextBox& box, const std::string& character) override {
    auto* edit = qobject_cast<QLineEdit*>(WidgetOf(box));
    if (!edit) return;
    edit->end(false);  // typing goes at the end of the text
    const QString text = QString::fromStdString(character);
    const QList<uint> code = text.toUcs4();
    const char32_t c = code.isEmpty() ? 0 : code.front();
    if (c < 0x20 || c == 0x7F) {
      PressKey(edit, Qt::Key_unknown, Qt::NoModifier);  // a key that types nothing
      return;
    }
    const auto [key, modifiers] = KeyTyping(c);
    PressKey(edit, key, modifiers, text);
  }

  void Key(TextBox& box, const std::string& name) override {
    if (QWidget* w = WidgetOf(box)) {
      const int key = QtKeyNamed(name);
      PressKey(w, key, key == Qt::Key_Shift ? Qt::ShiftModifier : key == Qt::Key_Meta ? Qt::MetaModifier : Qt::NoModifier);
    }
  }

  void Erase(TextBox& box) override {
    QWidget* w = WidgetOf(box);
    if (!w) return;
    PressKey(w, Qt::Key_Home, Qt::NoModifier);
    PressKey(w, Qt::Key_Shift, Qt::ShiftModifier);
    PressKey(w, Qt::Key_End, Qt::ShiftModifier);
    PressKey(w, Qt::Key_Delete, Qt::NoModifier);
  }

  void Close(Form& form) override {
    if (FormWindow* window = program_.Runtime().ModalWindow(form)) {
      QCloseEvent event;
      QApplication::sendEvent(window, &event);
    }
  }

  bool TimerOn(Timer& timer) override {
    auto* view = dynamic_cast<TimerView*>(ViewOf(timer));
    return view && view->Running();
  }
  void Tick(Timer& timer) override {
    if (auto* view = dynamic_cast<TimerView*>(ViewOf(timer))) view->Fire();
  }

  std::vector<std::string> Items(ListBox& list) override {
    std::vector<std::string> items;
    if (auto* view = qobject_cast<QListWidget*>(WidgetOf(list)))
      for (int i = 0; i < view->count(); ++i) items.push_back(view->item(i)->text().toStdString());
    return items;
  }
  int ListIndex(ListBox& list) override {
    auto* view = qobject_cast<QListWidget*>(WidgetOf(list));
    if (!view) return -1;
    const QList<QListWidgetItem*> chosen = view->selectedItems();
    return chosen.isEmpty() ? -1 : view->row(chosen.front());
  }
  bool Visible(Control& c) override {
    QWidget* w = WidgetOf(c);
    return w ? w->isVisible() : c.Visible();
  }
  int Value(CheckBox& box) override {
    auto* check = qobject_cast<QCheckBox*>(WidgetOf(box));
    if (!check) return 0;
    return check->checkState() == Qt::Checked ? 1 : check->checkState() == Qt::PartiallyChecked ? 2 : 0;
  }
  std::string Caption(Label& label) override {
    auto* view = qobject_cast<QLabel*>(WidgetOf(label));
    return view ? view->text().toStdString() : std::string();
  }
  std::string Text(TextBox& box) override {
    auto* edit = qobject_cast<QLineEdit*>(WidgetOf(box));
    return edit ? edit->text().toStdString() : std::string();
  }
  int MousePointer() override {
    const QCursor* cursor = QGuiApplication::overrideCursor();
    return cursor && cursor->shape() == Qt::WaitCursor ? vbHourglass : vbDefault;
  }

  std::string Snapshot(Form& form, const std::string& path) override {
    FormWindow* window = &form == MainForm() ? &program_.MainWindow() : program_.Runtime().ModalWindow(form);
    if (!window) return form.Name() + " has no window";
    Settle(*window);
    // A picture of a window that cuts its form is no picture of the game:
    // every control shown must lie inside the window, as far as it lies
    // inside the form.
    const QRect area(window->Canvas()->mapTo(window, QPoint()), window->Canvas()->size());
    for (ControlView* view : window->Views()) {
      QWidget* w = view->Widget();
      if (!w || !view->Model() || !w->isVisible()) continue;
      const QRect shown = QRect(w->mapTo(window, QPoint()), w->size()).intersected(area);
      if (!window->rect().contains(shown))
        return form.Name() + "." + view->Model()->Name() + " is cut by the edge of its window";
    }
    if (!window->grab().save(QString::fromStdString(path), "PNG")) return "can't write " + path;
    return {};
  }

 private:
  // The box stands: every timer that is on gets the chance to tick that a
  // real event loop would give it (none may), then the script's answer
  // clicks its button.
  void Answer(QMessageBox& box, int value) {
    Form1& f = program_.MainForm();
    for (Timer* timer : {&f.Timer1, &f.Timer2})
      if (TimerOn(*timer)) Tick(*timer);
    int answer = vbOK;
    try {
      answer = hooks_.answer(box.text().toStdString(), value);
    } catch (const RunAborted& error) {
      Leave(hooks_.endRun(&error));
    }
    QAbstractButton* button = box.button(answer == vbYes  ? QMessageBox::Yes
                                         : answer == vbNo ? QMessageBox::No
                                                          : QMessageBox::Ok);
    if (button) ClickAt(button, QRectF(button->rect()).center());
  }

  // Lets the window reach the size it will keep: on a display with a window
  // manager, a window is shown first and then placed and sized by it (a
  // maximised one takes the screen's free area, frame and all). Each step of
  // that is an event: it is waited for as long as it takes, never against a
  // clock, which a loaded machine would beat.
  static void Settle(QWidget& window) {
    const auto settled = [&window] {
      if (!window.windowHandle() || !window.windowHandle()->isExposed()) return false;
      if (!window.isMaximized() || !window.screen()) return true;
      // Within a pixel: on a scaled screen a frame of an odd number of
      // device pixels rounds to a logical pixel more.
      const QSize gap = window.frameGeometry().size() - window.screen()->availableGeometry().size();
      return std::abs(gap.width()) <= 1 && std::abs(gap.height()) <= 1;
    };
    if (QGuiApplication::platformName() != QLatin1String("offscreen"))
      while (!settled()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::processEvents();
  }

  // Ends the process from inside Qt's event handling, with what the program
  // wrote on disk.
  [[noreturn]] void Leave(int status) {
    program_.Store().Flush();
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    std::_Exit(status);
  }

  FormWindow* WindowOf(const Control& c) {
    if (!started_) return nullptr;
    for (Control* own : program_.MainForm().Controls())
      if (own == &c) return &program_.MainWindow();
    return program_.Runtime().ModalWindow(program_.MainForm().Designer);
  }
  ControlView* ViewOf(const Control& c) {
    FormWindow* window = WindowOf(c);
    return window ? window->ViewFor(c) : nullptr;
  }
  QWidget* WidgetOf(const Control& c) {
    ControlView* view = ViewOf(c);
    return view ? view->Widget() : nullptr;
  }

  ScriptHooks& hooks_;
  Program program_;
  bool started_ = false;
};

}  // namespace

std::unique_ptr<ScriptFront> MakeQtFront(const std::string& iniPath, ScriptHooks& hooks, FileSystem& fileSystem) {
  return std::make_unique<QtFront>(iniPath, hooks, fileSystem);
}

}  // namespace pelmora
