#pragma once
// Form3, the printed sheet: the board on the left and the words still to
// find on the right. It is never shown; Print fills it and prints its client
// area, and it stays loaded and hidden until the next print.

#include <vector>

#include "platform/controls.h"
#include "platform/form.h"

namespace pelmora {

class Form3 : public Form {
 public:
  Form3();
  std::vector<Control*> Controls() override { return {&Picture1, &Label1, &List1}; }

  PictureBox Picture1;
  Label Label1;
  ListBox List1;  // not sorted: the words arrive in the main window's order
};

}  // namespace pelmora
