// The Qt runtime: message boxes answered by a player, ticks that never enter
// a handler waiting in its own message box, a modal form from Load to
// Unload with keys, clicks and the close box, and the printed page.

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPointer>
#include <QPrinterInfo>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <functional>

#include "platform/event_door.h"
#include "platform/form.h"
#include "platform/grid.h"
#include "platform/qt/control_views.h"
#include "platform/qt/form_printer.h"
#include "platform/qt/form_window.h"
#include "platform/qt/qt_runtime.h"
#include "platform/runtime_helpers.h"

using namespace pelmora;

namespace {

// Stands where the profile store stands behind the door, and keeps a log.
struct Recorder : WriteGroup {
  std::vector<std::string> log;
  void HandlerBegins() override { log.push_back("begin"); }
  void HandlerEnds() override { log.push_back("end"); }
  void BeforeWait() override { log.push_back("before"); }
  void AfterWait() override { log.push_back("after"); }
};

using Log = std::vector<std::string>;

// Plays the player: a zero-delay timer polls for the next modal widget of
// type T and hands it to act once it is up.
template <typename T>
void WhenModal(std::function<void(T*)> act) {
  auto* poll = new QTimer;
  poll->setInterval(0);
  QObject::connect(poll, &QTimer::timeout, [poll, act] {
    auto* widget = qobject_cast<T*>(QApplication::activeModalWidget());
    if (!widget || !widget->isVisible()) return;
    poll->stop();
    poll->deleteLater();
    act(widget);
  });
  poll->start();
}

void Answer(QMessageBox::StandardButton button, QString* text = nullptr) {
  WhenModal<QMessageBox>([button, text](QMessageBox* box) {
    if (text) *text = box->text();
    box->button(button)->click();
  });
}

class TimerForm : public Form {
 public:
  TimerForm() : Form("TimerForm", "Timers", 3000, 2000), Slow("Slow", 1), Other("Other", 1) {}
  std::vector<Control*> Controls() override { return {&Slow, &Other}; }
  Timer Slow;
  Timer Other;
};

// A small dialog: a text box that takes letters in upper case and refuses
// digits, a list, and a close box that asks before it unloads.
class DialogForm : public Form {
 public:
  explicit DialogForm(Runtime& rt)
      : Form("DialogForm", "Edit Games", 4800, 3600),
        runtime(rt),
        Text1("Text1", {120, 120, 2400, 315}, 0, 5),
        List1("List1", {120, 600, 2400, 1800}, 1, /*sorted=*/false) {
    LoadEvent = [this] {
      events.push_back("Load");
      List1.Clear();
      for (const char* item : {"ONE", "TWO", "THREE"}) List1.AddItem(item);
    };
    ActivateEvent = [this] { events.push_back("Activate"); };
    Text1.KeyDown = [this](int code, int shift) {
      events.push_back("KeyDown " + std::to_string(code) + " " + std::to_string(shift));
    };
    Text1.KeyPress = [this](int& ascii) {
      events.push_back("KeyPress " + std::to_string(ascii));
      if (ascii >= '0' && ascii <= '9') ascii = 0;
      else if (ascii >= 'a' && ascii <= 'z') ascii -= 32;
    };
    Text1.ChangeEvent = [this] { events.push_back("Change " + Text1.Text()); };
    List1.Click = [this] { events.push_back("Click " + std::to_string(List1.ListIndex())); };
    CloseRequested = [this] {
      events.push_back("Close");
      if (runtime.MsgBox("Save changes made?", vbYesNoQuestion) == vbYes) runtime.Unload(*this);
    };
  }
  std::vector<Control*> Controls() override { return {&Text1, &List1}; }

