#include "tools/pelmora-script/script_runner.h"

#include <cerrno>
#include <charconv>
#include <deque>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
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

namespace pelmora {

namespace {

constexpr std::int64_t kTickMs = 100;

[[noreturn]] void Fail(const std::string& why) { throw RunAborted{2, why}; }

void AppendUtf8(char32_t c, std::string& out) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// Reads a JSON string starting at s[i] == '"'; leaves i behind it.
std::string ParseJsonString(const std::string& s, std::size_t& i) {
  std::string out;
  auto hex4 = [&](std::size_t at) -> char32_t {
    if (at + 4 > s.size()) Fail("bad \\u escape in a string");
    char32_t v = 0;
    for (std::size_t k = at; k < at + 4; ++k) {
      const char h = s[k];
      v <<= 4;
      if (h >= '0' && h <= '9') v |= static_cast<char32_t>(h - '0');
      else if (h >= 'a' && h <= 'f') v |= static_cast<char32_t>(h - 'a' + 10);
      else if (h >= 'A' && h <= 'F') v |= static_cast<char32_t>(h - 'A' + 10);
      else Fail("bad \\u escape in a string");
    }
    return v;
  };
  ++i;
  while (true) {
    if (i >= s.size()) Fail("a string with no closing quote");
    const char c = s[i++];
    if (c == '"') return out;
    if (static_cast<unsigned char>(c) < 0x20) Fail("a control character in a string");
    if (c != '\\') {
      out += c;
      continue;
    }
    if (i >= s.size()) Fail("a string with no closing quote");
    const char e = s[i++];
    switch (e) {
      case '"': out += '"'; break;
      case '\\': out += '\\'; break;
      case '/': out += '/'; break;
      case 'b': out += '\b'; break;
      case 'f': out += '\f'; break;
      case 'n': out += '\n'; break;
      case 'r': out += '\r'; break;
      case 't': out += '\t'; break;
      case 'u': {
        char32_t cp = hex4(i);
        i += 4;
        if (cp >= 0xD800 && cp <= 0xDBFF) {
          if (i + 6 > s.size() || s[i] != '\\' || s[i + 1] != 'u') Fail("a lone surrogate in a string");
          const char32_t low = hex4(i + 2);
          if (low < 0xDC00 || low > 0xDFFF) Fail("a lone surrogate in a string");
          i += 6;
          cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
        } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
          Fail("a lone surrogate in a string");
        }
        AppendUtf8(cp, out);
        break;
      }
      default: Fail(std::string("bad escape \\") + e + " in a string");
    }
  }
}

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

std::string ShowDouble(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.15g", v);
  return buf;
}

std::string JsonArray(const std::vector<std::string>& items) {
  std::string out = "[";
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += ',';
    out += JsonString(items[i]);
  }
  return out + "]";
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
      out_ << "circle " << ShowDouble(m.x) << ' ' << ShowDouble(m.y) << ' ' << QBColorIndex(m.colour) << '\n';
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

