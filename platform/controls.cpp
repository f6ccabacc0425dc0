#include "platform/controls.h"

#include <algorithm>

#include "platform/text.h"

namespace pelmora {

namespace {
// The edges of count cells of the given sizes; a cell with no size has none.
std::vector<double> Edges(const std::vector<int>& sizes, int count) {
  std::vector<double> edges(static_cast<std::size_t>(std::max(count, 0)) + 1, 0.0);
  for (std::size_t i = 1; i < edges.size(); ++i) edges[i] = edges[i - 1] + (i <= sizes.size() ? sizes[i - 1] : 0);
  return edges;
}
}  // namespace

std::vector<double> GridPicture::ColumnEdges() const { return Edges(colWidths, cols); }
std::vector<double> GridPicture::RowEdges() const { return Edges(rowHeights, rows); }

Control::Control(std::string name, TwipRect rect, int tabIndex)
    : name_(std::move(name)), rect_(rect), tabIndex_(tabIndex) {}

void Control::SetLeft(int v) {
  if (rect_.left == v) return;
  rect_.left = v;
  Notify(Change::Geometry);
}
void Control::SetTop(int v) {
  if (rect_.top == v) return;
  rect_.top = v;
  Notify(Change::Geometry);
}
void Control::SetWidth(int v) {
  if (rect_.width == v) return;
  rect_.width = v;
  Notify(Change::Geometry);
}
void Control::SetHeight(int v) {
  if (rect_.height == v) return;
  rect_.height = v;
  Notify(Change::Geometry);
}
void Control::SetVisible(bool v) {
  if (visible_ == v) return;
  visible_ = v;
  Notify(Change::Visible);
}
void Control::SetTabIndex(int v) {
  tabIndex_ = v;
  Notify(Change::TabIndex);
}

Label::Label(std::string name, TwipRect rect, int tabIndex, std::string caption)
    : Control(std::move(name), rect, tabIndex), caption_(std::move(caption)) {}

void Label::SetCaption(std::string caption) {
  if (caption_ == caption) return;
  caption_ = std::move(caption);
  Notify(Change::Caption);
}

CommandButton::CommandButton(std::string name, TwipRect rect, int tabIndex, std::string caption)
    : Control(std::move(name), rect, tabIndex), caption_(std::move(caption)) {}

void CommandButton::UserClick() {
  if (Click) Click();
}

CheckBox::CheckBox(std::string name, TwipRect rect, int tabIndex, std::string caption)
    : Control(std::move(name), rect, tabIndex), caption_(std::move(caption)) {}

void CheckBox::SetValue(int value) {
  if (value_ == value) return;
  value_ = value;
  Notify(Change::Value);
  if (Click) Click();
}

void CheckBox::UserClick() { SetValue(value_ == 1 ? 0 : 1); }

ListBox::ListBox(std::string name, TwipRect rect, int tabIndex, bool sorted)
    : Control(std::move(name), rect, tabIndex), sorted_(sorted) {}

void ListBox::AddItem(std::string item) {
  auto at = items_.end();
  if (sorted_) {
    // Text order without regard to case, as a sorted list box keeps it; an
    // item goes behind the items it equals.
    const std::string key = UCase(item);
    at = std::upper_bound(items_.begin(), items_.end(), key,
                          [](const std::string& k, const std::string& existing) {
                            return k < UCase(existing);
                          });
  }
  const int index = static_cast<int>(at - items_.begin());
  items_.insert(at, std::move(item));
  if (listIndex_ >= index) ++listIndex_;
  Notify(Change::ItemAdded, index);
}

void ListBox::RemoveItem(int index) {
  if (index < 0 || index >= ListCount()) return;
  items_.erase(items_.begin() + index);
  if (listIndex_ == index) listIndex_ = -1;
  else if (listIndex_ > index) --listIndex_;
  Notify(Change::ItemRemoved, index);
}

void ListBox::Clear() {
  items_.clear();
  listIndex_ = -1;
  Notify(Change::Cleared);
}

std::string ListBox::List(int index) const {
  if (index < 0 || index >= ListCount()) return {};
  return items_[static_cast<std::size_t>(index)];
}

void ListBox::SetListIndex(int index) {
  if (index < -1 || index >= ListCount()) index = -1;
  if (listIndex_ == index) return;
  listIndex_ = index;
  Notify(Change::Selection);
}

void ListBox::UserSelect(int index) {
  if (index < 0 || index >= ListCount()) return;
  SetListIndex(index);
  if (Click) Click();
}

TextBox::TextBox(std::string name, TwipRect rect, int tabIndex, int maxLength)
    : Control(std::move(name), rect, tabIndex), maxLength_(maxLength) {}

void TextBox::SetText(std::string text) {
  if (text_ == text) return;
  text_ = std::move(text);
  Notify(Change::Text);
  if (ChangeEvent) ChangeEvent();
}

void TextBox::SetMaxLength(int v) {
  maxLength_ = v;
  Notify(Change::MaxLength);
}

namespace {
// The key code of the key that types c: the upper-case letter or the digit,
// or the character's own code for anything else.
int KeyCodeOf(std::string_view c) {
  if (c.size() != 1) return 0;
  const auto b = static_cast<unsigned char>(c[0]);
  if (b >= 'a' && b <= 'z') return b - 32;
  return b;
}
}  // namespace

void TextBox::UserType(std::string_view character) {
  if (KeyDown) KeyDown(KeyCodeOf(character), 0);
  // A control character is no character a key types into a box: the key is
  // met, and that is all.
  const char32_t c = FirstCodePoint(character);
  if (c < 0x20 || c == 0x7F) return;
  int keyAscii = static_cast<int>(c);
  if (KeyPress) KeyPress(keyAscii);
  if (keyAscii == 0) return;  // the handler swallowed the key
  if (maxLength_ > 0 && Len(text_) >= static_cast<std::size_t>(maxLength_)) return;
  SetText(text_ + std::string(character));
}

void TextBox::UserKeyDown(int keyCode) {
  if (KeyDown) KeyDown(keyCode, 0);
}

void TextBox::UserEdited(std::string text) {
  if (text_ == text) return;
  text_ = std::move(text);
  if (ChangeEvent) ChangeEvent();
}

Timer::Timer(std::string name, int interval) : Control(std::move(name), {}, 0), interval_(interval) {}

void Timer::SetEnabled(bool on) {
  if (enabled_ == on) return;
  enabled_ = on;
  Notify(Change::Enabled);
}

PictureBox::PictureBox(std::string name, TwipRect rect, int tabIndex, int drawWidth)
    : Control(std::move(name), rect, tabIndex), drawWidth_(drawWidth) {}

void PictureBox::SetPicture(PictureHandle picture) {
  picture_ = std::move(picture);
  circles_.clear();
  if (picture_) {
    const int border = BorderStyle == 1 ? 2 * kBorderTwips : 0;
    SetWidth(picture_->Width() + border);
    SetHeight(picture_->Height() + border);
  }
  Notify(Change::Picture);
}

void PictureBox::Circle(double x, double y, double radius, std::uint32_t colour) {
  circles_.push_back({x, y, radius, colour, drawWidth_});
  Notify(Change::Circle, static_cast<int>(circles_.size()) - 1);
}

void PictureBox::UserMouseDown(int button, int shift, float x, float y) {
  if (MouseDown) MouseDown(button, shift, x, y);
}

void PictureBox::SetNarration(Narration narration) {
  narration_ = std::move(narration);
  Notify(Change::Narration);
}

std::string SpokenCell(std::string_view letter, int row, int col, bool ringed) {
  std::string said = letter.empty() ? std::string("Empty") : std::string(letter);
  said += ", row " + std::to_string(row + 1) + ", column " + std::to_string(col + 1);
  if (ringed) said += ", ringed";
  return said;
}

}  // namespace pelmora
