#include "tools/pelmora-script/script_runner.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/control_visitor.h"
#include "platform/event_door.h"
#include "platform/file_system.h"
#include "platform/headless/headless_runtime.h"
#include "platform/keys.h"
#include "platform/runtime_helpers.h"
#include "platform/text.h"
#include "play/form1.h"
#include "profile/profile_store.h"
#include "tools/pelmora-script/headless_front.h"
#include "tools/pelmora-script/json.h"

namespace pelmora {

namespace {

constexpr std::int64_t kTickMs = 100;

[[noreturn]] void Fail(const std::string& why) { throw RunAborted{2, why}; }

std::vector<std::string> Tokenize(const std::string& line) {
  std::vector<std::string> words;
  std::size_t i = 0;
  while (true) {
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    if (i >= line.size()) return words;
    if (line[i] == '"') {
      words.push_back(ParseJsonString(line, i));
      if (i < line.size() && line[i] != ' ' && line[i] != '\t') Fail("text right after a closing quote");
    } else {
      const std::size_t start = i;
      while (i < line.size() && line[i] != ' ' && line[i] != '\t') ++i;
      words.push_back(line.substr(start, i - start));
    }
  }
}

std::optional<long long> ParseWhole(const std::string& s) {
  long long v = 0;
  const char* b = s.data();
  const char* e = s.data() + s.size();
  if (b != e && *b == '+') ++b;
  const auto [p, ec] = std::from_chars(b, e, v);
  if (ec != std::errc() || p != e || b == e) return std::nullopt;
  return v;
}

std::optional<double> ParseNumber(const std::string& s) {
  double v = 0;
  const char* b = s.data();
  const char* e = s.data() + s.size();
  if (b != e && *b == '+') ++b;
  const auto [p, ec] = std::from_chars(b, e, v);
  if (ec != std::errc() || p != e || b == e || !std::isfinite(v)) return std::nullopt;
  return v;
}

// A field's value as show prints it: whole numbers plain, doubles as %.15g
// prints them, texts as JSON strings.
std::string Shown(int v) { return std::to_string(v); }
std::string Shown(const std::string& v) { return JsonString(v); }
std::string Shown(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.15g", v);
  return buf;
}

const char* AnswerName(int answer) {
  switch (answer) {
    case vbYes: return "yes";
    case vbNo: return "no";
    default: return "ok";
  }
}

bool IsButtonOf(int value, int answer) {
  if (value == vbYesNoQuestion) return answer == vbYes || answer == vbNo;
  return answer == vbOK;
}

bool IsKeyName(const std::string& name) {
  const NamedKey* key = KeyNamed(name);
  return key && key->scripted;
}

}  // namespace

class ScriptRunner::Impl final : public RuntimeWatcher {
 public:
  Impl(std::string iniPath, std::ostream& out, std::ostream& err, const FrontMaker& makeFront)
      : iniPath_(std::move(iniPath)), out_(out), err_(err) {
    hooks_.clocks = &clocks_;
    hooks_.random = &random_;
    hooks_.watcher = this;
    hooks_.answer = [this](const std::string& prompt, int value) { return NextAnswer(prompt, value); };
    hooks_.runModal = [this](const std::function<bool()>& done) {
      ++nested_;
      struct Leave {
        int& depth;
        ~Leave() { --depth; }
      } leave{nested_};
      RunUntil(done);
    };
    hooks_.printTarget = [this] { return PrintPath(); };
    hooks_.render = [this](Form& form, const std::string& path) {
      return renderer && renderer(rendererContext, form, path);
    };
    hooks_.circle = [this](const CircleMark& m) {
      out_ << "circle " << Shown(m.x) << ' ' << Shown(m.y) << ' ' << QBColorIndex(m.colour) << '\n';
    };
    hooks_.endRun = [this](const RunAborted* error) { return error ? Report(*error) : Finished(); };
    front_ = makeFront ? makeFront(iniPath_, hooks_, fs_) : MakeHeadlessFront(iniPath_, hooks_, fs_);
  }