  Runtime& runtime;
  TextBox Text1;
  ListBox List1;
  Log events;
};

PictureHandle Board() {
  FlexGrid grid("Grid1", {}, 0);
  grid.SetRows(15);
  grid.SetCols(15);
  for (int i = 0; i < 15; ++i) {
    grid.SetRowHeight(i, 500);
    grid.SetColWidth(i, 500);
  }
  for (auto [row, col] : {std::pair{0, 0}, {4, 9}, {14, 3}}) {
    grid.SetRow(row);
    grid.SetCol(col);
    grid.SetText("K");
    grid.SetCellAlignment(4);
    grid.SetCellFontBold(true);
  }
  return grid.Picture();
}

// The printed sheet's layout: the board, the heading and the words.
class SheetForm : public Form {
 public:
  SheetForm()
      : Form("Form3", "Form3", 10380, 7980),
        Picture1("Picture1", {120, 120, 5655, 4335}, 0, 1),
        Label1("Label1", {7800, 120, 1815, 255}, 2, "Word List"),
        List1("List1", {7800, 480, 1815, 4155}, 1, /*sorted=*/false) {
    Label1.FontBold = true;
  }
  std::vector<Control*> Controls() override { return {&Picture1, &Label1, &List1}; }
  PictureBox Picture1;
  Label Label1;
  ListBox List1;
};

int DarkPixels(const QImage& image, const QRect& area) {
  int dark = 0;
  for (int y = area.top(); y <= area.bottom(); ++y)
    for (int x = area.left(); x <= area.right(); ++x) dark += qGray(image.pixel(x, y)) < 110 ? 1 : 0;
  return dark;
}

}  // namespace

class QtRuntimeTest : public QObject {
  Q_OBJECT

