#include <glib.h>

#include <memory>
#include <new>

#include "freedesktop_desktop.h"
#include "no_destructor.h"
#include "report.h"
#include "spare_resources.h"

namespace quill {

namespace {

struct FileRemoval {
  void operator()(freedesktop::Desktop* desktop) const { desktop->removeFiles(); }
};

/// GLib would end a process that has no descriptors for the main context.
bool makeMainContext() {
  if (freedesktop::hasSpareDescriptors()) return g_main_context_default() != nullptr;
  reportError("没有可用的文件描述符");
  throw std::bad_alloc();
}

}  // namespace

Desktop& Desktop::current() {
  [[maybe_unused]] static const bool hasMainContext = makeMainContext();
  static NoDestructor<freedesktop::Desktop> desktop;
  // When the process exits in an orderly way.
  static const std::unique_ptr<freedesktop::Desktop, FileRemoval> removal(&desktop.get());
  return desktop.get();
}

}  // namespace quill