  void Execute(const std::string& line) {
    std::size_t first = line.find_first_not_of(" \t");
    if (first == std::string::npos || line[first] == '#') return;
    const std::vector<std::string> args = Tokenize(line);
    const std::string& cmd = args[0];
    auto need = [&](std::size_t n) {
      if (args.size() != n + 1) Fail(cmd + " takes " + std::to_string(n) + " argument(s)");
    };

    if (cmd == "seed") {
      need(1);
      const auto v = ParseWhole(args[1]);
      if (!v) Fail("seed needs a whole number");
      random_.Reseed(static_cast<std::uint64_t>(*v));
    } else if (cmd == "clock") {
      need(2);
      SetClock(args[1], args[2]);
    } else if (cmd == "printer") {
      need(1);
      const std::string ext = std::filesystem::path(args[1]).extension().string();
      if (ext != ".pdf" && ext != ".png") Fail("printer needs a .pdf or .png path");
      printerPath_ = args[1];
    } else if (cmd == "disk-full") {
      need(1);
      if (args[1] != "yes" && args[1] != "no") Fail("disk-full takes yes or no");
      fs_.writeError = args[1] == "yes" ? ENOSPC : 0;
    } else if (cmd == "answer") {
      if (args.size() < 2) Fail("answer needs at least one answer");
      for (std::size_t i = 1; i < args.size(); ++i) {
        if (args[i] == "yes") answers_.push_back(vbYes);
        else if (args[i] == "no") answers_.push_back(vbNo);
        else if (args[i] == "ok") answers_.push_back(vbOK);
        else Fail("an answer is yes, no or ok, not " + args[i]);
      }
    } else if (cmd == "start") {
      need(0);
      if (front_->MainForm()) Fail("start comes once");
      front_->Start();
    } else if (cmd == "click") {
      need(1);
      Control& c = ResolveControl(args[1]);
      if (!dynamic_cast<CommandButton*>(&c) && !dynamic_cast<CheckBox*>(&c)) {
        Fail(args[1] + " is not a button or a check box");
      }
      if (front_->Reachable(c)) front_->Click(c);
    } else if (cmd == "select") {
      need(2);
      auto* list = dynamic_cast<ListBox*>(&ResolveControl(args[1]));
      if (!list) Fail(args[1] + " is not a list box");
      const auto n = ParseWhole(args[2]);
      if (!n || *n < 0 || *n >= list->ListCount()) Fail("no line " + args[2] + " in " + args[1]);
      if (front_->Reachable(*list)) front_->Select(*list, static_cast<int>(*n));
    } else if (cmd == "mousedown") {
      if (args.size() != 3 && args.size() != 4) Fail("mousedown takes X Y [BUTTON]");
      const auto x = ParseNumber(args[1]);
      const auto y = ParseNumber(args[2]);
      if (!x || !y) Fail("mousedown needs numbers");
      int button = 1;
      if (args.size() == 4) {
        const auto b = ParseWhole(args[3]);
        if (!b || (*b != 1 && *b != 2 && *b != 4)) Fail("a button is 1, 2 or 4");
        button = static_cast<int>(*b);
      }
      MouseDown(*x, *y, button);
    } else if (cmd == "cell") {
      need(2);
      const auto r = ParseWhole(args[1]);
      const auto c = ParseWhole(args[2]);
      if (!r || !c || *r < 0 || *c < 0 || *r > 1000 || *c > 1000) Fail("cell needs a row and a column");
      ClickCell(static_cast<int>(*r), static_cast<int>(*c));
    } else if (cmd == "spell") {
      need(1);
      Spell(args[1]);
    } else if (cmd == "type") {
      need(2);
      TextBox& box = ResolveTextBox(args[1]);
      if (!front_->Reachable(box)) return;
      for (const std::string& ch : Chars(args[2])) front_->Type(box, ch);
    } else if (cmd == "key") {
      need(2);
      TextBox& box = ResolveTextBox(args[1]);
      if (!IsKeyName(args[2])) Fail("no key called " + args[2]);
      if (front_->Reachable(box)) front_->Key(box, args[2]);
    } else if (cmd == "erase") {
      need(1);
      TextBox& box = ResolveTextBox(args[1]);
      if (front_->Reachable(box)) front_->Erase(box);
    } else if (cmd == "close") {
      need(1);
      Form& form = ResolveForm(args[1]);
      if (&form != front_->MainForm()) {
        front_->Close(form);
      } else if (!front_->MainForm()->Designer.Loaded) {
        // Closing the main window ends the run, unless the designer stands
        // above it; nothing is saved.
        ended_ = true;
      }
    } else if (cmd == "snapshot") {
      need(2);
      const std::string error = front_->Snapshot(ResolveForm(args[1]), args[2]);
      if (!error.empty()) Fail(error);
    } else if (cmd == "wait") {
      need(1);
      Wait(args[1]);
    } else if (cmd == "show") {
      need(1);
      Show(args[1]);
    } else if (cmd == "profile-read") {
      need(3);
      ProfileValue v;
      front_->Door().Dispatch([&] { v = front_->Store().ReadProfileValue(args[1], args[2], args[3]); });
      out_ << "profile-read = " << JsonString(v.text) << ' ' << v.length << '\n';
    } else if (cmd == "profile-write") {
      need(3);
      front_->Door().Dispatch([&] { front_->Store().WriteProfileValue(args[1], args[2], args[3]); });
    } else if (cmd == "format") {
      need(1);
      const auto v = ParseNumber(args[1]);
      if (!v) Fail("format needs a number");
      out_ << "format = " << JsonString(Format(*v)) << '\n';
    } else if (cmd == "format-time") {
      need(1);
      const auto v = ParseNumber(args[1]);
      if (!v) Fail("format-time needs a number");
      out_ << "format-time = " << JsonString(FormatTime(*v)) << '\n';
    } else if (cmd == "val") {
      need(1);
      char buf[64];
      std::snprintf(buf, sizeof buf, "%.17g", Val(args[1]));
      out_ << "val = " << buf << '\n';
    } else {
      Fail("unknown command " + cmd);
    }
  }

