#include "gdk_display.h"

#include <dlfcn.h>
#include <glib-object.h>

#include <memory>

namespace quill::freedesktop {
namespace {

struct LibraryClose {
  void operator()(void* library) const { dlclose(library); }
};

}  // namespace

// Finds GDK through its class, because an interpreter may have loaded GDK where dlsym(RTLD_DEFAULT) finds nothing. The
// library never loads GDK itself.
void giveTokenToGdk(const char* token) {
  const GType type = g_type_from_name("GdkWaylandDisplay");
  gpointer const displayClass = type != G_TYPE_INVALID ? g_type_class_peek(type) : nullptr;
  if (displayClass == nullptr) return;
  Dl_info place{};
  if (dladdr(reinterpret_cast<void*>(G_OBJECT_CLASS(displayClass)->finalize), &place) == 0) return;
  const std::unique_ptr<void, LibraryClose> gdk(dlopen(place.dli_fname, RTLD_LAZY | RTLD_NOLOAD));
  if (!gdk) return;
  const auto defaultDisplay = reinterpret_cast<gpointer (*)()>(dlsym(gdk.get(), "gdk_display_get_default"));
  const auto setToken = reinterpret_cast<void (*)(gpointer, const char*)>(
      dlsym(gdk.get(), "gdk_wayland_display_set_startup_notification_id"));
  if (defaultDisplay == nullptr || setToken == nullptr) return;
  gpointer const display = defaultDisplay();
  if (display != nullptr && G_TYPE_CHECK_INSTANCE_TYPE(display, type)) setToken(display, token);
}

}  // namespace quill::freedesktop
