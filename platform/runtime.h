#pragma once
// The forms runtime as the logic asks for it: message boxes, the beep, the
// mouse pointer, the clock, the random source, modal forms and printing.
// MsgBox and ShowModal are synchronous to the caller: the Qt runtime runs a
// nested event loop, the headless one takes scripted answers and events.

#include <string>

#include "platform/random.h"

namespace pelmora {

class Form;


// MsgBox values and answers.
inline constexpr int vbOKOnly = 0;
inline constexpr int vbCritical = 16;
inline constexpr int vbYesNoQuestion = 36;  // vbYesNo + vbQuestion
inline constexpr int vbInformation = 64;
inline constexpr int vbOK = 1;
inline constexpr int vbYes = 6;
inline constexpr int vbNo = 7;

// Screen.MousePointer values.
inline constexpr int vbDefault = 0;
inline constexpr int vbHourglass = 11;

class Runtime {
 public:
  virtual ~Runtime() = default;

  // Shows the prompt with the buttons and icon of value (0, 16, 36 or 64)
  // and no title of its own; returns vbOK, vbYes or vbNo. Waits.
  virtual int MsgBox(const std::string& prompt, int value) = 0;
  virtual void Beep() = 0;

  virtual int MousePointer() const = 0;  // Screen.MousePointer
  virtual void SetMousePointer(int pointer) = 0;

  // The present date and time as a Date value.
  virtual double Now() = 0;
  virtual RandomSource& Random() = 0;

  // Show 1: loads the form if it isn't loaded (raising Load), shows it
  // modally, raises Activate, and returns when the form has been unloaded.
  virtual void ShowModal(Form& form) = 0;
  virtual void Unload(Form& form) = 0;

  // PrintForm: the form's client area with its controls, on the default
  // printer (or where the runtime sends sheets); true when the page went out.
  virtual bool PrintForm(Form& form) = 0;
};

}  // namespace pelmora