  // --- Set-up ---------------------------------------------------------------

  void SetClock(const std::string& date, const std::string& time) {
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

  // --- Controls -------------------------------------------------------------

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

  // --- The board ------------------------------------------------------------

  void MouseDown(double x, double y, int button) {
    Form1& f = RequireForm1();
    if (front_->Reachable(f.Picture1)) front_->MouseDown(x, y, button);
  }

  void ClickCell(int row, int col) { MouseDown(500.0 * col + 250, 500.0 * row + 250, 1); }

  void Spell(const std::string& word) {
    Form1& f = RequireForm1();
    for (const std::string& letter : Chars(word)) {
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

  void Wait(const std::string& arg) {
    const auto seconds = ParseNumber(arg);
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

  void Show(const std::string& name) {
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

  bool ShowField(const std::string& name) {
    if (name == "EditedSlot" || name == "DirtyFlag" || name == "CompactCount") {
      const DesignerState& d = RequireForm1().Designer.Design;
      const int v = name == "EditedSlot" ? d.EditedSlot : name == "DirtyFlag" ? d.DirtyFlag : d.CompactCount;
      out_ << name << " = " << v << '\n';
      return true;
    }
    static const char* const kPlayFields[] = {
        "WonFlag",   "WordCount",  "StartTime", "PracticeFlag", "ColourIndex",  "Letters",
        "ClickCount", "BestTime", "BestTitle", "RunBestTime",  "RunBestTitle"};
    bool isPlayField = false;
    for (const char* f : kPlayFields) isPlayField = isPlayField || name == f;
    if (!isPlayField) return false;
    const Form1& f = RequireForm1();
    const std::string prefix = name + " = ";
    if (name == "WonFlag") out_ << prefix << f.Play.WonFlag << '\n';
    else if (name == "WordCount") out_ << prefix << f.Play.WordCount << '\n';
    else if (name == "StartTime") out_ << prefix << ShowDouble(f.Play.StartTime) << '\n';
    else if (name == "PracticeFlag") out_ << prefix << f.Play.PracticeFlag << '\n';
    else if (name == "ColourIndex") out_ << prefix << f.Play.ColourIndex << '\n';
    else if (name == "Letters") out_ << prefix << JsonString(f.Sel.Letters) << '\n';
    else if (name == "ClickCount") out_ << prefix << f.Sel.ClickCount << '\n';
    else if (name == "BestTime") out_ << prefix << ShowDouble(f.Records.BestTime) << '\n';
    else if (name == "BestTitle") out_ << prefix << JsonString(f.Records.BestTitle) << '\n';
    else if (name == "RunBestTime") out_ << prefix << ShowDouble(f.Records.RunBestTime) << '\n';
    else if (name == "RunBestTitle") out_ << prefix << JsonString(f.Records.RunBestTitle) << '\n';
    return true;
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
