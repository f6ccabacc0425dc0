#include "app/activation.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWidget>
#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace pelmora {

namespace {

xcb_atom_t Atom(xcb_connection_t* c, const char* name) {
  xcb_intern_atom_reply_t* reply =
      xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr);
  const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  std::free(reply);
  return atom;
}

// The startup notification id on the window, the launch's time as the
// window's user time, a request to be made active at that time, and the
// launcher's busy feedback ended ("remove"), as the X11 startup notification
// rules have a started program do for its first window.
void UseStartupId(QWidget& window, const QByteArray& id) {
  auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  xcb_connection_t* c = x11 ? x11->connection() : nullptr;
  if (!c) return;
  const auto w = static_cast<xcb_window_t>(window.winId());
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
  xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, Atom(c, "_NET_STARTUP_ID"), Atom(c, "UTF8_STRING"), 8,
                      static_cast<std::uint32_t>(id.size()), id.constData());

  // The id ends in "_TIME" and the X server time of the player's click.
  const qsizetype at = id.lastIndexOf("_TIME");
  bool ok = false;
  const std::uint32_t time = at >= 0 ? id.mid(at + 5).toUInt(&ok) : 0;
  if (ok && time != 0) {
    // Qt keeps the user time on a window of its own, which the window
    // manager is told of; the window itself stands in where there is none.
    xcb_window_t timeWindow = w;
    const xcb_get_property_cookie_t cookie =
        xcb_get_property(c, 0, w, Atom(c, "_NET_WM_USER_TIME_WINDOW"), XCB_ATOM_WINDOW, 0, 1);
    if (xcb_get_property_reply_t* reply = xcb_get_property_reply(c, cookie, nullptr)) {
      if (xcb_get_property_value_length(reply) == 4)
        timeWindow = *static_cast<xcb_window_t*>(xcb_get_property_value(reply));
      std::free(reply);
    }
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, timeWindow, Atom(c, "_NET_WM_USER_TIME"), XCB_ATOM_CARDINAL, 32, 1,
                        &time);
    xcb_client_message_event_t active{};
    active.response_type = XCB_CLIENT_MESSAGE;
    active.format = 32;
    active.window = w;
    active.type = Atom(c, "_NET_ACTIVE_WINDOW");
    active.data.data32[0] = 1;  // asked by an application
    active.data.data32[1] = time;
    xcb_send_event(c, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&active));
  }

  // The message goes to the root window in pieces of 20 bytes, its end
  // marked by a nul; a value with a blank, a quote or a backslash is quoted.
  QByteArray value = id;
  if (value.contains(' ') || value.contains('"') || value.contains('\\'))
    value = '"' + value.replace("\\", "\\\\").replace("\"", "\\\"") + '"';
  const QByteArray message = "remove: ID=" + value + '\0';
  const xcb_atom_t begin = Atom(c, "_NET_STARTUP_INFO_BEGIN");
  const xcb_atom_t more = Atom(c, "_NET_STARTUP_INFO");
  for (qsizetype i = 0; i < message.size(); i += 20) {
    xcb_client_message_event_t piece{};
    piece.response_type = XCB_CLIENT_MESSAGE;
    piece.format = 8;
    piece.window = w;
    piece.type = i == 0 ? begin : more;
    std::memcpy(piece.data.data8, message.constData() + i, static_cast<std::size_t>(std::min<qsizetype>(20, message.size() - i)));
    xcb_send_event(c, 0, root, XCB_EVENT_MASK_PROPERTY_CHANGE, reinterpret_cast<const char*>(&piece));
  }
  xcb_flush(c);
}

}  // namespace

QByteArray LaunchToken() {
  for (const char* name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
    const QByteArray token = qgetenv(name);
    if (!token.isEmpty()) return token;
  }
  return {};
}

void UseLaunchToken(QWidget& window, const QByteArray& token) {
  if (token.isEmpty()) return;
  const QString platform = QGuiApplication::platformName();
  // Qt's xdg-shell client activates a window with the token it finds here,
  // once.
  if (platform == QLatin1String("wayland")) qputenv("XDG_ACTIVATION_TOKEN", token);
  else if (platform == QLatin1String("xcb")) UseStartupId(window, token);
}

}  // namespace pelmora
