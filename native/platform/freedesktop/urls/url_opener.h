#pragma once

#include <cstddef>
#include <memory>

#include "url.h"
#include "worker_queue.h"

namespace quill::freedesktop {

/// Opens URLs in the user's default handlers, one after the other, on a thread of its own: finding a handler reads
/// files. A URL for an application on the bus gets a thread until that application runs, one for each application. A
/// process that exits waits for these threads as for its log. GIO finds the handler but does not start it: GIO would
/// keep a connection to the session bus, whose end ends the process. Any thread.
class UrlOpener {
 public:
  /// URLs that may wait; a further one is not opened and logs an error line.
  static constexpr std::size_t kMaxWaiting = 256;

  UrlOpener();
  void open(const Url& url);

 private:
  struct Request;
  class Requests;

  std::shared_ptr<Requests> requests_;
  posix::WorkerQueue queue_{"open-url", posix::Priority::ordinary};  // handlers inherit the priority
};

}  // namespace quill::freedesktop
