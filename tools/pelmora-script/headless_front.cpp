#include "tools/pelmora-script/headless_front.h"

#include "app/headless_program.h"
#include "platform/control_visitor.h"
#include "platform/keys.h"

namespace pelmora {

namespace {

class HeadlessFront final : public ScriptFront {
 public:
  HeadlessFront(const std::string& iniPath, ScriptHooks& hooks, FileSystem& fileSystem)
      : hooks_(hooks), program_(iniPath, {hooks.clocks, hooks.random, &fileSystem}) {
    HeadlessRuntime& rt = program_.runtime;
    rt.watcher = hooks.watcher;
    rt.answer = hooks.answer;
    rt.runModalLoop = hooks.runModal;
    rt.printSheet = [this](Form& form) {
      const std::string path = hooks_.printTarget();
      return hooks_.render && hooks_.render(form, path) ? path : std::string();
    };
  }

  void Start() override {
    Form1& f = program_.Start();
    f.Picture1.onChanged = [this, &f](Change what, int index) {
      if (what == Change::Circle) hooks_.circle(f.Picture1.Circles()[static_cast<std::size_t>(index)]);
    };
  }
  Form1* MainForm() override { return program_.MainForm(); }
  EventDoor& Door() override { return program_.door; }
  ProfileStore& Store() override { return program_.store; }

  bool Reachable(Control& c) override { return c.Visible() && !UnderModal(c); }

  void Click(Control& c) override {
    const auto click = [this](auto& clicked) { program_.Event([&clicked] { clicked.UserClick(); }); };
    VisitControl(c, [&](CommandButton& button) { click(button); }, [&](CheckBox& box) { click(box); });
  }
  void Select(ListBox& list, int row) override { program_.Event([&list, row] { list.UserSelect(row); }); }
  void MouseDown(double x, double y, int button) override {
    PictureBox& surface = MainForm()->Picture1;
    program_.Event([&surface, x, y, button] {
      surface.UserMouseDown(button, 0, static_cast<float>(x), static_cast<float>(y));
    });
  }
  void Type(TextBox& box, const std::string& ch) override {
    program_.Event([&box, &ch] { box.UserType(ch); });
  }
  void Key(TextBox& box, const std::string& name) override {
    const int code = KeyNamed(name)->code;
    program_.Event([&box, code] { box.UserKeyDown(code); });
  }
  void Erase(TextBox& box) override {
    for (const char* key : {"Home", "Shift", "End", "Delete"}) Key(box, key);
    program_.Event([&box] { box.UserEdited(""); });
  }
  void Close(Form& form) override {
    program_.Event([&form, this] {
      if (form.CloseRequested) form.CloseRequested();
      else program_.runtime.Unload(form);
    });
  }
  bool TimerOn(Timer& timer) override { return timer.Enabled(); }
  void Tick(Timer& timer) override {
    if (timer.Tick) program_.Event([&timer] { timer.Tick(); });
  }

  std::vector<std::string> Items(ListBox& list) override { return list.Items(); }
  int ListIndex(ListBox& list) override { return list.ListIndex(); }
  bool Visible(Control& c) override { return c.Visible(); }
  int Value(CheckBox& box) override { return box.Value(); }
  std::string Caption(Label& label) override { return label.Caption(); }
  std::string Text(TextBox& box) override { return box.Text(); }
  std::string Snapshot(Form&, const std::string&) override { return {}; }
  int MousePointer() override { return program_.runtime.MousePointer(); }

 private:
  // Input can't reach the main window while a modal window stands above it.
  bool UnderModal(const Control& c) {
    Form1* f = MainForm();
    if (!f || !f->Designer.Loaded) return false;
    for (Control* own : f->Controls())
      if (own == &c) return true;
    return false;
  }

  ScriptHooks& hooks_;
  HeadlessProgram program_;
};

}  // namespace

std::unique_ptr<ScriptFront> MakeHeadlessFront(const std::string& iniPath, ScriptHooks& hooks,
                                               FileSystem& fileSystem) {
  return std::make_unique<HeadlessFront>(iniPath, hooks, fileSystem);
}

}  // namespace pelmora