  int Run(std::istream& script) {
    for (std::string line; std::getline(script, line);) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      lines_.push_back(std::move(line));
    }
    try {
      RunUntil([] { return false; });
    } catch (const RunAborted& a) {
      return Report(a);
    } catch (const EndOfScript&) {
    }
    return Finished();
  }

  ScriptRunner::SheetRenderer renderer = nullptr;
  void* rendererContext = nullptr;

  // --- The transcript -------------------------------------------------------

  void MessageBoxAnswered(int value, const std::string& prompt, int answer) override {
    out_ << "msgbox " << value << ' ' << JsonString(prompt) << " -> " << AnswerName(answer) << '\n';
  }
  void Beeped() override { out_ << "beep\n"; }
  void FormLoaded(const Form& form) override { out_ << "load " << form.Name() << '\n'; }
  void FormUnloaded(const Form& form) override { out_ << "unload " << form.Name() << '\n'; }
  void SheetPrinted(const std::string& path) override { out_ << "printed " << path << '\n'; }

 private:
  int Report(const RunAborted& a) {
    out_.flush();
    err_ << "pelmora-script: line " << lineNo_ << ": " << a.reason << '\n';
    return a.exitStatus;
  }

  int Finished() {
    out_.flush();
    if (answers_.empty()) return 0;
    err_ << "pelmora-script: line " << lines_.size() << ": " << answers_.size()
         << " queued answer(s) left unused\n";
    return 3;
  }

  // Runs script lines until done() holds or the script ends. A modal window
  // runs this again from inside the handler that opened it.
  void RunUntil(const std::function<bool()>& done) {
    while (!done() && !ended_) {
      if (next_ >= lines_.size()) {
        if (nested_ > 0) throw EndOfScript{};
        return;
      }
      // Errors name the line read last: inside a modal window that is the
      // line of the event the waiting handler now runs on from.
      const std::size_t index = next_++;
      lineNo_ = static_cast<int>(index) + 1;
      Execute(lines_[index]);
    }
  }

  // The answer to the box standing now: the first one queued, or one on the
  // script's next line (comments and blank lines aside), as a player answers
  // the box that just opened.
  int NextAnswer(const std::string& prompt, int value) {
    while (answers_.empty() && FetchAnswerLine()) {
    }
    if (answers_.empty()) Fail("a message box with no answer queued: " + JsonString(prompt));
    const int answer = answers_.front();
    if (!IsButtonOf(value, answer)) {
      Fail(std::string("the answer ") + AnswerName(answer) + " is not a button of the message box " +
           JsonString(prompt));
    }
    answers_.pop_front();
    return answer;
  }

  bool FetchAnswerLine() {
    while (next_ < lines_.size()) {
      const std::string& line = lines_[next_];
      const std::size_t first = line.find_first_not_of(" \t");
      if (first == std::string::npos || line[first] == '#') {
        ++next_;
        continue;
      }
      if (line.compare(first, 7, "answer ") != 0 && line.compare(first, 7, "answer\t") != 0) return false;
      const int eventLine = lineNo_;
      lineNo_ = static_cast<int>(++next_);
      Execute(line);
      lineNo_ = eventLine;
      return true;
    }
    return false;
  }

  using Args = std::vector<std::string>;  // the command's name, then its arguments

  // A command: its name, how many arguments it takes, what a wrong number
  // of them is told (by default "NAME takes N argument(s)"), and its action.
  struct Command {
    std::string_view name;
    std::size_t least, most;
    const char* wrongCount;
    void (Impl::*run)(const Args& args);
  };

