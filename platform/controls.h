#pragma once
// The controls of the forms as plain models. The logic reads and writes them
// as forms code does (List1.AddItem, Check1.SetValue(1)); a view (a Qt widget,
// or the headless runner's transcript) observes a model through onChanged and
// feeds the player's input back through the User* members, which update the
// model and raise the control's event. Positions and sizes are twips.
//
// Events are plain std::function members named as the runtime names them
// (Click, MouseDown, KeyPress, ...); the form that owns a control binds them
// to its handlers. A model never raises an event for a change the program
// makes itself, except where the runtime does: a check box raises Click when
// its Value changes, and a text box raises Change when its Text changes.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/picture.h"

namespace pelmora {

// What a view is told when its model changes. The int is the index of an
// item for the list changes, and -1 otherwise.
enum class Change {
  Geometry, Visible, TabIndex, Caption, Text, Value, Enabled,
  ItemAdded, ItemRemoved, Cleared, Selection,
  Picture, Circle, ZOrder, Refresh, Focus, MaxLength, Narration,
};

class Label;
class CommandButton;
class CheckBox;
class ListBox;
class TextBox;
class Timer;
class PictureBox;
class FlexGrid;

// What is done with each kind of control, reached through Control::Accept
// rather than by guessing a control's kind. VisitControl
// (platform/control_visitor.h) makes one of lambdas.
class ControlVisitor {
 public:
  virtual ~ControlVisitor() = default;
  virtual void Visit(Label&) = 0;
  virtual void Visit(CommandButton&) = 0;
  virtual void Visit(CheckBox&) = 0;
  virtual void Visit(ListBox&) = 0;
  virtual void Visit(TextBox&) = 0;
  virtual void Visit(Timer&) = 0;
  virtual void Visit(PictureBox&) = 0;
  virtual void Visit(FlexGrid&) = 0;
};

struct TwipRect {
  int left = 0, top = 0, width = 0, height = 0;
};

class Control {
 public:
  Control(std::string name, TwipRect rect, int tabIndex);
  virtual ~Control() = default;
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  const std::string& Name() const { return name_; }
  // Calls the visitor's Visit for this control's own kind.
  virtual void Accept(ControlVisitor& visitor) = 0;

  int Left() const { return rect_.left; }
  int Top() const { return rect_.top; }
  int Width() const { return rect_.width; }
  int Height() const { return rect_.height; }
  void SetLeft(int v);
  void SetTop(int v);
  void SetWidth(int v);
  void SetHeight(int v);

  bool Visible() const { return visible_; }
  void SetVisible(bool v);

  int TabIndex() const { return tabIndex_; }
  void SetTabIndex(int v);

  // Colours set at design time (0xRRGGBB); unset means the platform's own.
  std::optional<std::uint32_t> ForeColor;
  std::optional<std::uint32_t> BackColor;

  // The one observer: the view of this control.
  std::function<void(Change, int)> onChanged;

 protected:
  void Notify(Change what, int index = -1) const {
    if (onChanged) onChanged(what, index);
  }

 private:
  std::string name_;
  TwipRect rect_;
  bool visible_ = true;
  int tabIndex_ = 0;
};

class Label : public Control {
 public:
  void Accept(ControlVisitor& visitor) override { visitor.Visit(*this); }
  Label(std::string name, TwipRect rect, int tabIndex, std::string caption = {});
  const std::string& Caption() const { return caption_; }
  void SetCaption(std::string caption);

  bool FontBold = false;

 private:
  std::string caption_;
};

class CommandButton : public Control {
 public:
  void Accept(ControlVisitor& visitor) override { visitor.Visit(*this); }
  CommandButton(std::string name, TwipRect rect, int tabIndex, std::string caption);
  const std::string& Caption() const { return caption_; }

  std::function<void()> Click;
  // The player clicks the button.
  void UserClick();

 private:
  std::string caption_;
};

// Value 0 (unticked), 1 (ticked) or 2 (grey).
class CheckBox : public Control {
 public:
  void Accept(ControlVisitor& visitor) override { visitor.Visit(*this); }
  CheckBox(std::string name, TwipRect rect, int tabIndex, std::string caption);
  const std::string& Caption() const { return caption_; }

  int Value() const { return value_; }
  // Raises Click at once when the value differs from the present one.
  void SetValue(int value);

  std::function<void()> Click;
  // The player clicks the box: 0 becomes 1, 1 becomes 0, the grey 2 becomes 1.
  void UserClick();

 private:
  std::string caption_;
  int value_ = 0;
};

class ListBox : public Control {
 public:
  void Accept(ControlVisitor& visitor) override { visitor.Visit(*this); }
  ListBox(std::string name, TwipRect rect, int tabIndex, bool sorted);

