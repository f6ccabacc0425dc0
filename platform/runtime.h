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
inline constexpr int vbExclamation = 48;
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

  // Shows the prompt with the buttons and icon of value (0, 16, 36, 48 or
  // 64) and no title of its own; returns vbOK, vbYes or vbNo. Waits.
  virtual int MsgBox(const std::string& prompt, int value) = 0;
  virtual void Beep() = 0;

  virtual int MousePointer() const = 0;  // Screen.MousePointer
  virtual void SetMousePointer(int pointer) = 0;

  // The present date and time as a Date value.
  virtual double Now() = 0;
  // From a deal to the win a game is in play, and Now then runs on the
  // steady clock from the moment of the deal, so that a change of the
  // system's time neither shortens nor stretches the game; between games Now
  // follows the wall clock. A deal over a game in play starts its time anew.
  virtual void SetGameInPlay(bool inPlay) = 0;
  virtual RandomSource& Random() = 0;

  // Show 1: loads the form if it isn't loaded (raising Load), shows it
  // modally, raises Activate, and returns when the form has been unloaded.
  virtual void ShowModal(Form& form) = 0;
  virtual void Unload(Form& form) = 0;

  // PrintForm: the form's client area with its controls, on the default
  // printer (or where the runtime sends sheets); true when the page went out.
  virtual bool PrintForm(Form& form) = 0;
};

// What a runtime tells an onlooker (the scripted runs' transcript): the
// message boxes as answered, the beeps, the forms loaded and unloaded, the
// sheets printed.
class RuntimeWatcher {
 public:
  virtual ~RuntimeWatcher() = default;
  virtual void MessageBoxAnswered(int value, const std::string& prompt, int answer) = 0;
  virtual void Beeped() = 0;
  virtual void FormLoaded(const Form& form) = 0;
  virtual void FormUnloaded(const Form& form) = 0;
  virtual void SheetPrinted(const std::string& path) = 0;
};

}  // namespace pelmora
