#pragma once
// A visit of a control as a set of lambdas, one per kind wanted: the
// windows make a view for each kind, the printed page paints each kind, a
// script reads each kind as the player would. A new kind of control is one
// more Visit in ControlVisitor (platform/controls.h), and in VisitorOf,
// which stays abstract until it has it.

#include <type_traits>

#include "platform/controls.h"
#include "platform/grid.h"

namespace pelmora {

// The visitor that VisitControl makes: calls f for each kind f takes and
// passes the others over.
template <typename F>
class VisitorOf final : public ControlVisitor {
 public:
  explicit VisitorOf(F& f) : f_(f) {}
  void Visit(Label& c) override { Take(c); }
  void Visit(CommandButton& c) override { Take(c); }
  void Visit(CheckBox& c) override { Take(c); }
  void Visit(ListBox& c) override { Take(c); }
  void Visit(TextBox& c) override { Take(c); }
  void Visit(Timer& c) override { Take(c); }
  void Visit(PictureBox& c) override { Take(c); }
  void Visit(FlexGrid& c) override { Take(c); }
  bool taken = false;

 private:
  template <typename Kind>
  void Take(Kind& c) {
    if constexpr (std::is_invocable_v<F&, Kind&>) {
      f_(c);
      taken = true;
    }
  }
  F& f_;
};

template <typename... Handlers>
struct Overloads : Handlers... {
  using Handlers::operator()...;
};

// Calls whichever of handlers (lambdas, each taking one kind: Label&,
// ListBox&, ...) takes the control's own kind; true when one did.
template <typename... Handlers>
bool VisitControl(Control& control, Handlers... handlers) {
  Overloads<Handlers...> overloads{handlers...};
  VisitorOf visitor(overloads);
  control.Accept(visitor);
  return visitor.taken;
}

}  // namespace pelmora
