#include "shown_item.h"

#include <gdk/gdkx.h>
#include <libdbusmenu-gtk/dbusmenu-gtk.h>

#include <algorithm>
#include <utility>

#include "tray_picture.h"

namespace quill::xembed {
namespace {

constexpr auto kItem = "org.kde.StatusNotifierItem";
constexpr std::size_t kMaxTitle = 256;  // bytes
constexpr int kMinSide = 16;            // pixels; before GTK knows the tray's, it says 0

std::string text(GVariant* properties, const char* name, const char* type = "s") {
  g_autoptr(GVariant) value = g_variant_lookup_value(properties, name, G_VARIANT_TYPE(type));
  return value != nullptr ? g_variant_get_string(value, nullptr) : "";
}

/// Writes the property without a change, so that the tray reads it again. polybar 3.6 at times misses that an icon maps
/// itself while being embedded; one start in ten then shows no GtkStatusIcon.
void touchXEmbedInfo(GtkStatusIcon* icon) {
  const auto atom = gdk_x11_get_xatom_by_name("_XEMBED_INFO");
  const auto window = gtk_status_icon_get_x11_window_id(icon);
  gdk_error_trap_push();  // the tray or the window may have gone
  XChangeProperty(gdk_x11_get_default_xdisplay(), window, atom, atom, 32, PropModeAppend, nullptr, 0);
  gdk_error_trap_pop_ignored();
}

}  // namespace

ShownItem::ShownItem(GDBusConnection* bus, std::string sender, std::string path, std::function<void()> ended)
    : bus_(bus),
      sender_(std::move(sender)),
      path_(std::move(path)),
      ended_(std::move(ended)),
      calls_(g_cancellable_new()),
      icon_(gtk_status_icon_new()) {
  gtk_status_icon_set_visible(icon_.get(), FALSE);
  const auto changed = +[](ShownItem* self) -> gboolean { return self->show(), TRUE; };
  g_signal_connect(icon_.get(), "notify::embedded", G_CALLBACK(touchXEmbedInfo), nullptr);
  g_signal_connect_swapped(icon_.get(), "notify::embedded", G_CALLBACK(changed), this);
  g_signal_connect_swapped(icon_.get(), "size-changed", G_CALLBACK(changed), this);
  g_signal_connect_swapped(icon_.get(), "activate", G_CALLBACK(+[](ShownItem* self) { self->activate(); }), this);
  g_signal_connect_swapped(icon_.get(), "popup-menu", G_CALLBACK(+[](ShownItem* self) { self->openMenu(); }), this);
  gdk_window_add_filter(nullptr, onXEvent, this);
  signals_ = g_dbus_connection_signal_subscribe(
      bus_, sender_.c_str(), kItem, nullptr, path_.c_str(), nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](auto, auto, auto, auto, auto, auto, gpointer self) { static_cast<ShownItem*>(self)->read(); }, this, nullptr);
  const auto left = [](auto, auto, gpointer self) { static_cast<ShownItem*>(self)->ended_(); };
  watch_ = g_bus_watch_name_on_connection(bus_, sender_.c_str(), {}, nullptr, left, this, nullptr);
  read();
}

ShownItem::~ShownItem() {
  g_bus_unwatch_name(watch_);
  g_dbus_connection_signal_unsubscribe(bus_, signals_);
  g_cancellable_cancel(calls_.get());
  gdk_window_remove_filter(nullptr, onXEvent, this);
  g_signal_handlers_disconnect_by_data(icon_.get(), this);
  if (menu_) gtk_widget_destroy(menu_.get());
}

/// GTK has selected the events of the tray's properties.
GdkFilterReturn ShownItem::onXEvent(GdkXEvent* event, GdkEvent*, gpointer self) {
  const auto& x = *static_cast<XEvent*>(event);
  const bool isProperty = x.type == PropertyNotify;
  if (isProperty && x.xproperty.atom == gdk_x11_get_xatom_by_name(kTrayColours)) static_cast<ShownItem*>(self)->show();
  return GDK_FILTER_CONTINUE;
}

