#include <glib.h>

#include <new>

#include "freedesktop_desktop.h"
#include "no_destructor.h"
#include "process_queue.h"
#include "report.h"
#include "spare_resources.h"

namespace quill {

namespace {

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
  posix::cleanUpAtExit([] { desktop.get().removeFiles(); });
  return desktop.get();
}

}  // namespace quill
