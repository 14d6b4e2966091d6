#pragma once

#include "url.h"
#include "worker_queue.h"

namespace quill::freedesktop {

/// Opens URLs in the user's default handlers, one after the other, on a thread of its own: finding a handler reads
/// files and asks the bus. A process that exits waits for it as for its log. GIO finds the handler but does not start
/// it: GIO would keep a connection to the session bus, whose end ends the process. Any thread.
class UrlOpener {
 public:
  void open(Url url);

 private:
  posix::WorkerQueue queue_{"open-url", posix::Priority::ordinary};  // handlers inherit the priority
};

}  // namespace quill::freedesktop