 private slots:
  void messageBoxesAnswerAndFlushBeforeWaiting() {
    Recorder recorder;
    EventDoor door;
    door.Attach(recorder);
    QtRuntime runtime(door);
    TimerForm ownerForm;
    ownerForm.Slow.SetEnabled(false);
    ownerForm.Other.SetEnabled(false);
    FormWindow owner(ownerForm, door);
    owner.show();
    QVERIFY(QTest::qWaitForWindowExposed(&owner));

    struct Case {
      int value;
      QMessageBox::StandardButton press;
      int result;
      QMessageBox::Icon icon;
      QMessageBox::StandardButtons buttons;
    };
    const Case cases[] = {
        {vbYesNoQuestion, QMessageBox::Yes, vbYes, QMessageBox::Question, QMessageBox::Yes | QMessageBox::No},
        {vbYesNoQuestion, QMessageBox::No, vbNo, QMessageBox::Question, QMessageBox::Yes | QMessageBox::No},
        {vbCritical, QMessageBox::Ok, vbOK, QMessageBox::Critical, QMessageBox::Ok},
        {vbInformation, QMessageBox::Ok, vbOK, QMessageBox::Information, QMessageBox::Ok},
        {vbOKOnly, QMessageBox::Ok, vbOK, QMessageBox::NoIcon, QMessageBox::Ok},
    };
    for (const Case& c : cases) {
      recorder.log.clear();
      Log whileShown;
      QString title, text;
      QMessageBox::Icon icon = QMessageBox::NoIcon;
      QMessageBox::StandardButtons buttons;
      QWidget* parent = nullptr;
      WhenModal<QMessageBox>([&](QMessageBox* box) {
        whileShown = recorder.log;
        title = box->windowTitle();
        text = box->text();
        icon = box->icon();
        buttons = box->standardButtons();
        parent = box->parentWidget();
        box->button(c.press)->click();
      });
      int result = -1;
      door.Dispatch([&] {
        recorder.log.push_back("handler");
        result = runtime.MsgBox("This does not match to any available word", c.value);
      });
      QCOMPARE(result, c.result);
      QCOMPARE(title, QStringLiteral("Pelmora"));
      QCOMPARE(text, QStringLiteral("This does not match to any available word"));
      QCOMPARE(icon, c.icon);
      QCOMPARE(buttons, c.buttons);
      QCOMPARE(parent, &owner);  // over the program's window, active or not
      QCOMPARE(whileShown, (Log{"begin", "handler", "before"}));
      QCOMPARE(recorder.log, (Log{"begin", "handler", "before", "after", "end"}));
    }

    // The pointer: the hourglass is an override cursor, and reads back.
    runtime.SetMousePointer(vbHourglass);
    QCOMPARE(runtime.MousePointer(), vbHourglass);
    QVERIFY(QApplication::overrideCursor());
    QCOMPARE(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    runtime.SetMousePointer(vbHourglass);
    runtime.SetMousePointer(vbDefault);
    QCOMPARE(runtime.MousePointer(), vbDefault);
    QVERIFY(!QApplication::overrideCursor());

    // Now is today's Date value.
    const QDateTime now = QDateTime::currentDateTime();
    const double expected = QDate(1899, 12, 30).daysTo(now.date()) + now.time().msecsSinceStartOfDay() / 86400000.0;
    QVERIFY(qAbs(runtime.Now() - expected) < 5.0 / 86400);
  }

  void aTickNeverEntersItsOwnWaitingHandler() {
    EventDoor door;
    QtRuntime runtime(door);
    TimerForm form;
    int slowTicks = 0, depth = 0, deepest = 0, otherTicks = 0, otherTicksWhileWaiting = -1;
    int slowTicksAtAnswer = -1;
    form.Other.Tick = [&] { ++otherTicks; };
    form.Slow.Tick = [&] {
      ++slowTicks;
      deepest = std::max(deepest, ++depth);
      if (slowTicks == 1) {
        // Switched off and on again, the timer starts afresh, which Qt's own
        // protection of a running timeout doesn't cover.
        form.Slow.SetEnabled(false);
        form.Slow.SetEnabled(true);
        const int otherAtStart = otherTicks;
        WhenModal<QMessageBox>([&, otherAtStart](QMessageBox* box) {
          // Let both timers run for a while behind the box.
          QTimer::singleShot(120, box, [&, box, otherAtStart] {
            slowTicksAtAnswer = slowTicks;
            otherTicksWhileWaiting = otherTicks - otherAtStart;
            box->button(QMessageBox::Ok)->click();
          });
        });
        runtime.MsgBox("Well done!", vbInformation);
      }
      --depth;
    };
    FormWindow window(form, door);
    QTRY_VERIFY(slowTicks >= 4);
    form.Slow.SetEnabled(false);
    form.Other.SetEnabled(false);
    QCOMPARE(deepest, 1);
    QCOMPARE(slowTicksAtAnswer, 1);
    QVERIFY2(otherTicksWhileWaiting > 3, "the guard belongs to one timer, not to all");
    // Switched off, a timer stays quiet.
    const int stopped = slowTicks;
    QTest::qWait(30);
    QCOMPARE(slowTicks, stopped);
  }

  void modalFormFromLoadToUnload() {
    Recorder recorder;
    EventDoor door;
    door.Attach(recorder);
    QtRuntime runtime(door);
    auto form = std::make_unique<DialogForm>(runtime);
    QPointer<FormWindow> shownWindow;
    QString firstQuestion;
    bool scriptRan = false;

    QTimer::singleShot(0, [&] {
      DialogForm& f = *form;
      // Whatever happens, the wait ends.
      struct Finally {
        QtRuntime& runtime;
        DialogForm& form;
        ~Finally() {
          if (form.Loaded) runtime.Unload(form);
        }
      } finally{runtime, f};
      FormWindow* window = runtime.ModalWindow(f);
      QVERIFY(window);
      shownWindow = window;
      QVERIFY(window->isVisible());
      QCOMPARE(window->windowModality(), Qt::ApplicationModal);
      QCOMPARE(window->windowTitle(), QStringLiteral("Edit Games"));
      QVERIFY(!(window->windowFlags() & Qt::WindowMaximizeButtonHint));
      QVERIFY(!(window->windowFlags() & Qt::WindowMinimizeButtonHint));
      QVERIFY(window->windowFlags() & Qt::WindowCloseButtonHint);
      QCOMPARE(f.events, (Log{"Load", "Activate"}));
      f.events.clear();

      // Keys: KeyDown, then KeyPress, then the edit; arrows only KeyDown;
      // the handler's upper case is what lands, a swallowed digit nothing.
      auto* text = qobject_cast<QLineEdit*>(window->WidgetFor(f.Text1));
      QVERIFY(text);
      QTest::keyClicks(text, "a1b");
      QTest::keyClick(text, Qt::Key_Left);
      QTest::keyClicks(text, "c");
      QCOMPARE(f.events, (Log{"KeyDown 65 0", "KeyPress 97", "Change A", "KeyDown 49 0", "KeyPress 49",
                              "KeyDown 66 0", "KeyPress 98", "Change AB", "KeyDown 37 0", "KeyDown 67 0",
                              "KeyPress 99", "Change ACB"}));
      QCOMPARE(f.Text1.Text(), std::string("ACB"));
      QCOMPARE(text->text(), QStringLiteral("ACB"));
      // MaxLength 5 bounds typing; the keys are still seen.
      f.events.clear();
      QTest::keyClicks(text, "defg");
      QCOMPARE(f.Text1.Text(), std::string("ACDEB"));
      QCOMPARE(std::count_if(f.events.begin(), f.events.end(),
                             [](const std::string& e) { return e.rfind("KeyPress", 0) == 0; }),
               4);
      QCOMPARE(f.events.back(), std::string("KeyPress 103"));

      // A click on a line selects it through the model.
      f.events.clear();
      auto* list = qobject_cast<QListWidget*>(window->WidgetFor(f.List1));
      QVERIFY(list);
      QCOMPARE(list->count(), 3);
      QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(1)).center());
      QCOMPARE(f.events, (Log{"Click 1"}));
      QCOMPARE(f.List1.ListIndex(), 1);
      QCOMPARE(list->currentRow(), 1);

      // Escape asks, as the close box does; No keeps the form, and the text
      // box never sees the key.
      f.events.clear();
      Answer(QMessageBox::No, &firstQuestion);
      QTest::keyClick(text, Qt::Key_Escape);
      QCOMPARE(f.events, (Log{"Close"}));
      QVERIFY(f.Loaded);
      QVERIFY(window->isVisible());

      // The close box, answered Yes: unloaded, and the window goes.
      Answer(QMessageBox::Yes);
      window->close();
      QCOMPARE(f.events, (Log{"Close", "Close"}));
      QVERIFY(!f.Loaded);
      QVERIFY(!window->isVisible());
      scriptRan = true;
    });

