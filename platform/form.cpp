#include "platform/form.h"

namespace pelmora {

Form::Form(std::string name, std::string caption, int clientWidth, int clientHeight)
    : name_(std::move(name)),
      caption_(std::move(caption)),
      clientWidth_(clientWidth),
      clientHeight_(clientHeight) {}

}  // namespace pelmora
