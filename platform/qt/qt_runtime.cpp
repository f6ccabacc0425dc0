#include "platform/qt/qt_runtime.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QEventLoop>
#include <QKeyEvent>
#include <QTimer>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QStandardPaths>
#include <QWindow>

#include "platform/form.h"
#include "platform/qt/form_printer.h"
#include "platform/qt/form_window.h"
#include "platform/qt/print_queue.h"
#include "platform/qt/twips.h"
#include "platform/runtime_helpers.h"

namespace pelmora {

namespace {

// Run f as a wait for the player: the door writes out what the handler has
// written before, and is told when the wait is over.
template <typename F>
auto Waiting(EventDoor& door, F&& f) {
  door.BeforeWait();
  struct After {
    EventDoor& door;
    ~After() { door.AfterWait(); }
  } after{door};
  return f();
}

// A message box as the program shows it. A question has no answer of its
// own for Escape or the title bar's close box: only Yes or No ends it, and
// the close box isn't offered. A box with OK alone takes Escape as OK.
class ProgramMessageBox final : public QMessageBox {
 public:
  ProgramMessageBox(QWidget* parent, bool question) : QMessageBox(parent), question_(question) {
    // Modal first: making a box modal gives it a dialog's title bar afresh.
    setWindowModality(Qt::ApplicationModal);
    if (question_) setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
  }

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    if (question_ && event->matches(QKeySequence::Cancel)) {
      event->accept();
      return;
    }
    QMessageBox::keyPressEvent(event);
  }
  void closeEvent(QCloseEvent* event) override {
    if (question_ && !clickedButton()) {
      event->ignore();
      return;
    }
    QMessageBox::closeEvent(event);
  }
  // Centred over the window that raised it: its client area over the
  // window's, whatever frames the window manager puts around them.
  void showEvent(QShowEvent* event) override {
    QMessageBox::showEvent(event);
    QWidget* over = parentWidget() ? parentWidget()->window() : nullptr;
    if (!over || !over->isVisible() || !windowHandle()) return;
    windowHandle()->setPosition(over->geometry().center() - QPoint(width() / 2, height() / 2));
  }

 private:
  bool question_;
};

}  // namespace

QtRuntime::QtRuntime(EventDoor& door, Clocks& clocks, RandomSource& random)
    : door_(door), gameClock_(clocks), random_(random) {
  door_.Attach(refills_);
}

QtRuntime::~QtRuntime() {
  if (mousePointer_ == vbHourglass) QApplication::restoreOverrideCursor();
}

QWidget* QtRuntime::DialogParent() const {
  // The window whose handler is running: the innermost modal form that is
  // up, else the main window. Its dialogs belong to it, centred over it,
  // whether or not the program is the active one (a tick's message).
  for (auto it = modals_.rbegin(); it != modals_.rend(); ++it)
    if (it->window && it->window->isVisible() && it->loop) return it->window;
  if (mainWindow_) return mainWindow_;
  return QApplication::activeWindow();
}

int QtRuntime::MsgBox(const std::string& prompt, int value) {
  const bool question = value == vbYesNoQuestion;
  ProgramMessageBox box(DialogParent(), question);
  // The box has no title of its own: it shows the program's name.
  box.setWindowTitle(QStringLiteral("Pelmora"));
  box.setTextFormat(Qt::PlainText);
  box.setText(QString::fromStdString(prompt));
  if (question) {
    box.setIcon(QMessageBox::Question);
    box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
    box.setDefaultButton(QMessageBox::Yes);
  } else {
    box.setIcon(value == vbCritical      ? QMessageBox::Critical
                : value == vbExclamation ? QMessageBox::Warning
                : value == vbInformation ? QMessageBox::Information
                                         : QMessageBox::NoIcon);
    box.setStandardButtons(QMessageBox::Ok);
  }
  // A box shown while the pointer is the hourglass (words left out of a
  // deal) is answered with the ordinary pointer.
  const bool busy = mousePointer_ == vbHourglass;
  if (busy) QApplication::setOverrideCursor(Qt::ArrowCursor);
  if (answerBox) QTimer::singleShot(0, &box, [this, &box, value] { answerBox(box, value); });
  Waiting(door_, [this, &box] {
    door_.MessageBoxOpens();
    const int result = box.exec();
    door_.MessageBoxCloses();
    return result;
  });
  if (busy) QApplication::restoreOverrideCursor();
  const QMessageBox::StandardButton button = box.standardButton(box.clickedButton());
  const int answer = button == QMessageBox::Yes ? vbYes : button == QMessageBox::No ? vbNo : vbOK;
  if (watcher) watcher->MessageBoxAnswered(value, box.text().toStdString(), answer);
  return answer;
}

void QtRuntime::Beep() {
  bell_.Ring([] { QApplication::beep(); });
  if (watcher) watcher->Beeped();
}

void QtRuntime::SetMousePointer(int pointer) {
  const bool wasBusy = mousePointer_ == vbHourglass;
  const bool busy = pointer == vbHourglass;
  mousePointer_ = pointer;
  if (busy && !wasBusy) QApplication::setOverrideCursor(Qt::WaitCursor);
  else if (!busy && wasBusy) QApplication::restoreOverrideCursor();
}

QtRuntime::Modal* QtRuntime::Find(const Form& form) {
  for (Modal& modal : modals_)
    if (modal.form == &form) return &modal;
  return nullptr;
}

FormWindow* QtRuntime::ModalWindow(const Form& form) const {
  for (const Modal& modal : modals_)
    if (modal.form == &form) return modal.window.data();
  return nullptr;
}

