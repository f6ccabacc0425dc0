#include "platform/qt/control_views.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QProxyStyle>
#include <algorithm>
#include <cmath>

#include "platform/qt/form_window.h"
#include "platform/qt/twips.h"

namespace pelmora {

namespace {

QString ToQString(const std::string& s) {
  return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

QColor FromRgb(std::uint32_t rgb) {
  return QColor(static_cast<int>((rgb >> 16) & 0xFF), static_cast<int>((rgb >> 8) & 0xFF),
                static_cast<int>(rgb & 0xFF));
}

// The square of a check box grows with the form, as its caption does; the
// platform's style draws it at the size it is given.
class ScaledIndicatorStyle final : public QProxyStyle {
 public:
  int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override {
    const int base = QProxyStyle::pixelMetric(metric, option, widget);
    if (metric != PM_IndicatorWidth && metric != PM_IndicatorHeight && metric != PM_CheckBoxLabelSpacing)
      return base;
    const auto* window = widget ? qobject_cast<const FormWindow*>(widget->window()) : nullptr;
    return window ? std::max(1, static_cast<int>(std::lround(base * window->Scale()))) : base;
  }
};

QStyle* IndicatorStyle() {
  static QPointer<QStyle> style;
  if (!style) {
    style = new ScaledIndicatorStyle;
    style->setParent(QCoreApplication::instance());  // lives as long as the application
  }
  return style;
}

}  // namespace

// ---------------------------------------------------------------------------
// ControlView

ControlView::ControlView(Control& model, FormWindow& window) : window_(window), model_(&model) {}

ControlView::~ControlView() { Detach(); }

void ControlView::Observe() {
  model_->onChanged = [this](Change what, int index) { Sync(what, index); };
}

void ControlView::Detach() {
  if (!model_) return;
  model_->onChanged = nullptr;
  model_ = nullptr;
  Detached();
}

EventDoor& ControlView::Door() const { return window_.Door(); }

void ControlView::SyncGeometry() {
  QWidget* w = Widget();
  if (!w || !model_) return;
  w->setGeometry(ScaledTwipRect({model_->Left(), model_->Top(), model_->Width(), model_->Height()},
                                window_.Scale()));
}

void ControlView::SyncVisible() {
  QWidget* w = Widget();
  if (!w || !model_) return;
  w->setVisible(model_->Visible());
}

void ControlView::SyncColours(QPalette::ColorRole fore, QPalette::ColorRole back) {
  QWidget* w = Widget();
  if (!w || !model_ || (!model_->ForeColor && !model_->BackColor)) return;
  QPalette palette = w->palette();
  if (model_->ForeColor) palette.setColor(fore, FromRgb(*model_->ForeColor));
  if (model_->BackColor) {
    palette.setColor(back, FromRgb(*model_->BackColor));
    w->setAutoFillBackground(true);
  }
  w->setPalette(palette);
}

void ControlView::SetDescriptiveName(const QString& name) {
  descriptiveName_ = name;
  SyncAccessibleName();
}

void ControlView::SyncAccessibleName() {
  QWidget* w = Widget();
  if (!w || !model_) return;
  QString name = Caption().trimmed();
  if (name.isEmpty()) name = descriptiveName_;
  if (w->accessibleName() != name) w->setAccessibleName(name);
}

bool ControlView::SyncCommon(Change what) {
  switch (what) {
    case Change::Geometry:
      SyncGeometry();
      return true;
    case Change::Visible:
      SyncVisible();
      return true;
    case Change::TabIndex:
      window_.ApplyTabOrder();
      return true;
    default:
      return false;
  }
}

// ---------------------------------------------------------------------------
// LabelView

LabelView::LabelView(Label& model, FormWindow& window, QWidget* parent)
    : QLabel(parent), ControlView(model, window) {
  setAlignment(Qt::AlignLeft | Qt::AlignTop);
  setTextFormat(Qt::PlainText);
  SyncColours(QPalette::WindowText, QPalette::Window);
  SyncGeometry();
  SyncCaption();
  SyncVisible();
  Observe();
}

void LabelView::SyncCaption() {
  if (!model_) return;
  auto& label = static_cast<Label&>(*model_);
  if (label.FontBold != font().bold()) {
    QFont bold;  // bold alone: the size follows the window's scale
    bold.setBold(label.FontBold);
    setFont(bold);
  }
  setText(ToQString(label.Caption()));
  SyncAccessibleName();  // the clock's label is called by the time it shows
}

void LabelView::Sync(Change what, int) {
  if (what == Change::Caption) SyncCaption();
  else SyncCommon(what);
}

// ---------------------------------------------------------------------------
// ButtonView

ButtonView::ButtonView(CommandButton& model, FormWindow& window, QWidget* parent)
    : QPushButton(parent), ControlView(model, window) {
  setAutoDefault(false);
  SyncGeometry();
  setText(ToQString(model.Caption()));
  SyncAccessibleName();
  SyncVisible();
  connect(this, &QAbstractButton::clicked, this, [this] {
    auto* button = static_cast<CommandButton*>(model_);
    if (!button) return;
    Door().Dispatch([button] { button->UserClick(); });
  });
  Observe();
}

void ButtonView::Sync(Change what, int) { SyncCommon(what); }

// ---------------------------------------------------------------------------
// CheckView

CheckView::CheckView(CheckBox& model, FormWindow& window, QWidget* parent)
    : QCheckBox(parent), ControlView(model, window) {
  setStyle(IndicatorStyle());
  setTristate(true);
  SyncColours(QPalette::WindowText, QPalette::Window);
  SyncGeometry();
  setText(ToQString(model.Caption()));
  SyncAccessibleName();
  SyncValue();
  SyncVisible();
  connect(this, &QAbstractButton::clicked, this, [this] {
    auto* box = static_cast<CheckBox*>(model_);
    if (!box) return;
    Door().Dispatch([box] { box->UserClick(); });
    SyncValue();  // the handler may have put the value back
  });
  Observe();
}

void CheckView::SyncValue() {
  if (!model_) return;
  const int value = static_cast<CheckBox&>(*model_).Value();
  setCheckState(value == 1 ? Qt::Checked : value == 2 ? Qt::PartiallyChecked : Qt::Unchecked);
}

void CheckView::Sync(Change what, int) {
  if (what == Change::Value) SyncValue();
  else SyncCommon(what);
}

// ---------------------------------------------------------------------------
// ListView

ListView::ListView(ListBox& model, FormWindow& window, QWidget* parent)
    : QListWidget(parent), ControlView(model, window) {
  setSelectionMode(QAbstractItemView::SingleSelection);
  setUniformItemSizes(true);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setDragEnabled(false);
  SyncColours(QPalette::Text, QPalette::Base);
  SyncGeometry();
  for (const std::string& item : model.Items()) addItem(ToQString(item));
  SyncSelection();
  SyncVisible();
  SyncAccessibleName();
  Observe();
}

ListView::~ListView() { ListRefills::Instance().Forget(*this); }

void ListView::Detached() {
  refilling_ = false;
  ListRefills::Instance().Forget(*this);
}

void ListView::FinishRefill() {
  if (!refilling_ || !model_) return;
  refilling_ = false;
  QStringList items;
  items.reserve(List().ListCount());
  for (const std::string& item : List().Items()) items << ToQString(item);
  clear();
  addItems(items);
  SyncSelection();
}

void ListView::Sync(Change what, int index) {
  // While a refill is pending, its finish shows the items and the choice.
  if (refilling_ && (what == Change::ItemAdded || what == Change::ItemRemoved || what == Change::Cleared ||
                     what == Change::Selection))
    return;
  switch (what) {
    case Change::ItemAdded:
      insertItem(index, ToQString(List().List(index)));
      SyncSelection();  // rows below the insertion moved
      return;
    case Change::ItemRemoved:
      delete takeItem(index);
      SyncSelection();  // Qt moves the current row to a neighbour; the model doesn't
      return;
    case Change::Cleared:
      clear();
      if (ListRefills::Instance().InHandler()) {
        refilling_ = true;
        ListRefills::Instance().Pending(*this);
      }
      return;
    case Change::Selection:
      SyncSelection();
      return;
    default:
      SyncCommon(what);
  }
}

ListRefills& ListRefills::Instance() {
  static ListRefills refills;
  return refills;
}

void ListRefills::Pending(ListView& list) {
  if (std::find(pending_.begin(), pending_.end(), &list) == pending_.end()) pending_.push_back(&list);
}

void ListRefills::Forget(ListView& list) { std::erase(pending_, &list); }

// Every handler's end, not only the outermost: a handler nested in a wait
// (a key in a modal window) runs while the outer one stands still.
void ListRefills::HandlerEnds() {
  if (depth_ > 0) --depth_;
  FinishAll();
}

void ListRefills::FinishAll() {
  // Take the list first, so that nothing added meanwhile is missed or
  // finished twice.
  std::vector<ListView*> lists;
  lists.swap(pending_);
  for (ListView* list : lists) list->FinishRefill();
}

void ListView::SyncSelection() {
  if (!model_) return;
  int row = List().ListIndex();
  if (row >= count()) row = -1;
  if (row == currentRow() && (row < 0 || item(row)->isSelected())) return;
  if (row < 0) {
    setCurrentRow(-1);
    clearSelection();
    return;
  }
  setCurrentRow(row);
  scrollToItem(item(row));
}

void ListView::Select(int row) {
  if (!model_ || row < 0 || row >= List().ListCount()) return;
  ListBox* list = &List();
  Door().Dispatch([list, row] { list->UserSelect(row); });
  SyncSelection();
}

void ListView::mousePressEvent(QMouseEvent* event) {
  const QModelIndex index = indexAt(event->position().toPoint());
  if (event->button() == Qt::LeftButton && index.isValid()) Select(index.row());
  event->accept();
}

// Dragging, releasing and double-clicking would let Qt move the selection
// behind the model's back.
void ListView::mouseMoveEvent(QMouseEvent* event) { event->accept(); }
void ListView::mouseReleaseEvent(QMouseEvent* event) { event->accept(); }
void ListView::mouseDoubleClickEvent(QMouseEvent* event) { event->accept(); }

void ListView::keyPressEvent(QKeyEvent* event) {
  CursorAction action;
  switch (event->key()) {
    case Qt::Key_Up: action = MoveUp; break;
    case Qt::Key_Down: action = MoveDown; break;
    case Qt::Key_Home: action = MoveHome; break;
    case Qt::Key_End: action = MoveEnd; break;
    case Qt::Key_PageUp: action = MovePageUp; break;
    case Qt::Key_PageDown: action = MovePageDown; break;
    default:
      event->ignore();
      return;
  }
  // With nothing chosen yet, Qt still keeps a current row (the first, once the
  // list has focus), so its first Down would skip a line: the first move
  // lands on the first line (End on the last) as a list with no choice does.
  QModelIndex target;
  if (model_ && List().ListIndex() < 0 && count() > 0)
    target = model()->index(action == MoveEnd ? count() - 1 : 0, 0);
  else
    target = moveCursor(action, event->modifiers());
  if (target.isValid() && model_ && target.row() != List().ListIndex()) Select(target.row());
  event->accept();
}

// ---------------------------------------------------------------------------
// TextView

namespace {

// The character a key types, as KeyPress carries it, or 0 for a key that
// types nothing. Backspace, Enter and Escape type their control codes;
// other control characters (Ctrl+C and the like) belong to the editor.
int KeyAsciiOf(const QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Backspace: return 8;
    case Qt::Key_Return:
    case Qt::Key_Enter: return 13;
    case Qt::Key_Escape: return 27;
    default: break;
  }
  const QList<uint> codePoints = event.text().toUcs4();
  if (codePoints.size() != 1) return 0;
  const uint c = codePoints.front();
  if (c < 0x20 || c == 0x7F) return 0;
  return static_cast<int>(c);
}

}  // namespace

int KeyCodeOf(int qtKey) {
  // Letters, digits and the space bar carry their own codes in both schemes.
  if ((qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z) || (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9) ||
      qtKey == Qt::Key_Space)
    return qtKey;
  if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F12) return 112 + (qtKey - Qt::Key_F1);
  switch (qtKey) {
    case Qt::Key_Backspace: return 8;
    case Qt::Key_Tab: return 9;
    case Qt::Key_Return:
    case Qt::Key_Enter: return 13;
    case Qt::Key_Shift: return 16;
    case Qt::Key_Control: return 17;
    case Qt::Key_Alt: return 18;
    case Qt::Key_Pause: return 19;
    case Qt::Key_CapsLock: return 20;
    case Qt::Key_Escape: return 27;
    case Qt::Key_PageUp: return 33;
    case Qt::Key_PageDown: return 34;
    case Qt::Key_End: return 35;
    case Qt::Key_Home: return 36;
    case Qt::Key_Left: return 37;
    case Qt::Key_Up: return 38;
    case Qt::Key_Right: return 39;
    case Qt::Key_Down: return 40;
    case Qt::Key_Insert: return 45;
    case Qt::Key_Delete: return 46;
    default: break;
  }
  // Any other printable key: its character's own code.
  return qtKey > 0 && qtKey < 0x7F ? qtKey : 0;
}

