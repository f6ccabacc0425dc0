// The designer on a profile of 4096 games: opening it, a key in the name box
// (a full walk of the index and a refill of the list), a Save, and a Delete
// of the first game (a compaction over 4096 slots in one file replacement).
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include "app/headless_program.h"

namespace pelmora {
namespace {

std::string Folder() {
  static std::string folder = [] {
    char tmpl[] = "/tmp/pelmora-bench-XXXXXX";
    return std::string(mkdtemp(tmpl));
  }();
  return folder;
}

// 4096 games of 16 words each, as the program writes them.
const std::string& BigProfile() {
  static const std::string bytes = [] {
    std::ostringstream s;
    s << "[Settings]\r\nVisible=1\r\n[games]\r\n";
    for (int g = 1; g <= 4096; ++g) s << g << "=GAME" << g << "\r\n";
    for (int g = 1; g <= 4096; ++g) {
      s << "[GAME" << g << "]\r\n";
      for (int w = 1; w <= 16; ++w) s << w << "=WORD" << g << "X" << w << "\r\n";
    }
    return s.str();
  }();
  return bytes;
}

// The program on the profile, with the designer open; every question is
// answered Yes.
struct Designer {
  explicit Designer(const std::string& path) : program(path), form(program.Start().Designer) {}
  void Open() {
    door.Dispatch([this] {
      form.Loaded = true;
      Form2_Form_Load(form);
      Form2_Form_Activate(form);
    });
  }
  HeadlessProgram program;
  Form2& form;
  EventDoor& door = program.door;
};

std::string FreshProfile(const char* name) {
  const std::string path = Folder() + "/" + name + ".ini";
  std::ofstream(path, std::ios::binary) << BigProfile();
  return path;
}

void BM_OpenDesigner(benchmark::State& state) {
  const std::string path = FreshProfile("open");
  Designer d(path);
  d.Open();  // the first open parses the file; later ones find it cached
  for (auto _ : state) {
    d.Open();
    benchmark::DoNotOptimize(d.form.List1.ListCount());
  }
}
BENCHMARK(BM_OpenDesigner)->Unit(benchmark::kMillisecond);

void BM_KeyPressInNameBox(benchmark::State& state) {
  const std::string path = FreshProfile("key");
  Designer d(path);
  d.Open();
  for (auto _ : state) {
    d.door.Dispatch([&d] { d.form.Text1.UserType("x"); });
    benchmark::DoNotOptimize(d.form.List1.ListCount());
  }
}
BENCHMARK(BM_KeyPressInNameBox)->Unit(benchmark::kMicrosecond);

void BM_SaveAGame(benchmark::State& state) {
  const std::string path = FreshProfile("save");
  Designer d(path);
  d.Open();
  int n = 0;
  for (auto _ : state) {
    // A word changed in the first game, saved under its own name.
    d.door.Dispatch([&d, &n] {
      d.form.Text(3)->UserType(std::string(1, static_cast<char>('A' + n++ % 26)));
      Form2_Command3_Click(d.form);
    });
  }
}
BENCHMARK(BM_SaveAGame)->Unit(benchmark::kMillisecond);

void BM_DeleteTheFirstGame(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    const std::string path = FreshProfile("delete");
    auto d = std::make_unique<Designer>(path);
    d->Open();
    state.ResumeTiming();
    d->door.Dispatch([&d] { Form2_Command2_Click(d->form); });
    benchmark::DoNotOptimize(d->form.List1.ListCount());
    state.PauseTiming();
    d.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_DeleteTheFirstGame)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace pelmora

BENCHMARK_MAIN();
