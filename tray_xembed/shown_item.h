#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>

#include "gobject_handles.h"

namespace quill::xembed {

/// Reads one status item from the bus, as a panel does, and shows it in the default display's XEmbed tray.
class ShownItem {
 public:
  /// `sender` is the unique name of the item's process; `ended` is called when the process leaves the bus.
  ShownItem(GDBusConnection* bus, std::string sender, std::string path, std::function<void()> ended);
  ~ShownItem();

 private:
  static GdkFilterReturn onXEvent(GdkXEvent* event, GdkEvent*, gpointer self);
  void call(const char* interface, const char* member, GVariant* arguments, GAsyncReadyCallback answered = nullptr);
  void read();
  void onProperties(GVariant* properties);
  void show();
  void activate();
  void openMenu();

  GDBusConnection* bus_;  // not owned
  std::string sender_;
  const std::string path_;
  std::function<void()> ended_;
  freedesktop::ObjectPointer<GCancellable> calls_;
  freedesktop::ObjectPointer<GtkStatusIcon> icon_;
  freedesktop::ObjectPointer<GtkWidget> menu_;
  freedesktop::VariantPointer pixmaps_;  // null: nothing to show
  bool isReading_ = false;
  bool isOutdated_ = false;  // a signal arrived during the read
  guint signals_;
  guint watch_;
};

}  // namespace quill::xembed