  bool Sorted() const { return sorted_; }
  // Appends, or where Sorted inserts in text order (after equal items).
  void AddItem(std::string item);
  // Out of range does nothing.
  void RemoveItem(int index);
  // Empties the list; nothing is selected afterwards. Raises no Click.
  void Clear();

  // The item at index; empty outside the list.
  std::string List(int index) const;
  int ListCount() const { return static_cast<int>(items_.size()); }
  const std::vector<std::string>& Items() const { return items_; }

  // The selected line, -1 for none.
  int ListIndex() const { return listIndex_; }
  void SetListIndex(int index);
  // The selected item; empty when nothing is selected.
  std::string Text() const { return List(listIndex_); }

  std::function<void()> Click;
  // The player clicks line index: it becomes selected, then Click is raised.
  void UserSelect(int index);

 private:
  bool sorted_;
  std::vector<std::string> items_;
  int listIndex_ = -1;
};

class TextBox : public Control {
 public:
  void Accept(ControlVisitor& visitor) override { visitor.Visit(*this); }
  TextBox(std::string name, TwipRect rect, int tabIndex, int maxLength = 0);

  const std::string& Text() const { return text_; }
  // Raises Change when the text differs.
  void SetText(std::string text);

  // Bounds typing only, in characters; 0 means no bound.
  int MaxLength() const { return maxLength_; }
  void SetMaxLength(int v);

  void SetFocus() { Notify(Change::Focus); }

  // Events in the order the runtime raises them for one key.
  std::function<void(int keyCode, int shift)> KeyDown;
  std::function<void(int& keyAscii)> KeyPress;
  std::function<void()> ChangeEvent;  // the runtime's Change

  // The player types one character at the end of the text: KeyDown, KeyPress,
  // then (unless MaxLength refuses it) the text grows and Change is raised.
  // A control character raises KeyDown alone.
  void UserType(std::string_view character);
  // The player presses a key that types nothing: KeyDown only.
  void UserKeyDown(int keyCode);
  // The view's editor changed the text by itself (a real widget edits its own
  // text); the model follows and raises Change.
  void UserEdited(std::string text);

 private:
  std::string text_;
  int maxLength_;
};

class Timer : public Control {
 public:
  void Accept(ControlVisitor& visitor) override { visitor.Visit(*this); }
  Timer(std::string name, int interval);
  int Interval() const { return interval_; }
  bool Enabled() const { return enabled_; }
  void SetEnabled(bool on);

  std::function<void()> Tick;  // the runtime's Timer event

 private:
  int interval_;
  bool enabled_ = true;  // timers are created on, as the runtime's default is
};

struct CircleMark {
  double x = 0, y = 0, radius = 0;  // twips
  std::uint32_t colour = 0;         // 0xRRGGBB
  int drawWidth = 1;                // pixels
};

// A picture box with AutoSize: it takes the size of each picture assigned to
// it, and of its border around it. Circles are drawn on the surface and last
// until the next picture.
class PictureBox : public Control {
 public:
  void Accept(ControlVisitor& visitor) override { visitor.Visit(*this); }
  PictureBox(std::string name, TwipRect rect, int tabIndex, int drawWidth);

  const PictureHandle& Picture() const { return picture_; }
  // Shows the picture, drops all that was drawn, and takes its size.
  void SetPicture(PictureHandle picture);

  void Circle(double x, double y, double radius, std::uint32_t colour);
  const std::vector<CircleMark>& Circles() const { return circles_; }
  int DrawWidth() const { return drawWidth_; }

  // 0 none, 1 the box's fixed single border, kBorderTwips on each side.
  int BorderStyle = 0;
  static constexpr int kBorderTwips = 30;

  void ZOrder() { Notify(Change::ZOrder); }
  void Refresh() { Notify(Change::Refresh); }

  std::function<void(int button, int shift, float x, float y)> MouseDown;
  void UserMouseDown(int button, int shift, float x, float y);

  // What a screen reader hears of the board beyond the letters it shows,
  // which only the form knows: the form sets it after each of its events
  // that can change it, and the view says it. Nothing else reads it.
  struct Narration {
    // Said in place of the cells while no game is in play; empty in play.
    std::string idle;
    // The cells (row, column from 0) under a ring of the letters being spelled.
    std::vector<std::pair<int, int>> ringed;
    // What the last press brought, said once in place of the pressed cell;
    // empty when the press has nothing to add (the message box of a refused
    // letter speaks for itself).
    std::string press;
  };
  const Narration& Narrated() const { return narration_; }
  void SetNarration(Narration narration);

 private:
  PictureHandle picture_;
  std::vector<CircleMark> circles_;
  int drawWidth_;
  Narration narration_;
};

// A cell as a screen reader says it: its letter, its row and column counted
// from 1, and "ringed" when a ring of the letters being spelled is on it.
std::string SpokenCell(std::string_view letter, int row, int col, bool ringed);

}  // namespace pelmora
