// What a screen reader and a keyboard player meet in the program's own
// windows: every control has a name (its caption, or what it holds), no two
// controls of a window share one, a name follows a caption that changes, and
// the Tab key walks the designer from the game list through the name and the
// sixteen word boxes to the buttons.

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <memory>

#include "app/program.h"

namespace {

const char kProfile[] =
    "[Settings]\r\nVisible=1\r\nPractice=0\r\n"
    "[games]\r\n1=GARDEN\r\n2=OCEAN\r\n"
    "[GARDEN]\r\n1=ROSE\r\n2=TULIP\r\n3=DAISY\r\n"
    "[OCEAN]\r\n1=WHALE\r\n2=CORAL\r\n";

// The name assistive technology reads for a widget.
QString AccessibleName(QWidget* widget) {
  QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(widget);
  return iface ? iface->text(QAccessible::Name) : QString();
}

// Every control's widget has a name; a captioned one is called by its
// caption; no two share a name. Returns the first fault, empty when none.
QString NameFault(pelmora::FormWindow& window) {
  QSet<QString> seen;
  int named = 0;
  for (pelmora::Control* control : window.form()->Controls()) {
    QWidget* widget = window.WidgetFor(*control);
    if (!widget) continue;  // timers and the letter store have no widget
    const QString name = AccessibleName(widget);
    const QString who = QString::fromStdString(window.form()->Name() + "." + control->Name());
    if (name.trimmed().isEmpty()) return who + " has no accessible name";
    QString caption;
    if (auto* button = qobject_cast<QAbstractButton*>(widget)) caption = button->text();
    if (auto* label = qobject_cast<QLabel*>(widget)) caption = label->text();
    if (!caption.trimmed().isEmpty() && name != caption.trimmed())
      return who + " is called \"" + name + "\" but shows \"" + caption + "\"";
    if (seen.contains(name)) return who + " shares the name \"" + name + "\"";
    seen.insert(name);
    ++named;
  }
  return named == 0 ? QStringLiteral("no control has a widget") : QString();
}

}  // namespace

class AccessibilityTest : public QObject {
  Q_OBJECT

 private:
  QTemporaryDir dir_;
  std::unique_ptr<pelmora::Program> program_;

  void StartProgram() {
    QVERIFY(dir_.isValid());
    const QString path = dir_.filePath(QStringLiteral("wsearch.ini"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(kProfile);
    file.close();
    program_ = std::make_unique<pelmora::Program>(path.toStdString());
    QVERIFY(QTest::qWaitForWindowExposed(&program_->MainWindow()));
  }

 private slots:
  void init() { StartProgram(); }
  void cleanup() { program_.reset(); }

  // The main window, before and during a game: the content controls are
  // called by what they hold, and the clock's label by the time it shows.
  void mainWindowNamesFollowTheGame() {
    pelmora::Form1& form = program_->MainForm();
    pelmora::FormWindow& window = program_->MainWindow();
    QCOMPARE(NameFault(window), QString());
    const struct {
      const pelmora::Control& control;
      const char* name;
    } expected[] = {{form.Picture1, "Board"}, {form.List1, "Word list"}, {form.List2, "Game list"},
                    {form.Label1, "Time taken"}};
    for (const auto& e : expected)
      QCOMPARE(AccessibleName(window.WidgetFor(e.control)), QString::fromLatin1(e.name));

    auto* games = qobject_cast<QListWidget*>(window.WidgetFor(form.List2));
    QVERIFY(games && games->count() == 2);
    QTest::mouseClick(games->viewport(), Qt::LeftButton, Qt::NoModifier,
                      games->visualItemRect(games->item(0)).center());
    QCOMPARE(form.List1.ListCount(), 3);
    QWidget* clock = window.WidgetFor(form.Label1);
    QTRY_VERIFY_WITH_TIMEOUT(!form.Label1.Caption().empty(), 5000);
    QCOMPARE(AccessibleName(clock), QString::fromStdString(form.Label1.Caption()).trimmed());
    QCOMPARE(NameFault(window), QString());
  }

  // The designer: every control named, the boxes "Word 1" to "Word 16", and
  // Tab from the game list visits the name box, the sixteen word boxes in
  // order, then New Entry, Delete, Save and Exit, and comes round again.
  void designerNamesAndTabOrder() {
    pelmora::Form1& form = program_->MainForm();
    pelmora::Form2& designer = form.Designer;
    QString fault;
    bool inspected = false;
    QTimer::singleShot(0, [&] {
      pelmora::FormWindow* window = program_->Runtime().ModalWindow(designer);
      if (!window || !QTest::qWaitForWindowExposed(window)) {
        fault = QStringLiteral("the designer never showed");
        return;
      }
      inspected = true;
      fault = NameFault(*window);
      std::vector<QWidget*> order = {window->WidgetFor(designer.List1), window->WidgetFor(designer.Text1)};
      for (int i = 1; i <= 16; ++i) {
        QWidget* box = designer.Text(i) ? window->WidgetFor(*designer.Text(i)) : nullptr;
        if (fault.isEmpty() && (!box || AccessibleName(box) != QStringLiteral("Word %1").arg(i)))
          fault = QStringLiteral("word box %1 is not called \"Word %1\"").arg(i);
        order.push_back(box);
      }
      for (const pelmora::CommandButton* button :
           {&designer.Command1, &designer.Command2, &designer.Command3, &designer.Command4})
        order.push_back(window->WidgetFor(*button));

      window->activateWindow();
      if (fault.isEmpty() && !QTest::qWaitForWindowActive(window)) fault = QStringLiteral("the designer never got the keyboard");
      if (fault.isEmpty() && order.front()) order.front()->setFocus(Qt::TabFocusReason);
      // Round the whole order once and back to the game list.
      for (std::size_t step = 1; fault.isEmpty() && step <= order.size(); ++step) {
        QWidget* from = QApplication::focusWidget();
        QTest::keyClick(from, Qt::Key_Tab);
        QWidget* expected = order[step % order.size()];
        if (QApplication::focusWidget() != expected)
          fault = QStringLiteral("Tab from \"%1\" went to \"%2\", not \"%3\"")
                      .arg(from ? AccessibleName(from) : QStringLiteral("nothing"),
                           QApplication::focusWidget() ? AccessibleName(QApplication::focusWidget())
                                                       : QStringLiteral("nothing"),
                           expected ? AccessibleName(expected) : QStringLiteral("a missing box"));
      }
      // Tab typed nothing, so Exit closes the designer without a question.
      if (QWidget* exitButton = window->WidgetFor(designer.Command4)) QTest::mouseClick(exitButton, Qt::LeftButton);
    });
    QTest::mouseClick(program_->MainWindow().WidgetFor(form.Command2), Qt::LeftButton);
    QVERIFY(inspected);
    QCOMPARE(fault, QString());
    QVERIFY(!designer.Loaded);
  }
};

int main(int argc, char* argv[]) {
  // The window tests need no display of their own.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  AccessibilityTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "accessibility_test.moc"
