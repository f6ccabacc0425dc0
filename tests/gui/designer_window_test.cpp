// The designer as a player meets it, from the real main window: opened by
// the Designer button as a modal window over the main one, at the top left
// of the screen, the main window taking no clicks meanwhile. A new game is
// typed with real keys, Tab walking the name and the sixteen word boxes in
// order, saved, and the designer left by Exit; the game then stands in the
// main window's game list and deals. Then the close box and Escape: each
// acts as Exit, prompts, refusals and the way Exit stores words included.

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <algorithm>
#include <cmath>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "app/program.h"
#include "tests/gui/gui_support.h"
#include "platform/qt/control_views.h"

using namespace pelmora;
using namespace pelmora::testing;

namespace {

const char kProfile[] = "[games]\r\n1=FRUIT\r\n[FRUIT]\r\n1=PEAR\r\n2=PLUM\r\n3=FIG\r\n";

// A value as the file holds it now, read by a store of its own; "(absent)"
// for a key that isn't there.
std::string Stored(const QString& path, const char* section, const char* key) {
  PosixFileSystem fs;
  ProfileStore store(QFile::encodeName(path).toStdString(), fs);
  return store.ReadProfileValue(section, key, "(absent)").text;
}

const QString kOverwriteFruit =
    QStringLiteral("You already have a game called FRUIT - do you wish to overwrite it?");
const QString kSaveChanges = QStringLiteral("Save changes made?");

// The designer's widgets, while its window is up.
struct Designer {
  Designer(FormWindow& w, Form2& f) : window(&w), form(&f) {
    list = qobject_cast<QListWidget*>(w.WidgetFor(f.List1));
    name = qobject_cast<QLineEdit*>(w.WidgetFor(f.Text1));
    for (int i = 1; i <= 16; ++i)
      boxes.push_back(f.Text(i) ? qobject_cast<QLineEdit*>(w.WidgetFor(*f.Text(i))) : nullptr);
    newEntry = qobject_cast<QPushButton*>(w.WidgetFor(f.Command1));
    erase = qobject_cast<QPushButton*>(w.WidgetFor(f.Command2));
    save = qobject_cast<QPushButton*>(w.WidgetFor(f.Command3));
    exit = qobject_cast<QPushButton*>(w.WidgetFor(f.Command4));
  }
  bool Complete() const {
    return list && name && newEntry && erase && save && exit &&
           std::all_of(boxes.begin(), boxes.end(), [](QLineEdit* box) { return box != nullptr; });
  }
  QStringList Words() const {
    QStringList words;
    for (QLineEdit* box : boxes) words << box->text();
    return words;
  }

  FormWindow* window;
  Form2* form;
  QListWidget* list = nullptr;
  QLineEdit* name = nullptr;
  std::vector<QLineEdit*> boxes;  // Text(1) to Text(16)
  QPushButton* newEntry = nullptr;
  QPushButton* erase = nullptr;
  QPushButton* save = nullptr;
  QPushButton* exit = nullptr;
};

// Makes w the active window, as a window manager does for the window the
// player works in; the offscreen platform has none to do it.
bool Activate(QWidget* w) {
  w->activateWindow();
  return QTest::qWaitFor([w] { return QApplication::activeWindow() == w; });
}

// Sixteen word boxes' worth of text: the given words, then empty boxes.
QStringList Padded(QStringList words) {
  while (words.size() < 16) words << QString();
  return words;
}

// Clicks the Designer button of the main window and runs script while the
// designer is up. Whatever the script does, the designer goes in the end,
// so a failing script can't leave the test waiting. True once the designer
// has come and gone with the whole script run.
bool WithDesigner(Program& program, const std::function<void(Designer&)>& script) {
  Form2& form = program.MainForm().Designer;
  QtRuntime& runtime = program.Runtime();
  bool ran = false;
  QTimer poll;
  poll.setInterval(5);
  QObject::connect(&poll, &QTimer::timeout, [&] {
    FormWindow* window = runtime.ModalWindow(form);
    if (!window || !window->isVisible()) return;
    poll.stop();
    struct Finally {
      QtRuntime& runtime;
      Form2& form;
      ~Finally() {
        if (form.Loaded) runtime.Unload(form);
      }
    } finally{runtime, form};
    Designer designer(*window, form);
    QVERIFY(designer.Complete());
    script(designer);
    ran = !QTest::currentTestFailed();
  });
  poll.start();
  auto* button = qobject_cast<QPushButton*>(program.MainWindow().WidgetFor(program.MainForm().Command2));
  if (!button) return false;
  QTest::mouseClick(button, Qt::LeftButton);
  return ran && !form.Loaded && !runtime.ModalWindow(form);
}

}  // namespace

class DesignerWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void init() {
    QVERIFY(dir_.isValid());
    path_ = dir_.filePath(QStringLiteral("wsearch.ini"));
    QVERIFY(WriteFile(path_, kProfile));
  }

  void aNewGameTypedSavedAndDealt() {
    BoxPlayer player;
    Program program(path_.toStdString());
    FormWindow& main = program.MainWindow();
    Form1& f = program.MainForm();
    QVERIFY(QTest::qWaitForWindowExposed(&main));
    auto* games = qobject_cast<QListWidget*>(main.WidgetFor(f.List2));
    auto* words = qobject_cast<QListWidget*>(main.WidgetFor(f.List1));
    auto* timer2 = dynamic_cast<TimerView*>(main.ViewFor(f.Timer2));
    QVERIFY(games && words && timer2);
    // Where a player would click the game list's first line, in the main
    // window's own coordinates.
    const QPoint firstGame = games->viewport()->mapTo(&main, games->visualItemRect(games->item(0)).center());

    const bool done = WithDesigner(program, [&](Designer& d) {
      FormWindow& window = *d.window;
      QVERIFY(Activate(&window));
      // Modal over the main window, at the top left of the screen, at its
      // designed size, with no minimise or maximise button.
      QCOMPARE(window.windowTitle(), QStringLiteral("Create Pelmora"));
      QCOMPARE(window.parentWidget(), &main);
      QCOMPARE(window.windowModality(), Qt::ApplicationModal);
      QCOMPARE(QApplication::activeModalWidget(), &window);
      QVERIFY2(window.testAttribute(Qt::WA_Moved),
               "the designer is placed by the program, not left where it falls");
      QCOMPARE(window.frameGeometry().topLeft(), window.screen()->geometry().topLeft());
      const double dpi = window.Dpi();
      QCOMPARE(window.size(), QSize(static_cast<int>(std::lround(6915 * dpi / 1440)),
                                    static_cast<int>(std::lround(5655 * dpi / 1440))));
      QVERIFY(!(window.windowFlags() & (Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint)));
      QVERIFY(!timer2->Running());

      // The main window takes no click while the designer is up: a real
      // click on its game list, through the window system, deals nothing.
      QTest::mouseClick(main.windowHandle(), Qt::LeftButton, {}, firstGame);
      QCOMPARE(f.List2.ListIndex(), -1);
      QCOMPARE(words->count(), 0);

      // It opens on the first game, no line highlighted.
      QCOMPARE(Items(*d.list), (QStringList{"FRUIT"}));
      QCOMPARE(d.form->List1.ListIndex(), -1);
      QVERIFY(d.list->selectedItems().isEmpty());
      QCOMPARE(d.name->text(), QStringLiteral("FRUIT"));
      QCOMPARE(d.Words(), Padded({"PEAR", "PLUM", "FIG"}));

      // New Entry, not keeping the words: all empty, the name box focused.
      player.Expect(QMessageBox::No);
      QTest::mouseClick(d.newEntry, Qt::LeftButton);
      QCOMPARE(player.seen, (QStringList{"Keep words from existing game?"}));
      QCOMPARE(d.name->text(), QString());
      QCOMPARE(d.Words(), Padded({}));
      QCOMPARE(window.focusWidget(), d.name);
      // Active again once the box has gone, the keys go to the name box.
      QVERIFY(Activate(&window));
      QCOMPARE(QApplication::focusWidget(), d.name);

      // The name, then Tab through the sixteen boxes, typing as we go; the
      // keys go wherever the focus is.
      QTest::keyClicks(QApplication::focusWidget(), "Trees");
      QCOMPARE(d.form->Text1.Text(), std::string("Trees"));
      const QStringList typed = {"oak", "e-lm 9", "ash", "Pine", "abcdefghijklmnopq"};
      for (int i = 1; i <= 16; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QVERIFY2(
            QApplication::focusWidget() == d.boxes[static_cast<std::size_t>(i - 1)],
            qPrintable(QStringLiteral("Tab %1 went to %2")
                           .arg(i)
                           .arg(QApplication::focusWidget() ? QApplication::focusWidget()->accessibleName()
                                                            : QStringLiteral("nothing"))));
        if (i <= typed.size()) QTest::keyClicks(QApplication::focusWidget(), typed[i - 1]);
      }
      // Past the last box: the buttons, the list, the name again.
      for (QWidget* next : std::vector<QWidget*>{d.newEntry, d.erase, d.save, d.exit, d.list, d.name}) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), next);
      }
      // The boxes hold what was typed, cut at fifteen characters.
      QCOMPARE(d.Words(), Padded({"oak", "e-lm 9", "ash", "Pine", "abcdefghijklmno"}));
      QCOMPARE(d.form->Text(5)->Text(), std::string("abcdefghijklmno"));

      // Save: one question for a new name; the list gains the game and the
      // boxes show the words as stored.
      player.Expect(QMessageBox::Yes);
      QTest::mouseClick(d.save, Qt::LeftButton);
      QCOMPARE(player.seen, (QStringList{"Keep words from existing game?", kSaveChanges}));
      QCOMPARE(Items(*d.list), (QStringList{"FRUIT", "TREES"}));
      QCOMPARE(d.form->List1.ListIndex(), -1);
      QVERIFY(d.list->selectedItems().isEmpty());
      QCOMPARE(d.name->text(), QStringLiteral("Trees"));
      QCOMPARE(d.Words(), Padded({"OAK", "ELM", "ASH", "PINE", "ABCDEFGHIJKLMNO"}));

      // Exit after a save: no question, the window goes.
      QTest::mouseClick(d.exit, Qt::LeftButton);
      QCOMPARE(player.seen.size(), 2);
      QVERIFY(!d.form->Loaded);
      QVERIFY(!window.isVisible());
    });
    QVERIFY(done);

    // In the file: the index slot behind FRUIT, and sixteen word keys.
    QCOMPARE(Stored(path_, "games", "2"), std::string("TREES"));
    const char* stored[] = {"OAK", "ELM", "ASH", "PINE", "ABCDEFGHIJKLMNO"};
    for (int i = 1; i <= 16; ++i)
      QCOMPARE(Stored(path_, "Trees", std::to_string(i).c_str()), std::string(i <= 5 ? stored[i - 1] : ""));
    QCOMPARE(Stored(path_, "Trees", "17"), std::string("(absent)"));

    // Back in the main window: the list read anew, nothing selected, the
    // shimmer running again.
    QCOMPARE(Items(*games), (QStringList{"FRUIT", "TREES"}));
    QCOMPARE(games->currentRow(), -1);
    QVERIFY(timer2->Running());

    // The same kind of click as the refused one, now on the new game: it
    // deals. Fifteen letters are more than the board's rules let a word
    // span, so that word is left out, and the player is told.
    const QPoint secondGame = games->viewport()->mapTo(&main, games->visualItemRect(games->item(1)).center());
    player.Expect(QMessageBox::Ok);
    QTest::mouseClick(main.windowHandle(), Qt::LeftButton, {}, secondGame);
    QCOMPARE(f.List2.ListIndex(), 1);
    QCOMPARE(player.seen.mid(2),
             (QStringList{"These words could not be hidden and were left out of the game: ABCDEFGHIJKLMNO"}));
    QCOMPARE(Items(*words), (QStringList{"ASH", "ELM", "OAK", "PINE"}));
    QCOMPARE(f.Play.WordCount, 4);
  }

  void closeBoxAndEscapeActAsExit() {
    BoxPlayer player;
    Program program(path_.toStdString());
    FormWindow& main = program.MainWindow();
    QVERIFY(QTest::qWaitForWindowExposed(&main));
    auto* games = qobject_cast<QListWidget*>(main.WidgetFor(program.MainForm().List2));
    QVERIFY(games);

    // Nothing edited: Escape closes at once, with no question.
    QVERIFY(WithDesigner(program, [&](Designer& d) {
      QVERIFY(Activate(d.window));
      QVERIFY(QApplication::focusWidget() && QApplication::focusWidget()->window() == d.window);
      QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
      QVERIFY(!d.form->Loaded);
    }));
    QVERIFY(player.seen.isEmpty());

    // Edited: Escape asks as Exit asks, and No to overwriting keeps the
    // window; the close box asks again, and No to saving closes it with
    // nothing written.
    const QByteArray before = ReadFile(path_);
    QVERIFY(WithDesigner(program, [&](Designer& d) {
      QTest::keyClicks(d.boxes[0], "S");
      QCOMPARE(d.boxes[0]->text(), QStringLiteral("PEARS"));
      player.Expect(QMessageBox::No);
      QTest::keyClick(d.boxes[0], Qt::Key_Escape);
      QCOMPARE(player.seen, (QStringList{kOverwriteFruit}));
      QVERIFY(d.form->Loaded);
      QVERIFY(d.window->isVisible());
      QCOMPARE(d.boxes[0]->text(), QStringLiteral("PEARS"));  // the box never saw the key

      player.Expect(QMessageBox::Yes);
      player.Expect(QMessageBox::No);
      d.window->close();
      QCOMPARE(player.seen, (QStringList{kOverwriteFruit, kOverwriteFruit, kSaveChanges}));
      QVERIFY(!d.form->Loaded);
    }));
    QCOMPARE(ReadFile(path_), before);

    // Edited again, closed by the close box with Yes and Yes: stored as Exit
    // stores, blanks taken out and everything else kept.
    player.seen.clear();
    QVERIFY(WithDesigner(program, [&](Designer& d) {
      QCOMPARE(d.Words(), Padded({"PEAR", "PLUM", "FIG"}));  // opened afresh from the file
      QTest::keyClicks(d.boxes[1], "x 1");
      player.Expect(QMessageBox::Yes);
      player.Expect(QMessageBox::Yes);
      d.window->close();
      QCOMPARE(player.seen, (QStringList{kOverwriteFruit, kSaveChanges}));
      QVERIFY(!d.form->Loaded);
    }));
    QCOMPARE(Stored(path_, "FRUIT", "2"), std::string("PLUMX1"));
    QCOMPARE(Stored(path_, "FRUIT", "1"), std::string("PEAR"));
    QCOMPARE(Stored(path_, "games", "1"), std::string("FRUIT"));
    QCOMPARE(Items(*games), (QStringList{"FRUIT"}));
  }

 private:
  QTemporaryDir dir_;
  QString path_;
};

QTEST_MAIN(DesignerWindowTest)
#include "designer_window_test.moc"
