#pragma once

#include "url.h"
#include "worker_queue.h"

namespace quill::freedesktop {

/// Opens URLs in the user's default handlers, one after the other, on a thread of its own: looking
/// for the handler reads files and asks the bus. A process that exits right after asking waits for
/// it as it does for its log. Any thread.
///
/// GIO finds the handler and does no more: where it starts one, the process keeps GIO's connection to
/// the session bus, whose end ends the process, and threads for it.
class UrlOpener {
 public:
  void open(Url url);

 private:
  posix::WorkerQueue queue_{"open-url", posix::Priority::ordinary};  // handlers inherit the priority
};

}  // namespace quill::freedesktop
