// pelmora-script --ini PATH [SCRIPT]: runs the program's handlers headless,
// driven by a script; see the README for the commands.
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

#include "tools/pelmora-script/script_runner.h"
#if PELMORA_SCRIPT_PRINTS
#include "tools/pelmora-script/sheet_renderer.h"
#endif

int main(int argc, char** argv) {
  std::string ini;
  std::string scriptPath;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--ini") == 0 && i + 1 < argc) {
      ini = argv[++i];
    } else if (scriptPath.empty() && argv[i][0] != '-') {
      scriptPath = argv[i];
    } else {
      std::cerr << "usage: pelmora-script --ini PATH [SCRIPT]\n";
      return 2;
    }
  }
  if (ini.empty()) {
    std::cerr << "usage: pelmora-script --ini PATH [SCRIPT]\n";
    return 2;
  }
  pelmora::ScriptRunner runner(ini, std::cout, std::cerr);
#if PELMORA_SCRIPT_PRINTS
  pelmora::SheetRenderer sheets;
  runner.SetSheetRenderer(pelmora::SheetRenderer::Callback, &sheets);
#endif
  if (scriptPath.empty()) return runner.Run(std::cin);
  std::ifstream script(scriptPath, std::ios::binary);
  if (!script) {
    std::cerr << "pelmora-script: can't read " << scriptPath << '\n';
    return 2;
  }
  return runner.Run(script);
}
