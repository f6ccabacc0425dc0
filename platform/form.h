#pragma once
// A form as the runtime sees it: a window with a caption, a client area and
// controls at twip positions. The program's windows (Form1, Form2) derive
// from it and hold their controls and fields as plain members.

#include <functional>
#include <string>
#include <vector>

#include "platform/controls.h"

namespace pelmora {

enum class WindowState { Normal = 0, Minimized = 1, Maximized = 2 };

class Form {
 public:
  Form(std::string name, std::string caption, int clientWidth, int clientHeight);
  virtual ~Form() = default;
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  const std::string& Name() const { return name_; }
  const std::string& Caption() const { return caption_; }
  int ClientWidth() const { return clientWidth_; }
  int ClientHeight() const { return clientHeight_; }

  // Position of the window on the screen, twips.
  int Left = 0;
  int Top = 0;
  WindowState State = WindowState::Normal;
  // True from Load to Unload.
  bool Loaded = false;

  // The controls a view shows, in the order of their creation. A form that
  // creates controls at load (a control array) lists them after its Load.
  virtual std::vector<Control*> Controls() = 0;

  // The form's Load and Activate events.
  std::function<void()> LoadEvent;
  std::function<void()> ActivateEvent;
  // The title bar's close box; a form without a handler simply unloads.
  std::function<void()> CloseRequested;

 private:
  std::string name_;
  std::string caption_;
  int clientWidth_;
  int clientHeight_;
};

}  // namespace pelmora