  void Execute(const std::string& line) {
    static constexpr std::size_t kAny = static_cast<std::size_t>(-1);
    static constexpr Command kCommands[] = {
        {"seed", 1, 1, nullptr, &Impl::Seed},
        {"clock", 2, 2, nullptr, &Impl::SetClock},
        {"printer", 1, 1, nullptr, &Impl::Printer},
        {"disk-full", 1, 1, nullptr, &Impl::DiskFull},
        {"answer", 1, kAny, "answer needs at least one answer", &Impl::Answer},
        {"start", 0, 0, nullptr, &Impl::Start},
        {"click", 1, 1, nullptr, &Impl::Click},
        {"select", 2, 2, nullptr, &Impl::Select},
        {"mousedown", 2, 3, "mousedown takes X Y [BUTTON]", &Impl::MouseDown},
        {"cell", 2, 2, nullptr, &Impl::Cell},
        {"spell", 1, 1, nullptr, &Impl::Spell},
        {"type", 2, 2, nullptr, &Impl::Type},
        {"key", 2, 2, nullptr, &Impl::Key},
        {"erase", 1, 1, nullptr, &Impl::Erase},
        {"close", 1, 1, nullptr, &Impl::Close},
        {"snapshot", 2, 2, nullptr, &Impl::Snapshot},
        {"wait", 1, 1, nullptr, &Impl::Wait},
        {"show", 1, 1, nullptr, &Impl::Show},
        {"profile-read", 3, 3, nullptr, &Impl::ProfileRead},
        {"profile-write", 3, 3, nullptr, &Impl::ProfileWrite},
        {"format", 1, 1, nullptr, &Impl::FormatNumber},
        {"format-time", 1, 1, nullptr, &Impl::FormatTimeOf},
        {"val", 1, 1, nullptr, &Impl::ValOf},
    };
    const std::size_t first = line.find_first_not_of(" \t");
    if (first == std::string::npos || line[first] == '#') return;
    const Args args = Tokenize(line);
    const Command* command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                          [&args](const Command& c) { return c.name == args[0]; });
    if (command == std::end(kCommands)) Fail("unknown command " + args[0]);
    const std::size_t given = args.size() - 1;
    if (given < command->least || given > command->most)
      Fail(command->wrongCount ? command->wrongCount
                               : args[0] + " takes " + std::to_string(command->least) + " argument(s)");
    (this->*command->run)(args);
  }

  // --- Set-up ---------------------------------------------------------------

  void Seed(const Args& a) {
    const auto v = ParseWhole(a[1]);
    if (!v) Fail("seed needs a whole number");
    random_.Reseed(static_cast<std::uint64_t>(*v));
  }

  void SetClock(const Args& a) {
    const std::string& date = a[1];
    const std::string& time = a[2];
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    char tail = 0;
    if (std::sscanf(date.c_str(), "%4d-%2d-%2d%c", &y, &mo, &d, &tail) != 3 ||
        std::sscanf(time.c_str(), "%2d:%2d:%2d%c", &h, &mi, &s, &tail) != 3 || date.size() != 10 ||
        time.size() != 8 || mo < 1 || mo > 12 || d < 1 || d > 31 || h > 23 || mi > 59 || s > 59 ||
        y < 100) {
      Fail("clock takes YYYY-MM-DD hh:mm:ss");
    }
    const double days = std::floor(DateValue(y, mo, d, 0, 0, 0) + 0.5);
    clocks_.SetWall(static_cast<std::int64_t>(days) * 86400000LL +
                    (static_cast<std::int64_t>(h) * 3600 + mi * 60 + s) * 1000);
  }

  void Printer(const Args& a) {
    const std::string ext = std::filesystem::path(a[1]).extension().string();
    if (ext != ".pdf" && ext != ".png") Fail("printer needs a .pdf or .png path");
    printerPath_ = a[1];
  }

  void DiskFull(const Args& a) {
    if (a[1] != "yes" && a[1] != "no") Fail("disk-full takes yes or no");
    fs_.writeError = a[1] == "yes" ? ENOSPC : 0;
  }

  void Answer(const Args& a) {
    for (std::size_t i = 1; i < a.size(); ++i) {
      if (a[i] == "yes") answers_.push_back(vbYes);
      else if (a[i] == "no") answers_.push_back(vbNo);
      else if (a[i] == "ok") answers_.push_back(vbOK);
      else Fail("an answer is yes, no or ok, not " + a[i]);
    }
  }

  // --- Controls -------------------------------------------------------------

  void Start(const Args&) {
    if (front_->MainForm()) Fail("start comes once");
    front_->Start();
  }

  Form1& RequireForm1() {
    if (!front_->MainForm()) Fail("start must come before any event");
    return *front_->MainForm();
  }

  Form& ResolveForm(const std::string& name) {
    Form1* f = front_->MainForm();
    if (EqualsIgnoringCase(name, "Form1")) {
      if (!f) Fail("Form1 isn't loaded: start must come first");
      return *f;
    }
    if (EqualsIgnoringCase(name, "Form2")) {
      if (!f || !f->Designer.Loaded) Fail("Form2 isn't loaded");
      return f->Designer;
    }
    Fail("no form called " + name);
  }

  Control& ResolveControl(const std::string& qualified) {
    const auto dot = qualified.find('.');
    if (dot == std::string::npos) Fail("a control is written Form.Control, not " + qualified);
    Form& form = ResolveForm(qualified.substr(0, dot));
    const std::string name = qualified.substr(dot + 1);
    for (Control* c : form.Controls()) {
      if (EqualsIgnoringCase(c->Name(), name)) return *c;
    }
    Fail("no control called " + qualified);
  }

  TextBox& ResolveTextBox(const std::string& qualified) {
    auto* box = dynamic_cast<TextBox*>(&ResolveControl(qualified));
    if (!box) Fail(qualified + " is not a text box");
    return *box;
  }

  void Click(const Args& a) {
    Control& c = ResolveControl(a[1]);
    if (!VisitControl(c, [](CommandButton&) {}, [](CheckBox&) {})) Fail(a[1] + " is not a button or a check box");
    if (front_->Reachable(c)) front_->Click(c);
  }

  void Select(const Args& a) {
    auto* list = dynamic_cast<ListBox*>(&ResolveControl(a[1]));
    if (!list) Fail(a[1] + " is not a list box");
    const auto n = ParseWhole(a[2]);
    if (!n || *n < 0 || *n >= list->ListCount()) Fail("no line " + a[2] + " in " + a[1]);
    if (front_->Reachable(*list)) front_->Select(*list, static_cast<int>(*n));
  }

  void Type(const Args& a) {
    TextBox& box = ResolveTextBox(a[1]);
    if (!front_->Reachable(box)) return;
    for (const std::string& ch : Chars(a[2])) front_->Type(box, ch);
  }

  void Key(const Args& a) {
    TextBox& box = ResolveTextBox(a[1]);
    if (!IsKeyName(a[2])) Fail("no key called " + a[2]);
    if (front_->Reachable(box)) front_->Key(box, a[2]);
  }

  void Erase(const Args& a) {
    TextBox& box = ResolveTextBox(a[1]);
    if (front_->Reachable(box)) front_->Erase(box);
  }

  void Close(const Args& a) {
    Form& form = ResolveForm(a[1]);
    if (&form != front_->MainForm()) {
      front_->Close(form);
    } else if (!front_->MainForm()->Designer.Loaded) {
      // Closing the main window ends the run, unless the designer stands
      // above it; nothing is saved.
      ended_ = true;
    }
  }

  // --- The board ------------------------------------------------------------

  void MouseDown(const Args& a) {
    const auto x = ParseNumber(a[1]);
    const auto y = ParseNumber(a[2]);
    if (!x || !y) Fail("mousedown needs numbers");
    int button = 1;
    if (a.size() == 4) {
      const auto b = ParseWhole(a[3]);
      if (!b || (*b != 1 && *b != 2 && *b != 4)) Fail("a button is 1, 2 or 4");
      button = static_cast<int>(*b);
    }
    Press(*x, *y, button);
  }

  void Cell(const Args& a) {
    const auto r = ParseWhole(a[1]);
    const auto c = ParseWhole(a[2]);
    if (!r || !c || *r < 0 || *c < 0 || *r > 1000 || *c > 1000) Fail("cell needs a row and a column");
    ClickCell(static_cast<int>(*r), static_cast<int>(*c));
  }

  void Press(double x, double y, int button) {
    Form1& f = RequireForm1();
    if (front_->Reachable(f.Picture1)) front_->MouseDown(x, y, button);
  }

  void ClickCell(int row, int col) { Press(500.0 * col + 250, 500.0 * row + 250, 1); }

  void Spell(const Args& a) {
    Form1& f = RequireForm1();
    for (const std::string& letter : Chars(a[1])) {
      bool found = false;
      for (int r = 0; r < f.Grid1.Rows() && !found; ++r) {
        for (int c = 0; c < f.Grid1.Cols() && !found; ++c) {
          if (f.Grid1.CellAt(r, c).text == letter) {
            ClickCell(r, c);
            found = true;
          }
        }
      }
      if (!found) Fail("no cell of the board holds " + JsonString(letter));
    }
  }

  // --- Time -----------------------------------------------------------------

  void Wait(const Args& a) {
    const auto seconds = ParseNumber(a[1]);
    if (!seconds || *seconds < 0) Fail("wait needs a number of seconds");
    const double tenths = *seconds * 10;
    const long long steps = std::llround(tenths);
    if (std::fabs(tenths - static_cast<double>(steps)) > 1e-6) Fail("wait takes a multiple of 0.1");
    Form1& f = RequireForm1();
    for (long long i = 0; i < steps && !ended_; ++i) {
      clocks_.Advance(kTickMs);
      for (Timer* t : {&f.Timer1, &f.Timer2}) {
        if (front_->TimerOn(*t)) front_->Tick(*t);
      }
    }
  }

  // --- Looking --------------------------------------------------------------

  void Snapshot(const Args& a) {
    const std::string error = front_->Snapshot(ResolveForm(a[1]), a[2]);
    if (!error.empty()) Fail(error);
  }

  void Show(const Args& a) {
    const std::string& name = a[1];
    if (name == "Board") {
      Form1& f = RequireForm1();
      out_ << "Board =\n";
      for (int r = 0; r < f.Grid1.Rows(); ++r) {
        std::string row;
        for (int c = 0; c < f.Grid1.Cols(); ++c) {
          const std::string& t = f.Grid1.CellAt(r, c).text;
          row += t.empty() ? "." : t;
        }
        out_ << row << '\n';
      }
      return;
    }
    if (name == "Form2") {
      Form1* f = front_->MainForm();
      out_ << "Form2 = " << (f && f->Designer.Loaded ? "loaded" : "unloaded") << '\n';
      return;
    }
    if (name == "Screen.MousePointer") {
      out_ << name << " = " << front_->MousePointer() << '\n';
      return;
    }
    if (ShowField(name)) return;

    const auto firstDot = name.find('.');
    const auto secondDot = firstDot == std::string::npos ? std::string::npos : name.find('.', firstDot + 1);
    const std::string controlName = name.substr(0, secondDot);
    Control& c = ResolveControl(controlName);
    if (secondDot != std::string::npos) {
      const std::string prop = name.substr(secondDot + 1);
      auto* list = dynamic_cast<ListBox*>(&c);
      if (prop == "Visible") {
        out_ << name << " = " << (front_->Visible(c) ? "true" : "false") << '\n';
      } else if (prop == "ListIndex" && list) {
        out_ << name << " = " << front_->ListIndex(*list) << '\n';
      } else if (prop == "ListCount" && list) {
        out_ << name << " = " << front_->Items(*list).size() << '\n';
      } else {
        Fail("nothing to show as " + name);
      }
      return;
    }
    std::string value;
    const bool shown = VisitControl(
        c, [&](ListBox& list) { value = JsonArray(front_->Items(list)); },
        [&](CheckBox& check) { value = std::to_string(front_->Value(check)); },
        [&](Label& label) { value = JsonString(front_->Caption(label)); },
        [&](TextBox& box) { value = JsonString(front_->Text(box)); },
        [&](Timer& timer) { value = front_->TimerOn(timer) ? "on" : "off"; });
    if (!shown) Fail("nothing to show as " + name);
    out_ << name << " = " << value << '\n';
  }

  // The program's own fields, each shown as its type is.
  bool ShowField(const std::string& name) {
    using Field = std::string (*)(const Form1&);
    static constexpr std::pair<std::string_view, Field> kFields[] = {
        {"WonFlag", [](const Form1& f) { return Shown(f.Play.WonFlag); }},
        {"WordCount", [](const Form1& f) { return Shown(f.Play.WordCount); }},
        {"StartTime", [](const Form1& f) { return Shown(f.Play.StartTime); }},
        {"PracticeFlag", [](const Form1& f) { return Shown(f.Play.PracticeFlag); }},
        {"ColourIndex", [](const Form1& f) { return Shown(f.Play.ColourIndex); }},
        {"Letters", [](const Form1& f) { return Shown(f.Sel.Letters); }},
        {"ClickCount", [](const Form1& f) { return Shown(f.Sel.ClickCount); }},
        {"BestTime", [](const Form1& f) { return Shown(f.Records.BestTime); }},
        {"BestTitle", [](const Form1& f) { return Shown(f.Records.BestTitle); }},
        {"RunBestTime", [](const Form1& f) { return Shown(f.Records.RunBestTime); }},
        {"RunBestTitle", [](const Form1& f) { return Shown(f.Records.RunBestTitle); }},
        {"EditedSlot", [](const Form1& f) { return Shown(f.Designer.Design.EditedSlot); }},
        {"DirtyFlag", [](const Form1& f) { return Shown(f.Designer.Design.DirtyFlag); }},
        {"CompactCount", [](const Form1& f) { return Shown(f.Designer.Design.CompactCount); }},
    };
    for (const auto& [field, value] : kFields) {
      if (name != field) continue;
      const std::string shown = value(RequireForm1());
      out_ << name << " = " << shown << '\n';
      return true;
    }
    return false;
  }

  // --- The runtime's helpers ------------------------------------------------

  void ProfileRead(const Args& a) {
    ProfileValue v;
    front_->Door().Dispatch([&] { v = front_->Store().ReadProfileValue(a[1], a[2], a[3]); });
    out_ << "profile-read = " << JsonString(v.text) << ' ' << v.length << '\n';
  }

  void ProfileWrite(const Args& a) {
    front_->Door().Dispatch([&] { front_->Store().WriteProfileValue(a[1], a[2], a[3]); });
  }

  void FormatNumber(const Args& a) {
    const auto v = ParseNumber(a[1]);
    if (!v) Fail("format needs a number");
    out_ << "format = " << JsonString(Format(*v)) << '\n';
  }

  void FormatTimeOf(const Args& a) {
    const auto v = ParseNumber(a[1]);
    if (!v) Fail("format-time needs a number");
    out_ << "format-time = " << JsonString(FormatTime(*v)) << '\n';
  }

  void ValOf(const Args& a) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.17g", Val(a[1]));
    out_ << "val = " << buf << '\n';
  }

  // --- Printing -------------------------------------------------------------

  std::string PrintPath() const {
    if (!printerPath_.empty()) return printerPath_;
    return (std::filesystem::path(iniPath_).parent_path() / "sheet.pdf").string();
  }

  std::string iniPath_;
  std::ostream& out_;
  std::ostream& err_;
  SetClocks clocks_;
  SeededRandom random_{1};
  FaultInjectingFileSystem fs_;  // a full disk when the script says so
  ScriptHooks hooks_;
  std::unique_ptr<ScriptFront> front_;
  std::deque<int> answers_;
  std::vector<std::string> lines_;
  std::size_t next_ = 0;
  int lineNo_ = 0;
  int nested_ = 0;
  bool ended_ = false;
  std::string printerPath_;
};

ScriptRunner::ScriptRunner(std::string iniPath, std::ostream& out, std::ostream& err, FrontMaker makeFront)
    : impl_(std::make_unique<Impl>(std::move(iniPath), out, err, makeFront)) {}

ScriptRunner::~ScriptRunner() = default;

int ScriptRunner::Run(std::istream& script) { return impl_->Run(script); }

void ScriptRunner::SetSheetRenderer(SheetRenderer renderer, void* context) {
  impl_->renderer = renderer;
  impl_->rendererContext = context;
}

}  // namespace pelmora
