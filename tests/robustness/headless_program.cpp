#include "tests/robustness/headless_program.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <unordered_set>

#include "platform/text.h"

namespace pelmora::robustness {

namespace {

constexpr int kBackspace = 8;
constexpr int kHome = 36;
constexpr int kEnd = 35;
constexpr int kShift = 16;
constexpr int kDelete = 46;

bool IsBlank(char c) {
  return c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r' || c == '\x1a' || c == ' ';
}

std::string Trim(std::string_view s) {
  std::size_t b = 0, e = s.size();
  while (b < e && IsBlank(s[b])) ++b;
  while (e > b && IsBlank(s[e - 1])) --e;
  return std::string(s.substr(b, e - b));
}

std::string StripQuotes(const std::string& v) {
  if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front()) {
    return v.substr(1, v.size() - 2);
  }
  return v;
}

}  // namespace

void HeadlessProgram::TypeText(TextBox& box, const std::string& text) {
  for (const std::string& c : Chars(text)) Type(box, c);
}

void HeadlessProgram::Backspace(TextBox& box) {
  Event([&box] {
    if (box.KeyDown) box.KeyDown(kBackspace, 0);
  });
  int ascii = kBackspace;
  Event([&box, &ascii] {
    if (box.KeyPress) box.KeyPress(ascii);
  });
  if (ascii == 0) return;
  std::vector<std::string> chars = Chars(box.Text());
  if (chars.empty()) return;
  chars.pop_back();
  std::string shorter;
  for (const std::string& c : chars) shorter += c;
  Event([&box, &shorter] { box.UserEdited(shorter); });
}

void HeadlessProgram::Erase(TextBox& box) {
  for (int code : {kHome, kShift, kEnd, kDelete}) Event([&box, code] { box.UserKeyDown(code); });
  Event([&box] { box.UserEdited(""); });
}

void HeadlessProgram::Tick() {
  headless.Advance(100);
  for (Timer* t : {&F().Timer1, &F().Timer2}) {
    if (t->Enabled() && t->Tick) Event([t] { t->Tick(); });
  }
}

void HeadlessProgram::LeaveDesigner() {
  auto saved = runtime.chooser;
  // Overwrite, yes; save, no: Exit then always lets the window go.
  runtime.chooser = [](const std::string& prompt, int value) {
    if (value != vbYesNoQuestion) return vbOK;
    return prompt.rfind("You already have", 0) == 0 ? vbYes : vbNo;
  };
  for (int attempt = 0; attempt < 4 && D().Loaded; ++attempt) {
    CloseDesigner();
    if (!D().Loaded) break;
    // Held back: a name is missing or refused. Give it one it can hold.
    Erase(D().Text1);
    TypeText(D().Text1, "QQ");
  }
  runtime.chooser = saved;
  if (D().Loaded) {
    ADD_FAILURE() << "the designer could not be left; Text1 = \"" << D().Text1.Text() << "\"";
    headless.Unload(D());
  }
}

std::string IniView::Read(const std::string& section, const std::string& key, const std::string& def) const {
  const auto sec = sectionAt.find(UCase(Trim(section)));
  if (sec != sectionAt.end()) {
    const Section& found = sections[sec->second].second;
    const auto k = found.keyAt.find(UCase(Trim(key)));
    if (k != found.keyAt.end()) return Left(found.keys[k->second].second, 31);
  }
  return Left(def, 31);
}

IniView ParseIni(const std::string& bytes) {
  IniView ini;
  std::string_view rest = bytes;
  if (rest.starts_with("\xEF\xBB\xBF")) {
    ini.wellFormed = false;
    ini.problem = "a byte-order mark";
    rest.remove_prefix(3);
  }
  IniView::Section* current = nullptr;
  std::unordered_set<std::string> seenKeys;  // of the current section: the first of a name wins
  int lineNo = 0;
  while (!rest.empty()) {
    ++lineNo;
    std::size_t cut = 0;
    while (cut < rest.size() && rest[cut] != '\r' && rest[cut] != '\n') ++cut;
    const std::string_view raw = rest.substr(0, cut);
    std::string_view end;
    if (cut == rest.size()) {
      rest = {};
    } else if (rest[cut] == '\r' && cut + 1 < rest.size() && rest[cut + 1] == '\n') {
      end = rest.substr(cut, 2);
      rest.remove_prefix(cut + 2);
    } else {
      end = rest.substr(cut, 1);
      rest.remove_prefix(cut + 1);
    }
    auto flaw = [&](const std::string& what) {
      if (!ini.wellFormed) return;
      ini.wellFormed = false;
      ini.problem = "line " + std::to_string(lineNo) + ": " + what;
    };
    if (end != "\r\n") flaw("does not end in CR LF");
    const std::string line = Trim(raw);
    if (line.empty()) {
      flaw("is blank");
      continue;
    }
    if (!IsValidUtf8(raw)) flaw("is not UTF-8");
    const std::size_t close = line.rfind(']');
    if (line[0] == '[' && close != std::string::npos && close > 0) {
      const std::string name = UCase(Trim(std::string_view(line).substr(1, close - 1)));
      current = nullptr;
      std::unordered_set<std::string>().swap(seenKeys);  // clear() would wipe every bucket of a big set
      if (ini.sectionAt.emplace(name, ini.sections.size()).second) {
        ini.sections.push_back({name, {}});
        current = &ini.sections.back().second;
      }
      continue;
    }
    const std::size_t eq = line.find('=');
    if (eq == std::string::npos) flaw("is neither a head nor an entry");
    const std::string key = UCase(Trim(std::string_view(line).substr(0, eq)));
    if (!current) continue;
    if (!seenKeys.insert(key).second) continue;
    // A key with no `=` reads as absent, and hides any later key of its name.
    if (eq == std::string::npos) continue;
    current->keyAt.emplace(key, current->keys.size());
    current->keys.push_back({key, StripQuotes(Trim(std::string_view(line).substr(eq + 1)))});
  }
  return ini;
}

