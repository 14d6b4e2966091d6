// As much of GDK as takes an activation token.

#include <glib-object.h>

#include <string>

namespace {

struct GdkWaylandDisplay : GObject {};
struct GdkWaylandDisplayClass : GObjectClass {};
G_DEFINE_TYPE(GdkWaylandDisplay, gdk_wayland_display, G_TYPE_OBJECT)
void gdk_wayland_display_init(GdkWaylandDisplay* /*display*/) {}
void gdk_wayland_display_class_init(GdkWaylandDisplayClass* made) {
  made->finalize = [](GObject* display) { G_OBJECT_CLASS(gdk_wayland_display_parent_class)->finalize(display); };
}

GObject* display = nullptr;
std::string startupId;

}  // namespace

extern "C" {
void open_display() { display = G_OBJECT(g_object_new(gdk_wayland_display_get_type(), nullptr)); }
const char* startup_id() { return startupId.c_str(); }
GObject* gdk_display_get_default() { return display; }
void gdk_wayland_display_set_startup_notification_id(GObject*, const char* id) { startupId = id != nullptr ? id : ""; }
}
