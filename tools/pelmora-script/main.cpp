// pelmora-script [--front headless|qt] --ini PATH [SCRIPT]: runs the program
// driven by a script, with no window or through the real Qt windows; see
// docs/pelmora-script.md for the commands.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include "tools/pelmora-script/script_runner.h"
#if PELMORA_SCRIPT_QT
#include <QApplication>

#include "app/program.h"
#include "tools/pelmora-script/qt_front.h"
#include "tools/pelmora-script/sheet_renderer.h"
#endif

namespace {

int Usage() {
  std::cerr << "usage: pelmora-script [--front headless|qt] --ini PATH [SCRIPT]\n";
  return 2;
}

int RunScript(pelmora::ScriptRunner& runner, const std::string& scriptPath) {
  if (scriptPath.empty()) return runner.Run(std::cin);
  std::ifstream script(scriptPath, std::ios::binary);
  if (!script) {
    std::cerr << "pelmora-script: can't read " << scriptPath << '\n';
    return 2;
  }
  return runner.Run(script);
}

}  // namespace

int main(int argc, char** argv) {
  std::string ini;
  std::string scriptPath;
  std::string front = "headless";
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--ini") == 0 && i + 1 < argc) {
      ini = argv[++i];
    } else if (std::strcmp(argv[i], "--front") == 0 && i + 1 < argc) {
      front = argv[++i];
    } else if (scriptPath.empty() && argv[i][0] != '-') {
      scriptPath = argv[i];
    } else {
      return Usage();
    }
  }
  if (ini.empty() || (front != "headless" && front != "qt")) return Usage();

#if PELMORA_SCRIPT_QT
  if (front == "qt") {
    // The real windows, on a screen of their own unless there is a display.
    if (!std::getenv("QT_QPA_PLATFORM") && !std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
      setenv("QT_QPA_PLATFORM", "offscreen", 1);
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    int status = 0;
    {
      pelmora::ScriptRunner runner(ini, std::cout, std::cerr, pelmora::MakeQtFront);
      status = RunScript(runner, scriptPath);
    }
    return pelmora::FinishRun(status);
  }
  pelmora::ScriptRunner runner(ini, std::cout, std::cerr);
  pelmora::SheetRenderer sheets;
  runner.SetSheetRenderer(pelmora::SheetRenderer::Callback, &sheets);
  return RunScript(runner, scriptPath);
#else
  if (front == "qt") {
    std::cerr << "pelmora-script: this build has no Qt front\n";
    return 2;
  }
  pelmora::ScriptRunner runner(ini, std::cout, std::cerr);
  return RunScript(runner, scriptPath);
#endif
}