std::optional<std::string> ReadFile(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  std::string bytes;
  std::array<char, 65536> chunk{};
  for (;;) {
    const ssize_t n = ::read(fd, chunk.data(), chunk.size());
    if (n <= 0) break;
    bytes.append(chunk.data(), static_cast<std::size_t>(n));
  }
  ::close(fd);
  return bytes;
}

std::vector<std::string> IndexNames(const IniView& ini, bool gamesStops) {
  std::vector<std::string> names;
  for (int n = 1; n <= 4096; ++n) {
    const std::string v = ini.Read("games", std::to_string(n), "none");
    if (v.empty()) continue;
    if (v == "none") break;
    if (gamesStops && v == "games") break;
    names.push_back(v);
  }
  return names;
}

std::vector<std::string> GameWords(const IniView& ini, const std::string& section) {
  std::vector<std::string> words;
  for (int i = 1; i <= 16; ++i) {
    const std::string v = ini.Read(section, std::to_string(i), "none");
    if (v.empty() || v == "none") break;
    words.push_back(v);
  }
  return words;
}

bool BoardFull(const FlexGrid& grid) {
  if (grid.Rows() != 15 || grid.Cols() != 15) return false;
  for (int r = 0; r < grid.Rows(); ++r) {
    for (int c = 0; c < grid.Cols(); ++c) {
      if (Len(grid.CellAt(r, c).text) != 1) return false;
    }
  }
  return true;
}

std::vector<std::string> LeftOutWords(const std::vector<ShownBox>& boxes) {
  static const std::string kLead = "These words could not be hidden and were left out of the game: ";
  std::vector<std::string> words;
  for (const ShownBox& b : boxes) {
    if (b.prompt.rfind(kLead, 0) != 0) continue;
    std::string rest = b.prompt.substr(kLead.size());
    for (std::size_t at; (at = rest.find(", ")) != std::string::npos;) {
      words.push_back(rest.substr(0, at));
      rest.erase(0, at + 2);
    }
    words.push_back(rest);
  }
  return words;
}

bool SubMultiset(std::vector<std::string> sub, std::vector<std::string> of) {
  std::sort(sub.begin(), sub.end());
  std::sort(of.begin(), of.end());
  return std::includes(of.begin(), of.end(), sub.begin(), sub.end());
}

std::vector<std::string> OtherFiles(const std::string& folder, const std::string& name) {
  std::vector<std::string> out;
  DIR* dir = ::opendir(folder.c_str());
  if (!dir) return out;
  while (const dirent* e = ::readdir(dir)) {
    const std::string n = e->d_name;
    // The lock file beside the profile is part of it, not something left over.
    if (n != "." && n != ".." && n != name && n != "." + name + ".lock") out.push_back(n);
  }
  ::closedir(dir);
  std::sort(out.begin(), out.end());
  return out;
}

std::string FreshFolder(const std::string& name) {
  const std::filesystem::path folder = std::filesystem::current_path() / "robustness-work" / name;
  std::error_code ec;
  // A folder left read-only by an earlier run must be writable to go.
  if (std::filesystem::exists(folder, ec)) {
    for (const auto& e : std::filesystem::recursive_directory_iterator(folder, ec)) {
      std::filesystem::permissions(e.path(), std::filesystem::perms::owner_all,
                                   std::filesystem::perm_options::add, ec);
    }
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
  }
  std::filesystem::remove_all(folder, ec);
  std::filesystem::create_directories(folder);
  return folder.string();
}

}  // namespace pelmora::robustness
