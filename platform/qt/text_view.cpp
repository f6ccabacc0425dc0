#include "platform/qt/text_view.h"

#include <QKeyEvent>

#include "platform/qt/conversions.h"
#include "platform/qt/keyboard.h"

namespace pelmora {

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
    PasteWithin(*this, box->MaxLength());
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

}  // namespace pelmora
