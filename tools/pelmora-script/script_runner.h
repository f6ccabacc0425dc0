#pragma once
// The interpreter of pelmora-script: runs the program's handlers driven by a
// text script, with a clock and a random source that the script controls,
// through a front (with no window by default, or the real Qt windows). One
// instance is one run of the program.

#include <functional>
#include <istream>
#include <memory>
#include <ostream>
#include <string>

#include "tools/pelmora-script/script_front.h"

namespace pelmora {

class FileSystem;

class ScriptRunner {
 public:
  using FrontMaker =
      std::function<std::unique_ptr<ScriptFront>(const std::string& iniPath, ScriptHooks& hooks, FileSystem& fs)>;

  // iniPath: the profile file of the run (need not exist). Without a maker
  // the run has no window.
  ScriptRunner(std::string iniPath, std::ostream& out, std::ostream& err, FrontMaker makeFront = {});
  ~ScriptRunner();

  // Runs the whole script; returns the exit status: 0 when it ran to its end,
  // 2 on a script error, 3 when queued answers were left unused. On 2 and 3
  // the last line written to err says why, with the line number.
  int Run(std::istream& script);

  // Renders a printed sheet to path (.pdf or .png) for the headless front;
  // set by a program that can draw. Returns false on failure.
  using SheetRenderer = bool (*)(void* context, class Form& form, const std::string& path);
  void SetSheetRenderer(SheetRenderer renderer, void* context);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace pelmora
