// The real main window on real widgets: start-up from an empty profile, the
// layout of every control, the check boxes driven by real mouse clicks and
// written to the file, and the list boxes following their models.

#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRandomGenerator>
#include <QScreen>
#include <QTemporaryDir>
#include <QtTest>
#include <algorithm>
#include <memory>

#include "platform/event_door.h"
#include "platform/file_system.h"
#include "platform/qt/control_views.h"
#include "platform/qt/form_window.h"
#include "platform/qt/qt_runtime.h"
#include "play/form1.h"
#include "profile/profile_store.h"
#include "tests/gui/gui_support.h"

using namespace pelmora;
using pelmora::testing::ReadFile;

namespace {

// One run of the program on a profile of its own.
struct Run {
  explicit Run(const QString& path)
      : store(QFile::encodeName(path).toStdString(), fs), runtime((door.Attach(store), door)),
        form(runtime, store) {
    door.onFailure = [this](const std::string& what) { failures.push_back(what); };
    window = runtime.ShowMainForm(form);
  }
  PosixFileSystem fs;
  ProfileStore store;
  EventDoor door;
  QtRuntime runtime;
  Form1 form;
  std::unique_ptr<FormWindow> window;
  std::vector<std::string> failures;
};

// The pixels a twip rectangle covers at dpi, edges rounded.
QRect Expected(int left, int top, int width, int height, double dpi) {
  auto px = [dpi](int twips) { return static_cast<int>(std::lround(twips * dpi / 1440.0)); };
  return QRect(QPoint(px(left), px(top)), QPoint(px(left + width) - 1, px(top + height) - 1));
}

bool IsGreen(QRgb p) { return qGreen(p) > 150 && qRed(p) < 110 && qBlue(p) < 110; }
bool IsBlack(QRgb p) { return qRed(p) < 30 && qGreen(p) < 30 && qBlue(p) < 30; }

}  // namespace

class MainWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    QVERIFY(dir_.isValid());
    path_ = dir_.filePath(QStringLiteral("wsearch.ini"));
    QFile::remove(path_);
  }

  // The games list worked from the keyboard: focus alone chooses nothing, and
  // the first Down chooses the first game, not the second.
  void firstDownKeyChoosesTheFirstGame() {
    {
      QFile file(path_);
      QVERIFY(file.open(QIODevice::WriteOnly));
      file.write("[games]\r\n1=ANIMALS\r\n2=FRUIT\r\n[ANIMALS]\r\n1=CAT\r\n[FRUIT]\r\n1=FIG\r\n");
    }
    Run run(path_);
    QVERIFY(QTest::qWaitForWindowExposed(run.window.get()));
    QWidget* games = run.window->WidgetFor(run.form.List2);
    QVERIFY(games);
    games->setFocus();
    QCOMPARE(run.form.List2.ListIndex(), -1);
    QTest::keyClick(games, Qt::Key_Down);
    QCOMPARE(run.form.List2.ListIndex(), 0);
    QCOMPARE(run.form.List1.ListCount(), 1);
    QCOMPARE(run.form.List1.List(0), std::string("CAT"));
  }

  void firstRunOpensTheDesignedWindow() {
    {
      QFile file(path_);
      QVERIFY(file.open(QIODevice::WriteOnly));
      file.write("[games]\r\n1=ANIMALS\r\n2=FRUIT\r\n");
    }
    Run run(path_);
    FormWindow& window = *run.window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(window.windowTitle(), QStringLiteral("Pelmora v1.0"));
    QVERIFY(window.windowState() & Qt::WindowMaximized);

    const double dpi = window.screen()->logicalDotsPerInch();
    QCOMPARE(window.Dpi(), dpi);
    struct Design {
      const Control* control;
      const char* caption;  // nullptr: no caption to show
      int left, top, width, height;
      bool visible;
    };
    const Form1& f = run.form;
    // Picture1 stands where start-up put it, at the size of the empty board.
    const Design design[] = {
        {&f.Picture1, nullptr, 200, 200, 7500, 7500, true},
        {&f.Command1, "New Game", 3480, 6000, 1335, 495, false},
        {&f.List1, nullptr, 8160, 2040, 2535, 3570, true},
        {&f.List2, nullptr, 8160, 480, 2535, 1230, true},
        {&f.Check1, "Practice Mode On", 8160, 5760, 2655, 255, true},
        {&f.Check2, "Show Word List", 8160, 6120, 2775, 375, true},
        {&f.Label1, "", 8160, 6600, 3015, 255, true},
        {&f.Command2, "Designer", 8160, 7080, 1335, 495, true},
        {&f.Label2, "Available Games (click on game to start)", 8160, 240, 3255, 255, true},
        {&f.Label3, "Word List", 8160, 1800, 2535, 255, true},
        {&f.Command3, "Print", 9480, 7080, 1215, 495, true},
        {&f.Command4, "Statistics", 8160, 7560, 1335, 495, true},
        {&f.Command5, "Clear Statistics", 9480, 7560, 1215, 495, true},
    };
    for (const Design& d : design) {
      QWidget* widget = window.WidgetFor(*d.control);
      QVERIFY2(widget, d.control->Name().c_str());
      QCOMPARE(widget->parentWidget(), &window);
      QCOMPARE(widget->geometry(), Expected(d.left, d.top, d.width, d.height, dpi));
      QCOMPARE(widget->isVisible(), d.visible);
      if (!d.caption) continue;
      QString shown;
      if (auto* button = qobject_cast<QAbstractButton*>(widget)) shown = button->text();
      else if (auto* label = qobject_cast<QLabel*>(widget)) shown = label->text();
      QCOMPARE(shown, QString::fromLatin1(d.caption));
    }
    // The grid holds the letters and is never shown; timers have no widget.
    QVERIFY(!window.WidgetFor(f.Grid1));
    QVERIFY(!window.WidgetFor(f.Timer1));
    auto* timer1 = dynamic_cast<TimerView*>(window.ViewFor(f.Timer1));
    auto* timer2 = dynamic_cast<TimerView*>(window.ViewFor(f.Timer2));
    QVERIFY(timer1 && timer2);
    QVERIFY(!timer1->Running());
    QVERIFY(timer2->Running());

    // The games, green on black: in the palette and in the pixels drawn.
    auto* games = qobject_cast<QListWidget*>(window.WidgetFor(f.List2));
    QVERIFY(games);
    QCOMPARE(games->count(), 2);
    QCOMPARE(games->item(0)->text(), QStringLiteral("ANIMALS"));
    QCOMPARE(games->item(1)->text(), QStringLiteral("FRUIT"));
    QCOMPARE(games->currentRow(), -1);
    for (QListWidget* list : {games, qobject_cast<QListWidget*>(window.WidgetFor(f.List1))}) {
      QCOMPARE(list->palette().color(QPalette::Text), QColor(0, 255, 0));
      QCOMPARE(list->palette().color(QPalette::Base), QColor(0, 0, 0));
    }
    const QImage shot = games->viewport()->grab().toImage();
    int green = 0, black = 0, other = 0;
    for (int y = 0; y < shot.height(); ++y)
      for (int x = 0; x < shot.width(); ++x) {
        const QRgb p = shot.pixel(x, y);
        if (IsGreen(p)) ++green;
        else if (IsBlack(p)) ++black;
        else ++other;
      }
    QVERIFY2(green > 20, qPrintable(QString::number(green)));
    QVERIFY(black > shot.width() * shot.height() * 3 / 4);

    // Tab moves through the controls in the order of their TabIndex.
    std::vector<QWidget*> expectedOrder;
    for (const Control* c : {static_cast<const Control*>(&f.Command1), static_cast<const Control*>(&f.List1),
                             static_cast<const Control*>(&f.List2), static_cast<const Control*>(&f.Check1),
                             static_cast<const Control*>(&f.Check2), static_cast<const Control*>(&f.Command2),
                             static_cast<const Control*>(&f.Command3), static_cast<const Control*>(&f.Command4),
                             static_cast<const Control*>(&f.Command5)})
      expectedOrder.push_back(window.WidgetFor(*c));
    std::vector<QWidget*> chain;
    QWidget* w = expectedOrder.front();
    do {
      if (std::find(expectedOrder.begin(), expectedOrder.end(), w) != expectedOrder.end())
        chain.push_back(w);
      w = w->nextInFocusChain();
    } while (w != expectedOrder.front() && chain.size() < expectedOrder.size());
    QVERIFY(chain == expectedOrder);
    QVERIFY(run.failures.empty());
  }

  void checkBoxClicksWriteTheFileAndShowTheList() {
    Run run(path_);
    FormWindow& window = *run.window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto* practice = qobject_cast<QCheckBox*>(window.WidgetFor(run.form.Check1));
    auto* showList = qobject_cast<QCheckBox*>(window.WidgetFor(run.form.Check2));
    QWidget* words = window.WidgetFor(run.form.List1);
    QWidget* heading = window.WidgetFor(run.form.Label3);
    QVERIFY(practice && showList && words && heading);
    // A first run: practice off, the list shown, and only Visible written.
    QCOMPARE(practice->checkState(), Qt::Unchecked);
    QCOMPARE(showList->checkState(), Qt::Checked);
    QVERIFY(ReadFile(path_).contains("Visible=1"));
    QVERIFY(!ReadFile(path_).contains("Practice"));

    const QPoint box(6, practice->height() / 2);
    QTest::mouseClick(practice, Qt::LeftButton, {}, box);
    QCOMPARE(run.form.Check1.Value(), 1);
    QCOMPARE(practice->checkState(), Qt::Checked);  // not Qt's own next state, the grey one
    QCOMPARE(run.form.Play.PracticeFlag, 1);
    QByteArray file = ReadFile(path_);  // written when the click's handler ended
    QVERIFY(file.startsWith("[Settings]\r\n"));
    QVERIFY(file.contains("\r\nPractice=1\r\n"));

    QTest::mouseClick(showList, Qt::LeftButton, {}, QPoint(6, showList->height() / 2));
    QCOMPARE(showList->checkState(), Qt::Unchecked);
    QVERIFY(ReadFile(path_).contains("Visible=0"));
    QVERIFY(!words->isVisible());
    QVERIFY(!heading->isVisible());

    QTest::mouseClick(showList, Qt::LeftButton, {}, QPoint(6, showList->height() / 2));
    QVERIFY(ReadFile(path_).contains("Visible=1"));
    QVERIFY(words->isVisible());
    QVERIFY(heading->isVisible());

    // The grey value shows as partially checked, and a click makes it 1.
    run.door.Dispatch([&] { run.form.Check1.SetValue(2); });
    QCOMPARE(practice->checkState(), Qt::PartiallyChecked);
    QTest::mouseClick(practice, Qt::LeftButton, {}, box);
    QCOMPARE(run.form.Check1.Value(), 1);
    QCOMPARE(practice->checkState(), Qt::Checked);
    QVERIFY(ReadFile(path_).contains("Practice=1"));
    QVERIFY(run.failures.empty());

    // Closing the window ends the run, and nothing is written then.
    const QByteArray before = ReadFile(path_);
    QTimer::singleShot(0, &window, [&window] { window.close(); });
    QTimer::singleShot(5000, &window, [] { QCoreApplication::exit(1); });  // the run didn't end
    QCOMPARE(QApplication::exec(), 0);
    QCOMPARE(ReadFile(path_), before);
  }

  void listsFollowTheirModelsOneChangeAtATime() {
    Run run(path_);
    FormWindow& window = *run.window;
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    ListBox& model = run.form.List1;  // sorted, and no handler of its own
    auto* list = qobject_cast<QListWidget*>(window.WidgetFor(model));
    QVERIFY(list);
    auto same = [&] {
      if (list->count() != model.ListCount()) return false;
      for (int i = 0; i < model.ListCount(); ++i)
        if (list->item(i)->text().toStdString() != model.List(i)) return false;
      return list->currentRow() == model.ListIndex();
    };

    QRandomGenerator random(7);
    auto fill = [&](int count) {
      for (int i = 0; i < count; ++i) {
        QString word;
        for (int n = 0; n < 6; ++n) word += QChar('A' + random.bounded(26));
        model.AddItem(word.toStdString());
      }
    };
    fill(4096);
    QVERIFY(same());

    model.SetListIndex(100);
    QVERIFY(same());
    model.AddItem("AAAAAA");  // in front of the selection, which moves down
    QCOMPARE(model.ListIndex(), 101);
    QVERIFY(same());
    model.RemoveItem(101);  // the selected line: nothing is selected afterwards
    QCOMPARE(model.ListIndex(), -1);
    QVERIFY(same());
    for (int i = 0; i < 50; ++i) model.RemoveItem(static_cast<int>(random.bounded(model.ListCount())));
    QVERIFY(same());

    // A real click selects through the model; Qt doesn't move it by itself.
    list->scrollToTop();
    const QRect third = list->visualItemRect(list->item(2));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, third.center());
    QCOMPARE(model.ListIndex(), 2);
    QVERIFY(same());
    QTest::keyClick(list, Qt::Key_Down);
    QCOMPARE(model.ListIndex(), 3);
    QVERIFY(same());

    model.Clear();
    QCOMPARE(list->count(), 0);
    QVERIFY(same());

    // A refill inside a handler is shown whole when the handler ends, and
    // before any wait for the player inside it.
    fill(10);
    run.door.Dispatch([&] {
      model.Clear();
      fill(300);
      model.SetListIndex(7);
      model.RemoveItem(0);
    });
    QCOMPARE(model.ListIndex(), 6);
    QVERIFY(same());
    run.door.Dispatch([&] {
      model.Clear();
      fill(20);
      run.door.BeforeWait();
      QVERIFY(same());
      run.door.Dispatch([&] {  // a key in a modal window, say
        model.Clear();
        fill(5);
      });
      QVERIFY(same());
      model.AddItem("ZZZ");
      QVERIFY(same());
    });
    QVERIFY(same());
    QVERIFY(run.failures.empty());
  }

 private:
  QTemporaryDir dir_;
  QString path_;
};

QTEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