int ShiftStateOf(Qt::KeyboardModifiers modifiers) {
  return ((modifiers & Qt::ShiftModifier) ? 1 : 0) | ((modifiers & Qt::ControlModifier) ? 2 : 0) |
         ((modifiers & Qt::AltModifier) ? 4 : 0);
}

TextView::TextView(TextBox& model, FormWindow& window, QWidget* parent)
    : QLineEdit(parent), ControlView(model, window) {
  SyncColours(QPalette::Text, QPalette::Base);
  SyncGeometry();
  setMaxLength(32767);  // the editor's largest: MaxLength is the model's to keep
  setText(ToQString(model.Text()));
  SyncVisible();
  SyncAccessibleName();
  connect(this, &QLineEdit::textEdited, this, [this](const QString& text) {
    auto* box = static_cast<TextBox*>(model_);
    if (!box) return;
    Door().Dispatch([box, edited = text.toStdString()] { box->UserEdited(edited); });
  });
  Observe();
}

void TextView::Sync(Change what, int) {
  if (!model_) return;
  auto& box = static_cast<TextBox&>(*model_);
  switch (what) {
    case Change::Text: {
      const QString text = ToQString(box.Text());
      if (this->text() != text) setText(text);
      return;
    }
    case Change::Focus:
      setFocus(Qt::OtherFocusReason);
      return;
    default:
      SyncCommon(what);
  }
}

