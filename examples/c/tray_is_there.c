/*
 * Whether anything on this session shows status items: a host may ask before it hides its last window.
 *
 *   tray_is_there    exit status 0: yes; 1: no, or no session bus
 */
#include <gio/gio.h>

static gboolean tray_is_there(void) {
  const int timeout = 500; /* milliseconds */
  g_autoptr(GDBusConnection) bus = g_bus_get_sync(G_BUS_TYPE_SESSION, NULL, NULL);
  if (bus == NULL) return FALSE;
  g_autoptr(GVariant) reply =
      g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                  "NameHasOwner", g_variant_new("(s)", "org.kde.StatusNotifierWatcher"),
                                  G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, timeout, NULL, NULL);
  gboolean is_there = FALSE;
  if (reply != NULL) g_variant_get(reply, "(b)", &is_there);
  return is_there;
}

int main(void) { return tray_is_there() ? 0 : 1; }