void ShownItem::call(const char* interface, const char* member, GVariant* arguments, GAsyncReadyCallback answered) {
  g_dbus_connection_call(bus_, sender_.c_str(), path_.c_str(), interface, member, arguments, nullptr,
                         G_DBUS_CALL_FLAGS_NONE, -1, calls_.get(), answered, this);
}

/// At most one read is under way; signals during a read cause one more.
void ShownItem::read() {
  isOutdated_ = std::exchange(isReading_, true);
  if (isOutdated_) return;
  call("org.freedesktop.DBus.Properties", "GetAll", g_variant_new("(s)", kItem),
       [](GObject* bus, GAsyncResult* result, gpointer data) {
         g_autoptr(GError) error = nullptr;
         g_autoptr(GVariant) reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error);
         if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) return;  // the item is destroyed
         auto& self = *static_cast<ShownItem*>(data);
         self.isReading_ = false;
         if (reply != nullptr && g_variant_is_of_type(reply, G_VARIANT_TYPE("(a{sv})"))) {
           g_autoptr(GVariant) properties = g_variant_get_child_value(reply, 0);
           self.onProperties(properties);
         }
         if (self.isOutdated_) self.read();
       });
}

void ShownItem::onProperties(GVariant* properties) {
  const bool isActive = text(properties, "Status") != "Passive";
  pixmaps_.reset(isActive ? g_variant_lookup_value(properties, "IconPixmap", G_VARIANT_TYPE("a(iiay)")) : nullptr);
  g_autofree char* title = g_utf8_make_valid(text(properties, "Title").substr(0, kMaxTitle).c_str(), -1);
  gtk_status_icon_set_title(icon_.get(), title);
  gtk_status_icon_set_tooltip_text(icon_.get(), title);
  if (auto path = text(properties, "Menu", "o"); !menu_ && !path.empty()) {
    auto* const menu = dbusmenu_gtkmenu_new(sender_.data(), path.data());
    menu_.reset(GTK_WIDGET(g_object_ref_sink(menu)));
    // libdbusmenu shows shortcuts only with a group. No window has this group, so that no key is bound.
    const freedesktop::ObjectPointer<GtkAccelGroup> shortcuts(gtk_accel_group_new());
    dbusmenu_gtkclient_set_accel_group(dbusmenu_gtkmenu_get_client(menu), shortcuts.get());
  }
  show();
}

void ShownItem::show() {
  const auto ink = trayInk();
  const int side = std::max(kMinSide, gtk_status_icon_get_size(icon_.get()));
  const auto picture = pixmaps_ ? trayPicture(pixmaps_.get(), side, ink) : nullptr;
  if (picture) gtk_status_icon_set_from_pixbuf(icon_.get(), picture.get());
  gtk_status_icon_set_visible(icon_.get(), picture != nullptr);
}

void ShownItem::activate() {
  // With the click's time, so that a window manager lets the host raise its window.
  g_autofree char* token = g_strdup_printf("quill-tray-xembed_TIME%u", gtk_get_current_event_time());
  call(kItem, "ProvideXdgActivationToken", g_variant_new("(s)", token));
  call(kItem, "Activate", g_variant_new("(ii)", 0, 0));
}

void ShownItem::openMenu() {
  GdkScreen* screen = nullptr;
  GdkRectangle place;
  if (!menu_ || !gtk_status_icon_get_geometry(icon_.get(), &screen, &place, nullptr)) return;
  gtk_menu_popup_at_rect(GTK_MENU(menu_.get()), gdk_screen_get_root_window(screen), &place, GDK_GRAVITY_SOUTH_WEST,
                         GDK_GRAVITY_NORTH_WEST, nullptr);
  // Scrolls to the top, because GTK 3.24 keeps a closed menu's scroll position.
  gtk_menu_shell_select_first(GTK_MENU_SHELL(menu_.get()), FALSE);
  gtk_menu_shell_deselect(GTK_MENU_SHELL(menu_.get()));
}

}  // namespace quill::xembed