bool TextView::RaiseKeyDown(const QKeyEvent& event) {
  auto* box = static_cast<TextBox*>(model_);
  const int keyCode = KeyCodeOf(event.key());
  const int shift = ShiftStateOf(event.modifiers());
  if (box->KeyDown)
    Door().Dispatch([box, keyCode, shift] {
      if (box->KeyDown) box->KeyDown(keyCode, shift);
    });
  return model_ != nullptr;  // the handler may have unloaded the form
}

bool TextView::Full() const {
  const int limit = static_cast<const TextBox&>(*model_).MaxLength();
  if (limit <= 0) return false;
  return text().toUcs4().size() - selectedText().toUcs4().size() >= limit;
}

bool TextView::event(QEvent* event) {
  // Tab moves the focus before keyPressEvent would see it; the box has met
  // the key all the same.
  if (event->type() == QEvent::KeyPress && model_) {
    const auto* key = static_cast<QKeyEvent*>(event);
    if ((key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab) && !RaiseKeyDown(*key)) return true;
  }
  return QLineEdit::event(event);
}

void TextView::keyPressEvent(QKeyEvent* event) {
  auto* box = static_cast<TextBox*>(model_);
  if (!box) {
    QLineEdit::keyPressEvent(event);
    return;
  }
  if (!RaiseKeyDown(*event)) return;

  const int typed = KeyAsciiOf(*event);
  int keyAscii = typed;
  if (typed != 0 && box->KeyPress)
    Door().Dispatch([box, &keyAscii] {
      if (box->KeyPress) box->KeyPress(keyAscii);
    });
  if (!model_) return;
  if (typed != 0 && keyAscii == 0) {  // the handler swallowed the key
    event->accept();
    return;
  }
  // A character past MaxLength is refused; its key events have been raised.
  if (keyAscii >= 0x20 && keyAscii != 0x7F && Full()) {
    event->accept();
    return;
  }
  if (event->matches(QKeySequence::Paste) && box->MaxLength() > 0) {
    const qsizetype room =
        box->MaxLength() - (text().toUcs4().size() - selectedText().toUcs4().size());
    const QList<uint> pasted = QGuiApplication::clipboard()->text().toUcs4();
    if (room > 0)
      insert(QString::fromUcs4(reinterpret_cast<const char32_t*>(pasted.data()), std::min(room, pasted.size())));
    event->accept();
    return;
  }
  if (keyAscii == typed) {
    QLineEdit::keyPressEvent(event);
    return;
  }
  // The handler typed another character in place of the key's own.
  if (keyAscii == 8) {
    QKeyEvent replaced(event->type(), Qt::Key_Backspace, Qt::NoModifier);
    QLineEdit::keyPressEvent(&replaced);
  } else if (keyAscii >= 0x20) {
    const char32_t c = static_cast<char32_t>(keyAscii);
    QKeyEvent replaced(event->type(), Qt::Key_unknown, Qt::NoModifier, QString::fromUcs4(&c, 1));
    QLineEdit::keyPressEvent(&replaced);
  }
  event->accept();
}