void QtRuntime::ShowModal(Form& form) {
  if (Find(form)) return;  // already up
  if (!form.Loaded) {
    if (watcher) watcher->FormLoaded(form);
    form.Loaded = true;
    if (form.LoadEvent) form.LoadEvent();
    if (!form.Loaded) return;  // Load unloaded it
  }

  // A dialog of the window it comes up over: a title and a close box, no
  // minimise or maximise button (minimised, it would hide the window it
  // blocks with no way back; a window manager that offers to minimise it
  // all the same sees it come straight back). It opens at that window's
  // present scale, its design size times it as far as the screen allows,
  // and the form fits that window.
  QWidget* parent = DialogParent();
  const auto* over = parent ? qobject_cast<FormWindow*>(parent->window()) : nullptr;
  const double scale = over ? over->Scale() : 1.0;
  auto* window = new FormWindow(form, door_, refills_, parent,
                                Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                    Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint,
                                scale, scriptedTimers);
  window->setAttribute(Qt::WA_DeleteOnClose, false);
  window->setWindowModality(Qt::ApplicationModal);
  window->SetRefusesMinimise(true);
  // The form's Left and Top (its Load may have set them) place the window
  // on the screen of the window it comes up over, rather than wherever the
  // window manager would drop it.
  const QScreen* screen = parent ? parent->screen() : QGuiApplication::primaryScreen();
  const QRect room = screen ? screen->availableGeometry() : QRect(0, 0, window->width(), window->height());
  // Of fixed size, so that no window manager offers to maximise it.
  window->setFixedSize(window->size().boundedTo(room.size()));
  const QPoint origin = screen ? screen->geometry().topLeft() : QPoint();
  window->move(origin + QPoint(ScaledWholePixels(form.Left, scale), ScaledWholePixels(form.Top, scale)));
  Form* shown = &form;
  window->onCloseBox = [this, shown] {
    if (shown->CloseRequested) door_.Dispatch(shown->CloseRequested);
    else door_.Dispatch([this, shown] { Unload(*shown); });
  };
  window->SetEscapeCloses(true);

  QEventLoop loop;
  modals_.push_back(Modal{&form, window, &loop});
  Waiting(door_, [&] {
    window->ShowAsFormWants();
    if (form.ActivateEvent) door_.Dispatch(form.ActivateEvent);
    if (!form.Loaded) return 0;
    if (runModalLoop) runModalLoop([&form] { return !form.Loaded; });
    else loop.exec(QEventLoop::DialogExec);
    return 0;
  });
  std::erase_if(modals_, [&form](const Modal& modal) { return modal.form == &form; });
}

void QtRuntime::Unload(Form& form) {
  if (form.Loaded && watcher) watcher->FormUnloaded(form);
  form.Loaded = false;
  Modal* modal = Find(form);
  if (!modal) return;
  if (FormWindow* window = modal->window.data()) {
    // The views forget the models now, so the form's controls may go at
    // once; the widgets themselves go when the event loop is back, since the
    // handler that unloads may be running inside one of them.
    window->onCloseBox = nullptr;
    window->Detach();
    window->hide();
    window->deleteLater();
  }
  if (modal->loop) modal->loop->exit(0);
  modal->loop = nullptr;
}

bool QtRuntime::PrintForm(Form& form) {
  if (printTarget) {
    const std::string path = printTarget();
    if (path.empty() || !RenderFormToFile(form, QString::fromStdString(path))) return false;
    if (watcher) watcher->SheetPrinted(path);
    return true;
  }
  // The default printer's own paper and printable area; the job goes to
  // the print system whole, so a refusal is known.
  const std::optional<PrintQueue> queue = DefaultPrintQueue();
  std::string why;
  if (queue) {
    why = queue->fault;
    if (why.empty()) {
      const QByteArray pdf = RenderFormToPdf(form, queue->page);
      why = pdf.isEmpty() ? "the sheet could not be drawn" : SubmitPdf(*queue, pdf, "Pelmora sheet");
    }
    if (why.empty()) return true;
  }
  // No printer, or the print system didn't take the sheet: offer a PDF
  // file instead, and say why. The documents folder is proposed where there
  // is one; none is made for it, and the home folder stands in.
  const QString title = !queue ? QStringLiteral("No printer was found - save the sheet as PDF")
                               : QStringLiteral("The sheet could not be printed (%1) - save it as PDF")
                                     .arg(QString::fromStdString(why));
  const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
  const QString folder = !documents.isEmpty() && QDir(documents).exists() ? documents : QDir::homePath();
  const QString proposed = QDir(folder).filePath(QStringLiteral("Pelmora sheet.pdf"));
  QString path = Waiting(door_, [&] {
    return QFileDialog::getSaveFileName(DialogParent(), title, proposed, QStringLiteral("PDF files (*.pdf)"));
  });
  if (path.isEmpty()) return false;
  if (!path.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive)) path += QLatin1String(".pdf");
  // On the printer's paper where there is a printer.
  const QByteArray pdf = RenderFormToPdf(form, queue ? queue->page : SavedSheetLayout());
  const std::string failure = pdf.isEmpty() ? "the sheet could not be drawn" : WriteWholeFile(path, pdf);
  if (failure.empty()) return true;
  MsgBox("Pelmora could not save the sheet to " + QFile::encodeName(path).toStdString() + ": " + failure,
         vbExclamation);
  return false;
}

std::unique_ptr<FormWindow> QtRuntime::ShowMainForm(Form& form) {
  form.Loaded = true;
  if (form.LoadEvent) door_.Dispatch(form.LoadEvent);
  auto window = std::make_unique<FormWindow>(form, door_, refills_, nullptr, Qt::WindowFlags(), 1.0, scriptedTimers);
  mainWindow_ = window.get();
  window->ShowAsFormWants();
  if (form.ActivateEvent) door_.Dispatch(form.ActivateEvent);
  return window;
}

}  // namespace pelmora
