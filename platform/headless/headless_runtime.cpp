#include "platform/headless/headless_runtime.h"

#include <cstdio>

#include "platform/form.h"
#include "platform/runtime_helpers.h"

namespace pelmora {

namespace {

constexpr double kMsPerDay = 86400000.0;

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

}  // namespace

std::string JsonString(std::string_view text) {
  std::string out = "\"";
  for (char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\b': out += "\\b"; break;
      case '\f': out += "\\f"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out += ch;
        }
    }
  }
  return out + "\"";
}

HeadlessRuntime::HeadlessRuntime(EventDoor& door, std::ostream& transcript)
    : door_(door),
      out_(transcript),
      clockMs_(static_cast<std::int64_t>(DateValue(2026, 1, 1, 12, 0, 0) * kMsPerDay + 0.5)) {}

int HeadlessRuntime::MsgBox(const std::string& prompt, int value) {
  door_.BeforeWait();
  while (answers_.empty() && fetchAnswers && fetchAnswers()) {
  }
  if (answers_.empty()) {
    throw RunAborted{2, "a message box with no answer queued: " + JsonString(prompt)};
  }
  const int answer = answers_.front();
  if (!IsButtonOf(value, answer)) {
    throw RunAborted{2, std::string("the answer ") + AnswerName(answer) +
                            " is not a button of the message box " + JsonString(prompt)};
  }
  answers_.pop_front();
  out_ << "msgbox " << value << ' ' << JsonString(prompt) << " -> " << AnswerName(answer) << '\n';
  door_.AfterWait();
  return answer;
}

void HeadlessRuntime::Beep() { out_ << "beep\n"; }

double HeadlessRuntime::Now() { return static_cast<double>(clockMs_) / kMsPerDay; }

void HeadlessRuntime::ShowModal(Form& form) {
  door_.BeforeWait();
  if (!form.Loaded) {
    out_ << "load " << form.Name() << '\n';
    form.Loaded = true;
    if (form.LoadEvent) form.LoadEvent();
  }
  if (form.ActivateEvent) form.ActivateEvent();
  // The caller's handler waits here while the script works the form.
  if (runModalLoop && form.Loaded) runModalLoop([&form] { return !form.Loaded; });
  door_.AfterWait();
}

void HeadlessRuntime::Unload(Form& form) {
  if (!form.Loaded) return;
  form.Loaded = false;
  out_ << "unload " << form.Name() << '\n';
}

bool HeadlessRuntime::PrintForm(Form& form) {
  if (!printSheet) return false;
  const std::string path = printSheet(form);
  if (path.empty()) return false;
  out_ << "printed " << path << '\n';
  return true;
}

}  // namespace pelmora
