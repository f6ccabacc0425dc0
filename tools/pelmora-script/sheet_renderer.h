#pragma once
// Printed sheets of a scripted run: the page composed by the Qt front end's
// printer code, written to a PDF or PNG file. Qt is started on the first
// sheet, on the offscreen platform, so a run that prints nothing needs no Qt.

#include <memory>
#include <string>

class QApplication;

namespace pelmora {

class Form;

class SheetRenderer {
 public:
  SheetRenderer();
  ~SheetRenderer();  // stops Qt, if a sheet started it

  // Writes the form's page to path (.pdf or .png). False when it can't.
  bool Render(Form& form, const std::string& path);

  // The shape ScriptRunner::SetSheetRenderer takes.
  static bool Callback(void* self, Form& form, const std::string& path) {
    return static_cast<SheetRenderer*>(self)->Render(form, path);
  }

 private:
  std::unique_ptr<QApplication> app_;
};

}  // namespace pelmora
