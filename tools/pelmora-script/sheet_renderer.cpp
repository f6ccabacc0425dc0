#include "tools/pelmora-script/sheet_renderer.h"

#include <QApplication>
#include <QString>
#include <cstdlib>

#include "platform/qt/form_printer.h"

namespace pelmora {

namespace {
int argc = 1;
char name[] = "pelmora-script";
char* argv[] = {name, nullptr};
}  // namespace

SheetRenderer::SheetRenderer() = default;
SheetRenderer::~SheetRenderer() = default;

bool SheetRenderer::Render(Form& form, const std::string& path) {
  if (!QApplication::instance()) {
    // A scripted run has no window: draw offscreen unless told otherwise.
    if (std::getenv("QT_QPA_PLATFORM") == nullptr) setenv("QT_QPA_PLATFORM", "offscreen", 1);
    app_ = std::make_unique<QApplication>(argc, argv);
  }
  return RenderFormToFile(form, QString::fromStdString(path));
}

}  // namespace pelmora
