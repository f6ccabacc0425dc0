#pragma once
// Coming to the front when a later start of the program asks, with what the
// later start's launcher gave it: an xdg-activation token on Wayland
// (XDG_ACTIVATION_TOKEN), a startup notification id on X11
// (DESKTOP_STARTUP_ID). A desktop brings forward a window that shows such a
// token as the one the player just started, where it would not bring forward
// a window that merely asks.

#include <QByteArray>

class QWidget;

namespace pelmora {

// What this start was given by its launcher, read before the application
// object is made (Qt takes DESKTOP_STARTUP_ID away for itself); empty when
// nothing was.
QByteArray LaunchToken();

// Hands token to the display for the next activation of window, and on X11
// ends the launcher's startup feedback for it. Call before activating the
// window.
void UseLaunchToken(QWidget& window, const QByteArray& token);

}  // namespace pelmora