    recorder.log.clear();
    door.Dispatch([&] { runtime.ShowModal(*form); });
    QVERIFY(scriptRan);
    QCOMPARE(firstQuestion, QStringLiteral("Save changes made?"));
    QVERIFY(!form->Loaded);
    QVERIFY(!runtime.ModalWindow(*form));
    // The wait was announced before the window came up and ended after.
    QCOMPARE(recorder.log.front(), std::string("begin"));
    QCOMPARE(recorder.log[1], std::string("before"));
    QCOMPARE(recorder.log[recorder.log.size() - 2], std::string("after"));
    QCOMPARE(recorder.log.back(), std::string("end"));
    // The views let go of the models at once; the widgets go with the loop.
    QVERIFY(!form->Text1.onChanged);
    QVERIFY(!form->List1.onChanged);
    form->List1.AddItem("FOUR");  // nobody is watching, nothing breaks
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(shownWindow.isNull());

    // Shown again: loaded again. An Activate that unloads doesn't wait.
    form->events.clear();
    form->ActivateEvent = [&] {
      form->events.push_back("Activate");
      runtime.Unload(*form);
    };
    runtime.ShowModal(*form);
    QCOMPARE(form->events, (Log{"Load", "Activate"}));
    QVERIFY(!form->Loaded);
    form.reset();  // the model may go before the deferred deletion of its window
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }

  void thePrintedPageIsDrawnWithVectors() {
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    SheetForm form;
    form.Picture1.SetPicture(Board());
    form.Picture1.Circle(200, 200, 200, QBColor(12));  // drawn on screen, never printed
    for (const char* word : {"CAT", "DOG", "HORSE"}) form.List1.AddItem(word);

    const QString pdf = dir.filePath(QStringLiteral("sheet.pdf"));
    QVERIFY(RenderFormToFile(form, pdf));
    QFile pdfFile(pdf);
    QVERIFY(pdfFile.open(QIODevice::ReadOnly));
    const QByteArray bytes = pdfFile.readAll();
    QVERIFY(bytes.startsWith("%PDF-"));
    QVERIFY(bytes.size() > 2000);
    QVERIFY(bytes.contains("DejaVuSans-Bold"));  // the letters are text in the bold face
    QVERIFY(!bytes.contains("/Subtype /Image"));   // and no bitmap anywhere

    const QString png = dir.filePath(QStringLiteral("sheet.png"));
    QVERIFY(RenderFormToFile(form, png));
    const QImage image(png);
    QCOMPARE(image.size(), QSize(1038, 798));  // 10 twips to the pixel
    for (int row = 0; row < 15; ++row)
      for (int col = 0; col < 15; ++col) {
        // Inside the cell, clear of the 15-twip lines.
        const QRect cell((120 + col * 500) / 10 + 3, (120 + row * 500) / 10 + 3, 44, 44);
        const bool letter = (row == 0 && col == 0) || (row == 4 && col == 9) || (row == 14 && col == 3);
        const int dark = DarkPixels(image, cell);
        QVERIFY2(letter ? dark > 40 : dark == 0, qPrintable(QStringLiteral("%1,%2: %3").arg(row).arg(col).arg(dark)));
      }
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x) {
        const QRgb p = image.pixel(x, y);
        QVERIFY2(!(qRed(p) > 150 && qGreen(p) < 100 && qBlue(p) < 100), "a circle reached the page");
      }
    QVERIFY(DarkPixels(image, QRect(780, 12, 181, 25)) > 40);  // "Word List"
    const QRect words(782, 50, 177, 60);
    QVERIFY(DarkPixels(image, words) > 60);
    QVERIFY(DarkPixels(image, words) < words.width() * words.height() / 4);  // dark on light
    QVERIFY(!RenderFormToFile(form, dir.filePath(QStringLiteral("sheet.txt"))));

    // With no printer, the page goes to a PDF file the player names.
    if (!QPrinterInfo::defaultPrinter().isNull()) QSKIP("a printer is set up here; nothing is printed by tests");
    Recorder recorder;
    EventDoor door;
    door.Attach(recorder);
    QtRuntime runtime(door);
    QString proposed;
    const QString chosen = dir.filePath(QStringLiteral("my sheet"));
    WhenModal<QFileDialog>([&](QFileDialog* dialog) {
      proposed = dialog->selectedFiles().value(0);
      dialog->selectFile(chosen);
      static_cast<QDialog*>(dialog)->accept();  // the dialog checks and takes the name
    });
    QVERIFY(runtime.PrintForm(form));
    QVERIFY(proposed.endsWith(QStringLiteral("/Pelmora sheet.pdf")));
    QVERIFY(QFile::exists(chosen + QStringLiteral(".pdf")));
    QCOMPARE(recorder.log, (Log{"before", "after"}));
    WhenModal<QFileDialog>([](QFileDialog* dialog) { dialog->reject(); });
    QVERIFY(!runtime.PrintForm(form));
  }
};

QTEST_MAIN(QtRuntimeTest)
#include "qt_runtime_test.moc"