// ---------------------------------------------------------------------------
// TimerView

TimerView::TimerView(Timer& model, FormWindow& window)
    : QObject(&window), ControlView(model, window), scripted_(window.ScriptedTimers()) {
  timer_.setInterval(model.Interval());
  connect(&timer_, &QTimer::timeout, this, &TimerView::Fire);
  SyncEnabled();
  Observe();
}

void TimerView::SyncEnabled() {
  if (!model_) {
    timer_.stop();
    armed_ = false;
    return;
  }
  auto& timer = static_cast<Timer&>(*model_);
  armed_ = timer.Enabled() && timer.Interval() > 0;
  if (armed_ && !scripted_) {
    if (!timer_.isActive()) timer_.start();
  } else {
    timer_.stop();
  }
}

void TimerView::Sync(Change what, int) {
  if (what == Change::Enabled) SyncEnabled();
}

void TimerView::Fire() {
  auto* timer = static_cast<Timer*>(model_);
  if (!timer) {
    timer_.stop();
    return;
  }
  if (ticking_ || !timer->Tick || Door().InMessageBox()) return;
  ticking_ = true;
  struct Done {
    bool& flag;
    ~Done() { flag = false; }
  } done{ticking_};
  Door().Dispatch([timer] {
    if (timer->Tick) timer->Tick();
  });
}

}  // namespace pelmora
