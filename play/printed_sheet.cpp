#include "play/printed_sheet.h"

namespace pelmora {

Form3::Form3()
    : Form("Form3", "Form3", 10380, 7980),
      Picture1("Picture1", {120, 120, 5655, 4335}, 0, 1),
      Label1("Label1", {7800, 120, 1815, 255}, 2, "Word List"),
      List1("List1", {7800, 480, 1815, 4155}, 1, /*sorted=*/false) {
  Left = 60;
  Top = 345;
  Label1.FontBold = true;
  Picture1.BorderStyle = 1;  // a picture box's border, as it comes
}

}  // namespace pelmora
